#include "maintenance/SNAutoUpdateManager.h"

#include "core/Clock.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "maintenance/UpdateAppsJob.h"

#include <QDateTime>
#include <QEventLoop>
#include <QFileInfo>
#include <QThread>

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
}

SNAutoUpdateManager::~SNAutoUpdateManager()
{
    // The run under way finishes its apps; runs still queued behind it are dropped.
    for (int left = m_appsLeft; left > 0; left = m_appsLeft)
        m_appsLeft.wait(left);
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
    QStringList outdated;
    const CheckOutcome outcome = check(&outdated);
    if (outcome == CheckOutcome::Started)
        updateApps(outdated);
    return outcome;
}

SNAutoUpdateManager::CheckOutcome SNAutoUpdateManager::checkAndUpdateApps()
{
    QStringList outdated;
    const CheckOutcome outcome = check(&outdated);
    if (outcome == CheckOutcome::Started) {
        ++m_pendingRuns;
        newRun(outdated)->exec();
    }
    return outcome;
}

SNAutoUpdateManager::CheckOutcome SNAutoUpdateManager::check(QStringList *outdated)
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
    *outdated = getOutdatedApps();
    if (outdated->isEmpty()) {
        Logger::log(u"Auto-update: No outdated apps found"_s);
        m_context.defaults().setValue(LastCheckKey, now);
        return CheckOutcome::NothingOutdated;
    }
    Logger::log(u"Auto-update: Found outdated apps, starting background update"_s);
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
    m_waiting.append(paths);
    if (!m_job)
        startNextRun();
}

void SNAutoUpdateManager::startNextRun()
{
    if (m_waiting.isEmpty())
        return;
    m_job = newRun(m_waiting.takeFirst());
    connect(m_job.get(), &Job::finished, this, [this] {
        m_ended = std::move(m_job);
        startNextRun();
    });
    m_job->start();
}

std::unique_ptr<UpdateAppsJob> SNAutoUpdateManager::newRun(const QStringList &paths)
{
    const int total = static_cast<int>(paths.size());
    Logger::log(u"Auto-update: Starting update of %1 apps"_s.arg(total));
    Logger::log(u"Auto-update: Note: User data (extensions, history, etc.) will be preserved during updates"_s);
    auto job = std::make_unique<UpdateAppsJob>(m_context, UpdateAppsRequest{paths});
    job->setObjectName(QueueLabel);
    m_appsLeft += total;
    UpdateAppsJob *run = job.get();
    QThread *const home = thread();
    // Direct: the outcome is read on the thread that wrote it, and handed over by value.
    connect(
        run, &UpdateAppsJob::appFinished, this,
        [this, run, total, home](qsizetype index) {
            const UpdateAppsJob::Outcome outcome = run->outcomes().at(index);
            Logger::log((outcome.updated ? u"Auto-update: Successfully updated %1"_s
                                         : u"Auto-update: Failed to update %1"_s)
                            .arg(outcome.path));
            const auto report = [this, outcome, index, total] {
                Q_EMIT appUpdated(outcome.path, outcome.updated, static_cast<int>(index), total);
            };
            if (QThread::currentThread() == home)
                report();
            else
                QMetaObject::invokeMethod(this, report, Qt::QueuedConnection);
            --m_appsLeft;
            m_appsLeft.notify_all();
        },
        Qt::DirectConnection);
    connect(run, &Job::finished, this, [this, run, total] {
        m_context.defaults().setValue(LastCheckKey, m_context.clock().now());
        const int updated = run->updatedCount();
        Logger::log(u"Auto-update: Completed. Updated %1 out of %2 apps"_s.arg(updated).arg(total));
        finishRun(updated, total);
    });
    return job;
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
