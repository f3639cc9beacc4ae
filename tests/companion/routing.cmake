sorvane_add_test(companion_routing_tests
    SOURCES SNRoutingConfigTest.cpp SNWhiteListPatternsTest.cpp
    LIBRARIES Sorvane::companion)
