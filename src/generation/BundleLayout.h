#pragma once

#include <QString>
#include <QStringList>

// Every path of a generated bundle, named. A layout is a value: where the bundle is being built
// (a hidden staging folder during creation) and where it will live can be two layouts of the
// same app.
struct BundleLayout
{
    QString appName;
    QString bundle;      // <folder>/<appName>.app
    QString contents;    // Contents
    QString resources;   // Contents/Resources
    QString executables; // Contents/MacOS
    QString profile;     // Contents/Profile, the engine's user-data folder
    QString defaultUser; // Contents/Profile/Default
    QString extensions;  // Contents/Profile/Default/Extensions

    // The layout of "<folder>/<appName>.app".
    static BundleLayout forApp(const QString &folder, const QString &appName);
    // The layout of the bundle folder `bundlePath` for an app called `appName`.
    static BundleLayout atPath(const QString &bundlePath, const QString &appName);
    // The same app in another bundle folder.
    BundleLayout relocated(const QString &bundlePath) const { return atPath(bundlePath, appName); }

    // The eight folders of a new bundle, in the order they are created.
    QStringList directories() const;

    QString infoPlist() const { return contents + QStringLiteral("/Info.plist"); }
    QString script() const { return resources + QStringLiteral("/script"); }
    QString launchProgram() const { return executables + u'/' + appName; }
    QString engineExecutable() const { return executables + u'/' + engineName(appName); }

    // The engine's executable name, "<appName> Engine".
    static QString engineName(const QString &appName) { return appName + QStringLiteral(" Engine"); }
};
