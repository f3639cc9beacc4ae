# The browser catalogue, user defaults and platform facts as a Qt-Core-only library: the
# messaging host links it and nothing else of core, so it starts without Qt Gui, libplist or
# libtiff.
add_library(sorvane_catalogue STATIC BrowserCatalogue.cpp UserDefaults.cpp)
add_library(Sorvane::catalogue ALIAS sorvane_catalogue)
if(APPLE)
    target_sources(sorvane_catalogue PRIVATE Platform_mac.cpp)
else()
    target_sources(sorvane_catalogue PRIVATE Platform_linux.cpp)
endif()
target_include_directories(sorvane_catalogue PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/..)
target_link_libraries(sorvane_catalogue PUBLIC Qt6::Core)
set_target_properties(sorvane_catalogue PROPERTIES AUTOMOC OFF)
sorvane_target_defaults(sorvane_catalogue)
