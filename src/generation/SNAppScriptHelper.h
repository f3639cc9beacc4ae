#pragma once

#include "generation/SNScriptInputs.h"

#include <QString>

class UserDefaults;

// The launcher script of a generated app: Contents/Resources/script, the bash text that builds
// the engine, repairs the native-messaging manifests and starts the engine or hands a link to
// the running one. Every user value is escaped for the shell context it lands in; ordinary
// values give the fixed template text byte for byte.
class SNAppScriptHelper final
{
public:
    // Shown when a name cannot become an app (empty, `/` or a control character).
    static const QString InvalidNameMessage;
    // Logged when the launch program is missing and the legacy stub is installed instead.
    static const QString LegacyStubWarning;

    // The engine executable the script's setup builds from: the user's setting for that
    // browser, else its default path. Not checked for existence.
    static QString getBrowserPath(const QString &typeKey, const UserDefaults &defaults);
    // createEngine.sh's third argument for an engine executable: on macOS the browser's bundle
    // (BrowserCatalogue::bundleOfEngine), elsewhere the executable itself.
    static QString browserPathArgument(const QString &enginePath, bool targetIsMac);
    // Switches every start of the engine carries (ENGINE_EXTRA_FLAGS).
    static QString extraEngineFlagsForBrowser(const QString &typeKey);
    // The already-running check for the engine executable `engineName` ("<Name> Engine").
    static QString preLaunchValidatorScript(const QString &engineName);
    // The three-line script installed in Contents/MacOS when the launch program is missing.
    static QString legacyLaunchStub();

    // The whole script. Empty, with InvalidNameMessage in `error`, when the name is refused.
    static QString scriptText(const SNScriptInputs &inputs, QString *error = nullptr);
};
