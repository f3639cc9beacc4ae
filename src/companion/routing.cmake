# Routing rules, destinations and the routing data handed to the companion extension.
target_sources(sorvane_companion PRIVATE
    SNRoutingConfig.cpp
    SNWhiteListPatterns.cpp
)
