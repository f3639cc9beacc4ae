#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <atomic>
#include <memory>

class Context;
class UpdateAppsJob;

// Brings the apps an older (or newer) Sorvane made up to this version, in the background and at
// most once an hour, while the user's `automaticAppUpdates` setting is on (it is unless turned
// off). Each run is an UpdateAppsJob on the shared thread pool, one run after another; the
// signals, which stand for the delegate's calls, and the notifications "SorvaneAppsUpdated" and
// "AppUpdateNotification" come on the thread the manager lives on.
class SNAutoUpdateManager final : public QObject
{
    Q_OBJECT
public:
    static const QString QueueLabel;
    static const QString EnabledKey;
    static const QString LastCheckKey;
    static const QString NoticeSeenKey;

    explicit SNAutoUpdateManager(Context &context, QObject *parent = nullptr);
    // Lets the run in progress finish its apps first.
    ~SNAutoUpdateManager() override;

    // The manager of the shared context.
    static SNAutoUpdateManager &sharedManager();
    static bool isAutomaticUpdatesEnabled(const Context &context);

    enum class CheckOutcome { Disabled, TooSoon, NothingOutdated, Started };
    Q_ENUM(CheckOutcome)
    // The gated check: on, an hour since the last completed check, outdated apps found. Returns
    // at once, saying whether it queued an update run or why not.
    Q_INVOKABLE CheckOutcome checkAndUpdateAppsInBackground();
    // The same check, with the update run on the calling thread: Started means it has run.
    CheckOutcome checkAndUpdateApps();
    bool hasOutdatedApps() const;
    // Tracked bundles of Sorvane's whose stamped version is not this version, in registry order.
    QStringList getOutdatedApps() const;
    // "apps", "outdatedApps", "currentVersion", "totalApps", "outdatedCount".
    QVariantMap getAppVersionInfo() const;
    // Queues the regeneration of `paths`, in order.
    void updateApps(const QStringList &paths);
    // Waits, handling this thread's events, until every queued run has finished.
    void waitUntilIdle();

    // The one-time notice: true (and the setting turned on, the notice marked seen) when it is
    // to be shown now; the caller shows it and reports the answer with answerNotice.
    bool showAutomaticUpdatesNoticeIfNeeded(bool firstRunComplete);
    void answerNotice(bool keepOn);

Q_SIGNALS:
    // After each app of a run: its path and whether it was regenerated.
    void appUpdated(const QString &path, bool updated, int index, int total);
    void updateRunFinished(int updated, int total);

private:
    CheckOutcome check(QStringList *outdated);
    // A job for `paths` whose progress and end the manager reports.
    std::unique_ptr<UpdateAppsJob> newRun(const QStringList &paths);
    void startNextRun();
    void finishRun(int updated, int total);

    Context &m_context;
    // Of the run under way, counted down on its thread; it outlives the jobs below.
    std::atomic_int m_appsLeft = 0;
    QList<QStringList> m_waiting;           // runs queued behind the one under way
    std::unique_ptr<UpdateAppsJob> m_job;   // the run under way on the pool
    std::unique_ptr<UpdateAppsJob> m_ended; // the last one, freed outside its own signal
    int m_pendingRuns = 0;                  // touched on the manager's thread only
};
