sorvane_add_test(image_tests
    SOURCES ImageTest.cpp
    LIBRARIES Sorvane::core)
