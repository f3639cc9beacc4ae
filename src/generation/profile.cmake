# Seeding an app's own browser profile from a profile of the installed browser.
target_sources(sorvane_generation PRIVATE ProfileSeeder.cpp)
