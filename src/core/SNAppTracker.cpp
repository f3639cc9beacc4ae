#include "core/SNAppTracker.h"

#include "core/Clock.h"
#include "core/Context.h"
#include "core/Ids.h"
#include "core/NotificationCenter.h"
#include "core/PropertyList.h"
#include "core/ShellEscaping.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

namespace {

const QString AppIdKey = QStringLiteral("appID");
const QString AppPathKey = QStringLiteral("appPath");
const QString LastActivityKey = QStringLiteral("lastActivity");
const QString AppUpdateNotification = QStringLiteral("AppUpdateNotification");

} // namespace

SNAppTracker::SNAppTracker(Context &context)
    : m_context(context)
{
}

QVariantMap SNAppTracker::getTracker() const
{
    getAppBundle();
    const QVariant root = PropertyList::readFile(trackerPath());
    if (root.typeId() != QMetaType::QVariantMap)
        return {};
    return root.toMap();
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

QVariantMap SNAppTracker::addAppTracker(const QString &path)
{
    const QVariantMap added = record(Ids::newRegistryId(), path);
    QVariantMap tracker = getTracker();
    tracker.insert(added.value(AppIdKey).toString(), added);
    write(tracker);
    m_context.notifications().post(AppUpdateNotification);
    return added;
}

void SNAppTracker::updateAppTracker(const QString &appId, const QString &path)
{
    QVariantMap tracker = getTracker();
    tracker.insert(appId, record(appId, path));
    write(tracker);
    m_context.notifications().post(AppUpdateNotification);
}

void SNAppTracker::deleteAppFromTracker(const QString &appId)
{
    getAppBundle();
    if (!QFileInfo::exists(trackerPath()))
        return;
    QVariantMap tracker = getTracker();
    tracker.remove(appId);
    write(tracker);
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

void SNAppTracker::write(const QVariantMap &tracker) const
{
    // Nothing to do about a failed write: the next change rewrites the whole file.
    getAppBundle();
    PropertyList::writeFile(trackerPath(), tracker);
}

QVariantMap SNAppTracker::record(const QString &appId, const QString &path) const
{
    return {{AppIdKey, appId},
            {AppPathKey, path},
            {LastActivityKey, activityStamp(m_context.clock().now())}};
}
