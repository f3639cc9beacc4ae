# The app's engine: the in-process route and the run of createEngine.sh.
target_sources(sorvane_generation PRIVATE EngineBuilder.cpp)
