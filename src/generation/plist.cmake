# The Info.plist of a generated app.
target_sources(sorvane_generation PRIVATE SNPlistHelper.cpp)
