# Installing the launch program, the helper app and the tool stand-ins into a bundle.
target_sources(sorvane_generation PRIVATE LaunchProgramInstaller.cpp)
