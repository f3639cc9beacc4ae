# Icon conversion: image representations to icon.icns.
target_sources(sorvane_generation PRIVATE IcnsWriter.cpp IconConverter.cpp)
