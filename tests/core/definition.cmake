sorvane_add_test(definition_tests
    SOURCES BrowserCatalogueTest.cpp DefinitionTest.cpp
    LIBRARIES Sorvane::core)
