#pragma once

#include "core/BrowserInfo.h"

#include <QList>
#include <QString>

class UserDefaults;

// The eight browsers that can serve as an app's engine. Any number outside 0 to 7 and any
// unknown type key mean Google Chrome.
class BrowserCatalogue final
{
public:
    enum Type { Chrome = 0, Canary = 1, Brave = 2, Edge = 3, Opera = 4, Chromium = 5, Vivaldi = 6, Helium = 7 };

    static const QList<BrowserInfo> &all();
    static const BrowserInfo &byNumber(int applicationType);
    static const BrowserInfo &byTypeKey(const QString &typeKey);

    static QString typeKeyForNumber(int applicationType);
    static int numberForTypeKey(const QString &typeKey);
    // Only 1 to 5 have an identifier of their own here; Vivaldi and Helium answer Chrome's.
    // Generated apps depend on this answer, so it is kept as it has always been.
    static QString bundleIdForNumber(int applicationType);

    // Switches every engine gets besides those of the launch form.
    static QString extraEngineSwitches(const QString &typeKey);
    // "<appName> Engine": the engine executable's name inside a bundle.
    static QString engineExecutableName(const QString &appName);

    // The platform's default engine executable and user-data folder of a browser.
    static QString defaultEnginePath(const BrowserInfo &browser);
    static QString userDataFolder(const BrowserInfo &browser, const QString &homeFolder);
    // The user-data folder on the given platform, for scripts made for another one:
    // "<home>/Library/Application Support/<mac folder>" or "<home>/.config/<linux folder>".
    static QString userDataFolder(const BrowserInfo &browser, const QString &homeFolder, bool onMac);
    // The browser bundle of a macOS engine path, which is the path without its last three
    // components: ".../X.app/Contents/MacOS/X" -> ".../X.app".
    static QString bundleOfEngine(const QString &enginePath);

    // Engine path for the launcher script: the user's setting for that browser, else its
    // default path; on Linux the first installation BrowserLocator finds, in any packaging.
    // A missing browser is never swapped for another.
    static QString enginePathForScript(const QString &typeKey, const UserDefaults &defaults);
    // Engine path for the generator itself. Chromium reads Google Chrome's setting and default
    // here, unlike the script's lookup; the in-process engine route relies on that.
    static QString enginePathForGenerator(int applicationType, const UserDefaults &defaults);
};
