#include "frontend/JobProgress.h"

JobProgress::JobProgress(QObject *parent)
    : QObject(parent)
{
}

JobProgress::~JobProgress()
{
    // A job still under way is stopped and waited for by its own destructor.
    delete m_job;
}

bool JobProgress::start(std::unique_ptr<Job> job, Prompter *prompter, std::function<void()> done,
                        const Presentation &presentation)
{
    if (m_job)
        return false;
    m_job = job.release();
    m_job->setParent(nullptr);
    m_job->setPrompter(prompter);
    m_fraction = 0;
    m_step.clear();
    m_title = presentation.title;
    m_cancellable = presentation.cancellable;
    connect(m_job, &Job::progressChanged, this, [this](double fraction, const QString &step) {
        m_fraction = fraction;
        m_step = step;
        Q_EMIT changed();
    });
    connect(m_job, &Job::finished, this, [this, done = std::move(done)] {
        Job *ended = m_job;
        m_job = nullptr;
        m_title.clear();
        m_cancellable = false;
        ended->disconnect(this);
        done();
        ended->deleteLater();
        Q_EMIT changed();
    });
    Q_EMIT changed();
    m_job->start();
    return true;
}

void JobProgress::cancel()
{
    if (m_job)
        m_job->cancel();
}
