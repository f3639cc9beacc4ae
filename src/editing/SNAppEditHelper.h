#pragma once

#include "core/SNEditorItem.h"
#include "core/SNImage.h"

#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// Brings every file of an existing bundle in line with its edited definition, in place: the
// configuration file, data.json, the launcher, the icon, Info.plist, the launch program's and
// the engine's names, the bundle folder's name and the registry record. The profile is never
// touched except for the accent colour in the engine's preferences.
//
// Each step stands alone; nothing is rolled back and a failed step does not stop the next one
// (the caller checks what it can beforehand: a running engine, a name that is taken). Failures
// are logged, not returned, except by replaceChromeWithAppName.
class SNAppEditHelper final
{
public:
    SNAppEditHelper() = delete;

    static const QString InvalidNameMessage;

    // A name is valid when it is not empty and holds no "/".
    static bool validateAppName(const QString &name);

    // The whole edit: configuration and data.json, accent colour, launcher, icon, then the rename
    // (last, because every earlier step works on the old path).
    static void saveApp(Context &context, SNEditorItem &app, const QString &newName, const SNImage &newIcon);

    // Rewrites "<appId>.config" with the edited values, keeping every other key; never creates a
    // missing file. Ends with regenerateDataJSON.
    static void saveAppConfig(Context &context, const SNEditorItem &app);
    // Rewrites Contents/Resources/data.json (nothing when Contents/Resources is missing).
    static void regenerateDataJSON(const SNEditorItem &app);

    // The launcher update the bundle's layout calls for: the whole script regenerated, or one of
    // the older layouts patched.
    static void updateLauncher(Context &context, const SNEditorItem &app, const QString &newName);
    // Regenerates Contents/Resources/script for the edited definition under the new name.
    static void updateNewAppData(Context &context, const SNEditorItem &app, const QString &newName);
    // Older bundles, whose launcher is Contents/MacOS/<name> itself: patch its lines.
    static void updateAppData(const SNEditorItem &app, const QString &newName);
    static void updateTabbedAppData(const SNEditorItem &app, const QString &newName);

    // Writes the bundle's icon.icns from `newIcon` and keeps it as the definition's icon; nothing
    // without an icon.
    static void changeAppIcon(SNEditorItem &app, const SNImage &newIcon);
    // Info.plist, the launch program's and the engine's names, the bundle folder and the registry
    // record; updates `app.path` and `app.appItem.appName`.
    static void changeAppName(Context &context, SNEditorItem &app, const QString &newName);

    // Sets or removes the keys that offer the app as a web browser.
    static void applyBrowserRegistration(bool registerAsBrowser, QVariantMap &plist);
    // Replaces the old name with the new one in the name lines of every *.lproj/InfoPlist.strings
    // of `directory`, keeping each file's encoding. The first error, or nothing.
    static std::optional<QString> replaceChromeWithAppName(const QString &directory, const SNEditorItem &app,
                                                           const QString &newName);

    // The configuration file of an app, in the support folder.
    static QString configPath(Context &context, const QString &appId);
};
