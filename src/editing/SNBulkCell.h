#pragma once

#include "core/AppDefinition.h"

#include <QString>

#include <functional>

// One row of the bulk list: its app definition and the row's own state around it.
struct SNBulkCell
{
    AppDefinition bulkApp;
    int row = 0;
    quint64 serial = 0;                   // identifies the row to a favicon search that outlives edits
    bool tabsEnabled = false;             // tabs can be set once the row has an address
    QString lastIconURL;                  // the address the last favicon search was started for
    bool iconBeingFetched = false;
    std::function<void()> stopIconSearch; // while a search runs, if it can be stopped
    bool hasManuallySelectedIcon = false; // the user's own icon is never replaced by a search
};
