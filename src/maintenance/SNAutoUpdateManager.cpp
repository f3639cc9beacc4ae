#include "maintenance/SNAutoUpdateManager.h"

#include "core/Clock.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDateTime>
#include <QEventLoop>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

const QString SNAutoUpdateManager::QueueLabel = u"com.ondrel.sorvane.autoupdate"_s;
const QString SNAutoUpdateManager::EnabledKey = u"automaticAppUpdates"_s;
const QString SNAutoUpdateManager::LastCheckKey = u"lastAutoUpdateCheck"_s;
const QString SNAutoUpdateManager::NoticeSeenKey = u"hasSeenAutomaticUpdatesOnNotice"_s;

namespace {
constexpr qint64 CheckIntervalSeconds = 3600;
} // namespace

SNAutoUpdateManager::SNAutoUpdateManager(Context &context, QObject *parent)
    : QObject(parent), m_context(context)
{
    context.defaults().registerDefaults({{EnabledKey, true}});
    m_queue.setObjectName(QueueLabel);
    m_worker = new QObject;
    m_worker->moveToThread(&m_queue);
    connect(&m_queue, &QThread::finished, m_worker, &QObject::deleteLater);
    m_queue.start();
}

SNAutoUpdateManager::~SNAutoUpdateManager()
{
    m_queue.quit();
    m_queue.wait();
}

SNAutoUpdateManager &SNAutoUpdateManager::sharedManager()
{
    static SNAutoUpdateManager manager(Context::shared());
    return manager;
}

bool SNAutoUpdateManager::isAutomaticUpdatesEnabled(const Context &context)
{
    // Only an explicit "off" stops them: the registered default is on.
    return !context.defaults().hasPersistentValue(EnabledKey) || context.defaults().boolForKey(EnabledKey);
}

SNAutoUpdateManager::CheckOutcome SNAutoUpdateManager::checkAndUpdateAppsInBackground()
{
    Logger::log(u"Auto-update: Starting automatic update check"_s);
    if (!isAutomaticUpdatesEnabled(m_context)) {
        Logger::log(u"Auto-update: Automatic updates are disabled"_s);
        return CheckOutcome::Disabled;
    }
    const QDateTime now = m_context.clock().now();
    const QDateTime last = m_context.defaults().value(LastCheckKey).toDateTime();
    if (last.isValid() && last.secsTo(now) < CheckIntervalSeconds) {
        Logger::log(u"Auto-update: Skipping check - last update was less than 1 hour ago"_s);
        return CheckOutcome::TooSoon;
    }
    const QStringList outdated = getOutdatedApps();
    if (outdated.isEmpty()) {
        Logger::log(u"Auto-update: No outdated apps found"_s);
        m_context.defaults().setValue(LastCheckKey, now);
        return CheckOutcome::NothingOutdated;
    }
    Logger::log(u"Auto-update: Found outdated apps, starting background update"_s);
    updateApps(outdated);
    return CheckOutcome::Started;
}

bool SNAutoUpdateManager::hasOutdatedApps() const
{
    return !getOutdatedApps().isEmpty();
}

QStringList SNAutoUpdateManager::getOutdatedApps() const
{
    const QString current = m_context.version().isEmpty() ? u"Unknown"_s : m_context.version();
    const QVariantMap records = SNAppTracker(m_context).getTracker();
    QStringList outdated;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const QString path = it.value().toMap().value(u"appPath"_s).toString();
        if (path.isEmpty() || !QFileInfo::exists(path))
            continue;
        const QVariant plist = PropertyList::readFile(path + u"/Contents/Info.plist"_s);
        if (!plist.isValid())
            continue;
        const QVariantMap info = plist.toMap();
        if (!info.value(u"CFBundleIdentifier"_s).toString().startsWith(u"com.Ondrel.Sorvane"_s) &&
            !info.contains(u"SorvaneApp"_s))
            continue;
        const QVariant version = info.value(u"CFBundleShortVersionString"_s);
        // Any difference counts, a newer stamp too: the app was made by another build.
        if (version.typeId() == QMetaType::QString && version.toString() == current)
            continue;
        Logger::log(u"Auto-update: Found outdated app %1 (version: %2, current: %3)"_s.arg(
            QFileInfo(path).fileName(), version.isValid() ? version.toString() : u"Unknown"_s, current));
        if (!outdated.contains(path))
            outdated.append(path);
    }
    return outdated;
}

