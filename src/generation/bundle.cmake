# The generation manager, bundle skeleton and property list.
target_sources(sorvane_generation PRIVATE)
