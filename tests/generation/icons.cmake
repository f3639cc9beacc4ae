sorvane_add_test(icons_tests
    SOURCES IconConverterTest.cpp
    LIBRARIES Sorvane::generation)
