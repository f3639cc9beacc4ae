sorvane_add_test(registry_tests
    SOURCES SNAppTrackerTest.cpp ShellEscapingTest.cpp
    LIBRARIES Sorvane::core)
