#pragma once

#include "core/AppDefinition.h"

#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// Reads generated apps back and regenerates them. The launcher script is the only record of an
// app that is trusted; regeneration rewrites everything the current generator makes for the
// definition read back (Info.plist, script, launch program, helper files, companion files,
// engine) and never touches the app's profile: cookies, history and extensions survive.
class SNUpdaterHelper final
{
public:
    // The bundle's launcher script: Contents/Resources/script, or in older bundles the file named
    // like the app in Contents/MacOS; empty when neither is a file.
    static QString scriptPath(const QString &bundlePath);
    // The app information dictionary read from the bundle's script; none when the script cannot
    // be read or is the demo app's.
    static std::optional<QVariantMap> appInfo(const QString &bundlePath);

    // Whether an Info.plist is that of an app Sorvane made.
    static bool isSorvaneBundle(const QVariantMap &plist);

    // Whether the engine of the app at `bundlePath` is running now (any process started as its
    // Contents/MacOS/"<name> Engine").
    static bool isEngineRunning(const QString &bundlePath);

    // Regenerates the app at `bundlePath`. False, with the reason, when it was refused (not
    // readable, not one of Sorvane's, engine running) or failed; nothing under Contents/Profile
    // is changed either way. The app's lock is held and the rewrite is staged and journaled
    // (StagedUpdate): a failure or a kill leaves the old app or the new one, never a mix.
    static bool updateApp(Context &context, const QString &bundlePath, QString *error = nullptr);

    // The definition regeneration writes: the stored configuration of the app's registry id,
    // overruled by what the script says (name, addresses, tabs, incognito, browser).
    static AppDefinition definitionForApp(Context &context, const QString &appName, const QVariantMap &info);

    // Copies the browser type read back into the app's stored configuration; false with the
    // reason when the configuration cannot be written.
    [[nodiscard]] static bool preserveBrowserTypeForApp(Context &context, const QString &bundlePath,
                                                        const QVariantMap &info, QString *error = nullptr);
    static bool refreshLaunchServicesRegistration(const QString &bundlePath);
    // Removes the quarantine attribute (macOS; nothing elsewhere).
    static void clearAttr(Context &context, const QString &bundlePath);

    // Start-up migration: regenerates every tracked app that still carries the companion in the
    // legacy folder named by its extension id. Returns how many were regenerated.
    static int updateSorvaneExtensionPath(Context &context);

    // The folder earlier versions installed the companion in.
    static const QString LegacyExtensionFolder;
};
