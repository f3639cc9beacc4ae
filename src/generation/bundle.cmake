# The generation manager, bundle skeleton, property list and per-app configuration.
target_sources(sorvane_generation PRIVATE
    AppConfigFile.cpp
    ApplicationManager.cpp
)
