sorvane_add_test(cli_tests
    SOURCES CliTest.cpp CliSandbox.cpp
    LIBRARIES Sorvane::core)
target_compile_definitions(cli_tests PRIVATE
    SORVANE_CLI="$<TARGET_FILE:sorvane>" SORVANE_EXPECTED_VERSION="${PROJECT_VERSION}")
add_dependencies(cli_tests sorvane)
