#pragma once

#include "core/Context.h"

#include <QString>
#include <QMap>
#include <QStringList>
#include <QVariantMap>

#include <functional>

class QDateTime;

// One record of the registry.
struct RegistryRecord
{
    QString appID;
    QString appPath;
    QString lastActivity;
};

// The registry of generated apps: "tracker.plist" in the support folder, a dictionary from each
// app's registry id (appID) to the record {appID, appPath, lastActivity}, all three strings.
// Every change rewrites the whole file atomically while holding "tracker.plist.lock", the lock
// the generated apps' plutil stand-in takes too, so that concurrent writers never lose records.
// A missing or unreadable file reads as empty; an unreadable one is kept as
// "tracker.plist.corrupt-<timestamp>" before a change replaces it.
class SNAppTracker final
{
public:
    explicit SNAppTracker(Context &context = Context::shared());

    enum class FileState { Missing, Readable, Unreadable, NotAFile };
    // What is at the tracker's path now.
    FileState fileState() const;

    // The tracker's records; empty when the file is missing, unreadable or not a dictionary. A
    // record whose id could not name a file (Ids::isUsableRegistryId) is left out, though kept in
    // the file.
    QVariantMap getTracker() const;
    // The same records, typed, by registry id.
    QMap<QString, RegistryRecord> records() const;
    // The registry ids whose record names the bundle at `bundlePath` (usually one), in id order.
    QStringList idsForBundle(const QString &bundlePath) const;
    // The first of them, or empty.
    QString idForBundle(const QString &bundlePath) const;
    // The support folder, created with intermediate folders first (a failure is ignored).
    QString getAppBundle() const;
    // Where the tracker lives; does not create anything.
    QString trackerPath() const;

    // Registers a new app at `path` under a fresh registry id, posts "AppUpdateNotification"
    // and returns the record (callers read its appID). Empty, with the reason, when the tracker
    // cannot be written.
    [[nodiscard]] QVariantMap addAppTracker(const QString &path, QString *error = nullptr);
    // Replaces (or creates) the record under `appId` and posts "AppUpdateNotification". False,
    // with the reason, when the tracker cannot be written; the old tracker then stays as it was.
    [[nodiscard]] bool updateAppTracker(const QString &appId, const QString &path, QString *error = nullptr);
    // Puts back the record under `appId` exactly as `earlier` (a record getTracker returned);
    // none removes it. For a change that is taken back.
    [[nodiscard]] bool restoreRecord(const QString &appId, const QVariant &earlier, QString *error = nullptr);
    // Removes the record under `appId` (or those under `appIds`, in one change); true when the
    // tracker does not exist. No notification. False, with the reason, when the tracker cannot be written.
    [[nodiscard]] bool deleteAppFromTracker(const QString &appId, QString *error = nullptr);
    [[nodiscard]] bool deleteAppsFromTracker(const QStringList &appIds, QString *error = nullptr);

    // The fragment that every launcher script runs to stamp its record with the start time and
    // the bundle's current location. It expects to run in the bundle's Contents/Resources.
    QString shellUpdateCode(const QString &appId) const;

    // True as soon as one record names a bundle path that exists.
    bool hasTrackedSorvaneApps() const;

    // A record's lastActivity text for `time`: local time, "2024-03-05 09:07:31 PM".
    static QString activityStamp(const QDateTime &time);

private:
    // Reads, changes and writes the tracker under its lock; false with the reason when it
    // cannot be written.
    bool modify(const std::function<void(QVariantMap &)> &change, QString *error = nullptr) const;
    QVariantMap record(const QString &appId, const QString &path) const;

    Context &m_context;
};
