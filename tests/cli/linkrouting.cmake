sorvane_add_test(cli_link_routing_tests
    SOURCES LinkRoutingTest.cpp CliSandbox.cpp
    LIBRARIES Sorvane::core)
target_compile_definitions(cli_link_routing_tests PRIVATE SORVANE_CLI="$<TARGET_FILE:sorvane>")
add_dependencies(cli_link_routing_tests sorvane)
