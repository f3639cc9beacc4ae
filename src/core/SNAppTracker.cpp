#include "core/SNAppTracker.h"

#include "core/Clock.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "core/FileLock.h"
#include "core/Ids.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/PropertyList.h"
#include "core/ShellEscaping.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString AppIdKey = QStringLiteral("appID");
const QString AppPathKey = QStringLiteral("appPath");
const QString LastActivityKey = QStringLiteral("lastActivity");

} // namespace

SNAppTracker::SNAppTracker(Context &context)
    : m_context(context)
{
}

SNAppTracker::FileState SNAppTracker::fileState() const
{
    const QFileInfo info(trackerPath());
    if (!info.exists() && !info.isSymLink())
        return FileState::Missing;
    if (!info.isFile())
        return FileState::NotAFile;
    return PropertyList::readFile(info.filePath()).typeId() == QMetaType::QVariantMap ? FileState::Readable
                                                                                       : FileState::Unreadable;
}

QVariantMap SNAppTracker::getTracker() const
{
    getAppBundle();
    const QVariant root = PropertyList::readFile(trackerPath());
    if (root.typeId() != QMetaType::QVariantMap)
        return {};
    QVariantMap records = root.toMap();
    for (auto it = records.begin(); it != records.end();)
        it = Ids::isUsableRegistryId(it.key()) ? std::next(it) : records.erase(it);
    return records;
}

QMap<QString, RegistryRecord> SNAppTracker::records() const
{
    QMap<QString, RegistryRecord> typed;
    const QVariantMap stored = getTracker();
    for (auto it = stored.cbegin(); it != stored.cend(); ++it) {
        const QVariantMap record = it.value().toMap();
        typed.insert(it.key(), {it.key(), record.value(u"appPath"_s).toString(), record.value(u"lastActivity"_s).toString()});
    }
    return typed;
}

QStringList SNAppTracker::idsForBundle(const QString &bundlePath) const
{
    QStringList ids;
    const QMap<QString, RegistryRecord> all = records();
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        if (it->appPath == bundlePath)
            ids.append(it.key());
    }
    return ids;
}

QString SNAppTracker::idForBundle(const QString &bundlePath) const
{
    return idsForBundle(bundlePath).value(0);
}

QString SNAppTracker::getAppBundle() const
{
    const QString folder = m_context.supportFolder();
    QDir().mkpath(folder);
    return folder;
}

QString SNAppTracker::trackerPath() const
{
    return m_context.supportFolder() + QStringLiteral("/tracker.plist");
}

QVariantMap SNAppTracker::addAppTracker(const QString &path, QString *error)
{
    const QVariantMap added = record(Ids::newRegistryId(), path);
    if (!modify([&](QVariantMap &tracker) { tracker.insert(added.value(AppIdKey).toString(), added); }, error))
        return {};
    m_context.notifications().post(NotificationNames::AppUpdateNotification);
    return added;
}

bool SNAppTracker::updateAppTracker(const QString &appId, const QString &path, QString *error)
{
    if (!modify([&](QVariantMap &tracker) { tracker.insert(appId, record(appId, path)); }, error))
        return false;
    m_context.notifications().post(NotificationNames::AppUpdateNotification);
    return true;
}

bool SNAppTracker::restoreRecord(const QString &appId, const QVariant &earlier, QString *error)
{
    if (!modify(
            [&](QVariantMap &tracker) {
                if (earlier.isValid())
                    tracker.insert(appId, earlier);
                else
                    tracker.remove(appId);
            },
            error))
        return false;
    m_context.notifications().post(NotificationNames::AppUpdateNotification);
    return true;
}

bool SNAppTracker::deleteAppFromTracker(const QString &appId, QString *error)
{
    return deleteAppsFromTracker({appId}, error);
}

