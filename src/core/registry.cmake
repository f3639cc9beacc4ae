# The registry of generated apps and shell escaping.
target_sources(sorvane_core PRIVATE SNAppTracker.cpp ShellEscaping.cpp)
