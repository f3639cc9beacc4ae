#pragma once

#include <QString>
#include <QVariantMap>

class Context;

// What stands between an app and a working start, in one report: whether its engine is
// installed, whether that engine routes the app's links, whether the app is current, whether the
// registry still knows where it is, and whether it is running now.
struct AppHealth
{
    bool engineInstalled = false;
    QString enginePath;
    // CompanionSupport's key for the engine ("yes", "yes (through the DevTools pipe)", "unknown"),
    // "no" when the app's script loads the companion in a way its engine ignores, "off" when the
    // app has no companion.
    QString linkRouting;
    QString linkRoutingReason;
    QString version;            // the app's stamp ("Unknown" when it has none)
    QString currentVersion;
    bool outdated = false;
    QString registryPath;       // where the registry record says the app is; empty without one
    bool registryStale = false; // no record, or the record names another place
    bool engineRunning = false;

    // `info` is the app information read back from the bundle.
    static AppHealth check(Context &context, const QString &bundlePath, const QString &appId, const QVariantMap &info);

    QVariantMap toMap() const;
    // One line per problem, for people; empty when the app is fine.
    QStringList problems() const;
};
