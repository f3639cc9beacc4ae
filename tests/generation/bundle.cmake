sorvane_add_test(bundle_tests
    SOURCES ApplicationManagerTest.cpp AppConfigFileTest.cpp
    LIBRARIES Sorvane::generation)
target_compile_definitions(bundle_tests PRIVATE SORVANE_EXPECTED_VERSION="${PROJECT_VERSION}")
