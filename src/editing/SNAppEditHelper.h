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
// Each step returns false with the reason when a file could not be written; the caller stops
// there (AppEditor journals the edit, so the next start finishes it).
class SNAppEditHelper final
{
public:
    SNAppEditHelper() = delete;

    static const QString InvalidNameMessage;

    // A name is valid when it is not empty and holds no "/".
    static bool validateAppName(const QString &name);

    // Rewrites "<appId>.config" with the edited values, keeping every other key; never creates a
    // missing file. Ends with regenerateDataJSON.
    static bool saveAppConfig(Context &context, const SNEditorItem &app, QString *error = nullptr);
    // Rewrites Contents/Resources/data.json (nothing when Contents/Resources is missing).
    static bool regenerateDataJSON(const SNEditorItem &app, QString *error = nullptr);

    // The launcher update the bundle's layout calls for: the whole script regenerated, or one of
    // the older layouts patched.
    static bool updateLauncher(Context &context, const SNEditorItem &app, const QString &newName,
                               QString *error = nullptr);
    // Regenerates Contents/Resources/script for the edited definition under the new name.
    static bool updateNewAppData(Context &context, const SNEditorItem &app, const QString &newName,
                                 QString *error = nullptr);
    // Older bundles, whose launcher is Contents/MacOS/<name> itself: patch its lines.
    static bool updateAppData(const SNEditorItem &app, const QString &newName, QString *error = nullptr);
    static bool updateTabbedAppData(const SNEditorItem &app, const QString &newName, QString *error = nullptr);

    // Writes the bundle's icon.icns from `newIcon` and keeps it as the definition's icon; nothing
    // without an icon.
    static bool changeAppIcon(SNEditorItem &app, const SNImage &newIcon, QString *error = nullptr);
    // Info.plist, the launch program's and the engine's names, the bundle folder and the registry
    // record; updates `app.path` and `app.appItem.appName`. Each step is skipped when done already,
    // so running it again finishes an interrupted rename; the bundle folder moves last.
    static bool changeAppName(Context &context, SNEditorItem &app, const QString &newName, QString *error = nullptr);

    // Sets or removes the keys that offer the app as a web browser.
    static void applyBrowserRegistration(bool registerAsBrowser, QVariantMap &plist);
    // Replaces the old name with the new one in the name lines of every *.lproj/InfoPlist.strings
    // of `directory`, keeping each file's encoding. The first error, or nothing.
    static std::optional<QString> replaceChromeWithAppName(const QString &directory, const SNEditorItem &app,
                                                           const QString &newName);

    // The configuration file of an app, in the support folder.
    static QString configPath(Context &context, const QString &appId);
};
