#pragma once

#include "core/SNAppItem.h"
#include "core/AppDefinition.h"

#include <QString>

// An app that already exists, under edit: its definition, registry id, bundle path and browser.
class SNEditorItem final
{
public:
    AppDefinition appItem;
    bool installed = false;   // the bundle exists on disk
    QString appId;            // registry identifier
    QString path;             // bundle path, ending in <Name>.app
    QString browser;          // browser type key

    // Display name of `browser` (unknown keys name Google Chrome).
    QString browserName() const;

    // The app of a list row, with its definition as read back (AppList::editorItem).
    static SNEditorItem initWithAppItem(const SNAppItem &item, const AppDefinition &definition);
};
