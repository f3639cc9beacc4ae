sorvane_add_test(script_tests
    SOURCES SNAppScriptHelperTest.cpp
    LIBRARIES Sorvane::generation)
target_compile_definitions(script_tests PRIVATE SORVANE_CLI="$<TARGET_FILE:sorvane>")
add_dependencies(script_tests sorvane)
