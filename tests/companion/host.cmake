# The messaging host program, run end to end.
sorvane_add_test(companion_host_tests SOURCES MessagingHostTest.cpp)
target_compile_definitions(companion_host_tests PRIVATE SORVANE_EXPECTED_VERSION="${PROJECT_VERSION}")