QVariantMap SNAutoUpdateManager::getAppVersionInfo() const
{
    QStringList apps;
    const QVariantMap records = SNAppTracker(m_context).getTracker();
    for (const QVariant &record : records) {
        const QString path = record.toMap().value(u"appPath"_s).toString();
        if (!path.isEmpty() && QFileInfo::exists(path) && !apps.contains(path))
            apps.append(path);
    }
    const QStringList outdated = getOutdatedApps();
    return {{u"apps"_s, apps},
            {u"outdatedApps"_s, outdated},
            {u"currentVersion"_s, m_context.version()},
            {u"totalApps"_s, apps.size()},
            {u"outdatedCount"_s, outdated.size()}};
}

void SNAutoUpdateManager::updateApps(const QStringList &paths)
{
    ++m_pendingRuns;
    QMetaObject::invokeMethod(m_worker, [this, paths] { runUpdates(paths); }, Qt::QueuedConnection);
}

void SNAutoUpdateManager::runUpdates(const QStringList &paths)
{
    const int total = static_cast<int>(paths.size());
    Logger::log(u"Auto-update: Starting update of %1 apps"_s.arg(total));
    Logger::log(u"Auto-update: Note: User data (extensions, history, etc.) will be preserved during updates"_s);
    int updated = 0;
    for (int index = 0; index < total; ++index) {
        const QString &path = paths.at(index);
        const bool done = SNUpdaterHelper::updateApp(m_context, path);
        updated += done ? 1 : 0;
        Logger::log((done ? u"Auto-update: Successfully updated %1"_s : u"Auto-update: Failed to update %1"_s).arg(path));
        QMetaObject::invokeMethod(
            this, [this, path, done, index, total] { Q_EMIT appUpdated(path, done, index, total); },
            Qt::QueuedConnection);
    }
    // The settings are this thread's too: the stamp is written by the manager's thread, before
    // anything else it does after the run.
    const QDateTime finished = m_context.clock().now();
    QMetaObject::invokeMethod(
        this, [this, finished, updated, total] {
            m_context.defaults().setValue(LastCheckKey, finished);
            Logger::log(u"Auto-update: Completed. Updated %1 out of %2 apps"_s.arg(updated).arg(total));
            finishRun(updated, total);
        },
        Qt::QueuedConnection);
}

void SNAutoUpdateManager::finishRun(int updated, int total)
{
    --m_pendingRuns;
    m_context.notifications().post(NotificationNames::SorvaneAppsUpdated);
    m_context.notifications().post(NotificationNames::AppUpdateNotification);
    Q_EMIT updateRunFinished(updated, total);
}

void SNAutoUpdateManager::waitUntilIdle()
{
    while (m_pendingRuns > 0) {
        QEventLoop loop;
        connect(this, &SNAutoUpdateManager::updateRunFinished, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

bool SNAutoUpdateManager::showAutomaticUpdatesNoticeIfNeeded(bool firstRunComplete)
{
    UserDefaults &defaults = m_context.defaults();
    if (defaults.boolForKey(NoticeSeenKey) || !firstRunComplete || !SNAppTracker(m_context).hasTrackedSorvaneApps())
        return false;
    defaults.setValue(EnabledKey, true);
    defaults.setValue(NoticeSeenKey, true);
    return true;
}

void SNAutoUpdateManager::answerNotice(bool keepOn)
{
    if (!keepOn) {
        m_context.defaults().setValue(EnabledKey, false);
        return;
    }
    checkAndUpdateAppsInBackground();
}
