sorvane_add_test(create_tests
    SOURCES CreateCommandTest.cpp CliSandbox.cpp
    LIBRARIES Sorvane::core)
target_compile_definitions(create_tests PRIVATE
    SORVANE_CLI="$<TARGET_FILE:sorvane>"
    SORVANE_FAKE_ENGINE="$<TARGET_FILE:sorvane-fake-engine>"
    SORVANE_EXAMPLES="${PROJECT_SOURCE_DIR}/examples")
add_dependencies(create_tests sorvane sorvane-fake-engine)
