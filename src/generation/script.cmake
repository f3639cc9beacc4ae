# The launcher script of a generated app.
target_sources(sorvane_generation PRIVATE SNAppScriptHelper.cpp)
