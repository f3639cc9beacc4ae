# App definition, tab model and editor item (the browser catalogue is in catalogue.cmake).
target_sources(sorvane_core PRIVATE
    SNBulkApp.cpp
    SNEditorItem.cpp
)
