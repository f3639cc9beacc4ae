#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>
#include <QVariantMap>

class Context;

// Brings the apps an older (or newer) Sorvane made up to this version, in the background and at
// most once an hour, while the user's `automaticAppUpdates` setting is on (it is unless turned
// off). Regenerations run one after another on a worker thread of their own; the signals, which
// stand for the delegate's calls, and the notifications "SorvaneAppsUpdated" and
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
    // Lets a run in progress finish first.
    ~SNAutoUpdateManager() override;

    // The manager of the shared context.
    static SNAutoUpdateManager &sharedManager();
    static bool isAutomaticUpdatesEnabled(const Context &context);

    enum class CheckOutcome { Disabled, TooSoon, NothingOutdated, Started };
    Q_ENUM(CheckOutcome)
    // The gated check: on, an hour since the last completed check, outdated apps found. Returns
    // at once, saying whether it queued an update run or why not.
    Q_INVOKABLE CheckOutcome checkAndUpdateAppsInBackground();
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
    void runUpdates(const QStringList &paths);
    void finishRun(int updated, int total);

    Context &m_context;
    QThread m_queue;
    QObject *m_worker = nullptr; // lives on m_queue
    int m_pendingRuns = 0;       // touched on the manager's thread only
};
