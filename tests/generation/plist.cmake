sorvane_add_test(plist_tests
    SOURCES SNPlistHelperTest.cpp
    LIBRARIES Sorvane::generation)
