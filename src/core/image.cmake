# Images as ordered sets of representations.
target_sources(sorvane_core PRIVATE SNImage.cpp TiffWriter.cpp)
