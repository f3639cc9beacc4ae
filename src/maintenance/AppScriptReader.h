#pragma once

#include <QString>
#include <QVariantMap>

#include <optional>

// Reads an app's definition back from its launcher script: the script is the only record of an
// app that Sorvane trusts. A pure function of the text, safe on any input.
//
// The markers are those every generated script has carried: NEEDTAB=, HOMEPAGE=, TABS= (Tabs= in
// older scripts) at the start of a line, --app= switches, the engine line that runs createEngine.sh,
// the tracker fragment's plutil line and the per-app manifest name. Values the user chose cannot
// pose as markers: the app name is known from the bundle, so its quoted forms are set aside before
// anything is searched, and the addresses are set aside before the script is searched for
// switches and browser names (an address with "incognito" in it does not make the app incognito).
class AppScriptReader final
{
public:
    // The app information dictionary (appName, isTabs, appURL, incognito, tabs, browserType,
    // shouldIncludeWLExt, appID, uniqueID), or none for the demo app's script.
    static std::optional<QVariantMap> appInfo(const QString &appName, const QString &script);

    // The browser short name from the script's engine line: the browser bundle on macOS, a
    // catalogue engine path (or a known engine executable name) on Linux; empty when neither.
    static QString browserTypeFromEngineLineInScript(const QString &script);
};
