# Creation of a whole app from a definition, and the engine preferences it seeds.
target_sources(sorvane_generation PRIVATE
    AppCreator.cpp
    SNChromePrefsHelper.cpp
)
