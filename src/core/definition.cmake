# App definition, tab model, editor item and the browser catalogue.
target_sources(sorvane_core PRIVATE
    BrowserCatalogue.cpp
    SNBulkApp.cpp
    SNEditorItem.cpp
)
