# Whether an engine can load the companion extension, and so route an app's links.
target_sources(sorvane_companion PRIVATE CompanionSupport.cpp)
