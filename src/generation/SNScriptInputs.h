#pragma once

#include "core/Platform.h"

#include <QString>
#include <QStringList>

// Everything one app's launcher script is built from. The builder reads nothing else, so the
// same inputs always give the same text.
struct SNScriptInputs
{
    QString appName;
    QString appURL;       // the start address (HOMEPAGE, and --app= of single-window apps)
    bool needTab = false; // tabbed app on tabsList, else one window on appURL
    QStringList tabsList; // tab addresses in order; empty entries are skipped
    bool incognito = false;
    bool forceDarkMode = false;
    bool shouldIncludeWLExt = false;            // load the companion extension; Helium apps always do
    // The engine ignores --load-extension: it gets the DevTools pipe switches instead, and the
    // launch program loads the companion over the pipe.
    bool companionThroughPipe = false;
    QString typeKey = QStringLiteral("chrome"); // unknown keys mean Google Chrome
    QString trackerFragment;   // the registry's SNAppTracker::shellUpdateCode for this app's appID
    QString engineBrowserPath; // createEngine.sh's third argument (SNAppScriptHelper::browserPathArgument)
    // The class the engine gives its windows (--class, Linux only), so that a desktop's task bar
    // tells the app from the browser and from other apps; none when empty. Never user text.
    QString windowClass;
    // The user's extra engine switches (Sorvane's defaults, then the app's own), each one safe
    // unquoted word (EngineSwitches); appended to ENGINE_EXTRA_FLAGS.
    QStringList engineSwitches = {};
    bool targetIsMac = Platform::isMac(); // which NativeMessagingHosts folders the copy loops use
};
