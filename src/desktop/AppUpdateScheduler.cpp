#include "desktop/AppUpdateScheduler.h"

#include "desktop/DialogBroker.h"

#include "core/Context.h"
#include "core/UserDefaults.h"
#include "maintenance/AutoUpdateCheckJob.h"
#include "maintenance/SNAutoUpdateManager.h"

#include <QTimer>

using namespace Qt::Literals::StringLiterals;

const QString AppUpdateScheduler::NoticeTitle = u"Sorvane keeps your apps up to date"_s;
const QString AppUpdateScheduler::NoticeText =
    u"When Sorvane is updated, the apps it made are brought up to the new version in the background, "
    "at most once an hour. Their data (history, extensions, sign-ins) is kept. You can change this "
    "in Settings at any time."_s;
const QStringList AppUpdateScheduler::NoticeButtons{u"Keep On"_s, u"Turn Off"_s};

AppUpdateScheduler::AppUpdateScheduler(Context &context, DialogBroker &dialogs, QObject *parent)
    : QObject(parent), m_context(context), m_dialogs(dialogs), m_timer(new QTimer(this))
{
    connect(m_timer, &QTimer::timeout, this, &AppUpdateScheduler::runPass);
}

AppUpdateScheduler::~AppUpdateScheduler()
{
    // A pass under way finishes the app it is at; the apps not reached stay for the next start.
    if (m_job) {
        m_job->disconnect(this);
        m_job->cancel();
    }
}

void AppUpdateScheduler::start(std::chrono::milliseconds interval)
{
    m_timer->setInterval(interval);
    // After the window is up: the notice is a question on it, and the first pass must not hold
    // up the first frame. The hourly passes start once the notice is answered.
    QTimer::singleShot(0, this, [this] {
        SNAutoUpdateManager notice(m_context);
        if (notice.showAutomaticUpdatesNoticeIfNeeded(true)) {
            const int answer = m_dialogs.ask(NoticeTitle, NoticeText, NoticeButtons);
            // Only "Turn Off" turns them off; closing the notice leaves them on. "Keep On" checks
            // at once: the pass below, on the pool, rather than the manager's own run.
            if (answer == 1)
                notice.answerNotice(false);
        }
        runPass();
        m_timer->start();
    });
}

void AppUpdateScheduler::runPass()
{
    if (m_job)
        return;
    m_job = std::make_unique<AutoUpdateCheckJob>(m_context,
                                                 AutoUpdateCheckJob::Request{.migrateCompanionFolder = !m_migrated});
    m_migrated = true;
    connect(m_job.get(), &AutoUpdateCheckJob::progressChanged, this, [this](double, const QString &path) {
        setStatus(tr("Updating %1…").arg(path.section(u'/', -1)));
    });
    connect(m_job.get(), &AutoUpdateCheckJob::finished, this, &AppUpdateScheduler::finishPass);
    Q_EMIT updatingChanged();
    m_job->start();
}

void AppUpdateScheduler::finishPass()
{
    // Freed outside its own signal.
    std::unique_ptr<AutoUpdateCheckJob> job = std::move(m_job);
    if (job->total() == 0)
        setStatus({});
    else if (job->updated() == job->total())
        setStatus(job->total() == 1 ? tr("1 app was updated to this version of Sorvane.")
                                    : tr("%1 apps were updated to this version of Sorvane.").arg(job->total()));
    else
        setStatus(tr("%1 of %2 apps could not be updated; see Sorvane's log.")
                      .arg(job->total() - job->updated())
                      .arg(job->total()));
    Q_EMIT updatingChanged();
    Q_EMIT passFinished();
    job.release()->deleteLater();
}

void AppUpdateScheduler::setStatus(const QString &status)
{
    if (m_status == status)
        return;
    m_status = status;
    Q_EMIT statusChanged();
}
