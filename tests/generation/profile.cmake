sorvane_add_test(profile_tests SOURCES ProfileSeederTest.cpp LIBRARIES Sorvane::generation)
