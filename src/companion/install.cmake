# Installs the companion extension, the native-messaging host and the routing data into bundles.
target_sources(sorvane_companion PRIVATE CompanionInstaller.cpp)
