#pragma once

#include <QString>

// One row of the browser catalogue: what generation needs to know about a Chromium-family
// browser that can serve as an app's engine.
struct BrowserInfo
{
    int number = 0;                  // applicationType
    QString typeKey;                 // "chrome", "canary", ...
    QString browserName;             // display name
    QString escapedBrowserName;      // the display name with blanks escaped for the shell
    QString browserBundleID;         // as the catalogue lists it (see BrowserCatalogue::bundleIdForNumber)
    QString frameworkFolder;         // "<Name> Framework.framework" inside the browser's bundle
    QString browserShortName;
    QString settingsKey;             // user default that overrides the engine path
    QString macEnginePath;           // default engine executable on macOS
    QString macUserDataFolder;       // under ~/Library/Application Support/
    QString linuxEnginePath;         // default engine executable on Linux (the real binary)
    QString linuxUserDataFolder;     // under ~/.config/
};
