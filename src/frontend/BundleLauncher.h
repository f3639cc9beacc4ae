#pragma once

#include <QString>

// Starts a generated app the way the desktop does: its launch program, detached, no shell.
class BundleLauncher final
{
public:
    BundleLauncher() = delete;

    // First the program the bundle's Info.plist names (CFBundleExecutable in Contents/MacOS, as
    // the desktop opens a bundle); when that is refused, whatever launcher the bundle holds
    // (the older layouts' script included). Logs both reasons when neither starts.
    static bool launch(const QString &bundlePath);

    // Contents/MacOS/<name> resolved, when it is an executable file inside the bundle; empty
    // with the reason otherwise.
    static QString programInBundle(const QString &bundlePath, const QString &name, QString *error);
    static bool startDetached(const QString &program, QString *error);
};