bool SNAppTracker::deleteAppsFromTracker(const QStringList &appIds, QString *error)
{
    // Every way an app leaves the registry (deletion, a replaced app, a failed creation) passes
    // here, so its menu entry goes with its record.
    for (const QString &appId : appIds) {
        QString reason;
        if (DesktopEntries::isSafeAppId(appId) && !DesktopEntries(m_context).removeAppEntry(appId, &reason))
            Logger::log(reason);
    }
    getAppBundle();
    if (!QFileInfo::exists(trackerPath()))
        return true;
    return modify(
        [&](QVariantMap &tracker) {
            for (const QString &appId : appIds)
                tracker.remove(appId);
        },
        error);
}

QString SNAppTracker::shellUpdateCode(const QString &appId) const
{
    // Escaped for the shell, so that a support folder with blanks, quotes or `$` stays one word
    // and never runs anything; ordinary paths and ids come out unchanged.
    const QString file = ShellEscaping::unquoted(trackerPath());
    const QString id = ShellEscaping::unquoted(appId);
    const QStringList lines{
        QString(),
        QString(),
        QStringLiteral("FILE=") + file,
        QStringLiteral("if test -f \"$FILE\"; then"),
        QStringLiteral("plutil -replace ") + id
            + QStringLiteral(".lastActivity -string \"$(date +'%Y-%m-%d %l:%M:%S %p')\" ") + file,
        QStringLiteral("TRACKER_APP_ROOT=\"$(dirname \"$(dirname \"$PWD\")\")\""),
        QStringLiteral("if [ -f \"$TRACKER_APP_ROOT/Contents/Resources/script\" ]; then"),
        QStringLiteral("plutil -replace ") + id + QStringLiteral(".appPath -string \"$TRACKER_APP_ROOT\" ") + file,
        QStringLiteral("fi"),
        QStringLiteral("fi"),
    };
    return lines.join(u'\n') + u'\n';
}

bool SNAppTracker::hasTrackedSorvaneApps() const
{
    const QVariantMap tracker = getTracker();
    for (const QVariant &value : tracker) {
        if (value.typeId() != QMetaType::QVariantMap)
            continue;
        const QVariant path = value.toMap().value(AppPathKey);
        if (path.typeId() == QMetaType::QString && !path.toString().isEmpty()
            && QFileInfo::exists(path.toString()))
            return true;
    }
    return false;
}

QString SNAppTracker::activityStamp(const QDateTime &time)
{
    return QLocale::c().toString(time.toLocalTime(), QStringLiteral("yyyy-MM-dd hh:mm:ss AP"));
}

bool SNAppTracker::modify(const std::function<void(QVariantMap &)> &change, QString *error) const
{
    const auto fail = [error](const QString &reason) {
        if (error)
            *error = reason;
        Logger::log(u"⚠️ "_s + reason);
        return false;
    };
    getAppBundle();
    const QString path = trackerPath();
    const FileLock lock(FileLock::lockPathFor(path));
    if (!lock.isLocked())
        return fail(lock.errorString());
    QVariantMap tracker;
    switch (fileState()) {
    case FileState::Missing:
        break;
    case FileState::NotAFile:
        return fail(u"The app registry %1 is not a file."_s.arg(path));
    case FileState::Readable:
        tracker = PropertyList::readFile(path).toMap();
        break;
    case FileState::Unreadable: {
        // Kept, never overwritten: its records may still be recovered by hand.
        const QString kept = path + u".corrupt-"_s
                             + m_context.clock().now().toString(u"yyyyMMdd-HHmmss-zzz"_s);
        if (!QFile::rename(path, kept))
            return fail(u"The app registry %1 is unreadable and could not be set aside."_s.arg(path));
        Logger::log(u"⚠️ The app registry %1 was unreadable; it was kept as %2."_s.arg(path, kept));
        break;
    }
    }
    change(tracker);
    QString reason;
    if (!PropertyList::writeFile(path, tracker, &reason))
        return fail(u"The app registry could not be changed. %1"_s.arg(reason));
    return true;
}

QVariantMap SNAppTracker::record(const QString &appId, const QString &path) const
{
    return {{AppIdKey, appId},
            {AppPathKey, path},
            {LastActivityKey, activityStamp(m_context.clock().now())}};
}
