#include "core/Job.h"

#include "core/Prompter.h"

#include <QMetaObject>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>

using namespace Qt::Literals::StringLiterals;

const QString Job::CancelledText = u"Cancelled."_s;

// Hands the job's questions to its prompter on the job's own thread and waits for the answer,
// so that a dialog is always shown by the thread that owns the window.
class Job::Forwarder final : public Prompter
{
public:
    explicit Forwarder(Job &job)
        : m_job(job)
    {
    }

    int ask(const QString &message, const QString &informativeText, const QStringList &buttons) override
    {
        const int safe = int(buttons.size()) - 1;
        if (QThread::currentThread() == m_job.thread())
            return m_job.m_prompter ? m_job.m_prompter->ask(message, informativeText, buttons) : safe;
        auto answer = std::make_shared<std::atomic_int>(safe);
        auto answered = std::make_shared<QSemaphore>();
        Job *job = &m_job;
        QMetaObject::invokeMethod(
            job,
            [job, answer, answered, message, informativeText, buttons] {
                if (job->m_prompter && !job->m_cancelled)
                    *answer = job->m_prompter->ask(message, informativeText, buttons);
                answered->release();
            },
            Qt::QueuedConnection);
        // Not a blocking call: a job whose owner goes away while a question is open must not wait
        // for an answer that will never come.
        while (!answered->tryAcquire(1, 50)) {
            if (m_job.m_cancelled)
                return safe;
        }
        return *answer;
    }

    void showError(const QString &message) override
    {
        Job *job = &m_job;
        QMetaObject::invokeMethod(
            job,
            [job, message] {
                if (job->m_prompter)
                    job->m_prompter->showError(message);
            },
            QThread::currentThread() == job->thread() ? Qt::DirectConnection : Qt::QueuedConnection);
    }

private:
    Job &m_job;
};

Job::Job(QObject *parent)
    : QObject(parent)
    , m_forwarder(std::make_unique<Forwarder>(*this))
{
}

Job::~Job()
{
    // A job deleted while it runs on the pool is stopped first: the work holds `this`.
    m_cancelled = true;
    m_working->wait(true);
}

bool Job::runHere()
{
    m_errorText.clear();
    m_finished = false;
    bool ok = false;
    try {
        ok = run();
    } catch (const std::exception &exception) {
        ok = fail(u"Unexpected error: %1"_s.arg(QString::fromLocal8Bit(exception.what())));
    }
    if (!ok && m_errorText.isEmpty())
        m_errorText = m_cancelled ? CancelledText : u"The operation failed."_s;
    if (ok)
        m_errorText.clear();
    m_finished = true;
    return ok;
}

bool Job::exec()
{
    if (m_running.exchange(true))
        return false;
    const bool ok = runHere();
    m_running = false;
    Q_EMIT finished(ok);
    return ok;
}

void Job::start()
{
    if (m_running.exchange(true))
        return;
    *m_working = true;
    // The flag is shared: the destructor may free the job as soon as it reads false, while this
    // thread still wakes it.
    QThreadPool::globalInstance()->start([this, working = m_working] {
        const bool ok = runHere();
        // The job lives on the thread that started it and is told there that the work is over;
        // the event is dropped if the job is deleted first.
        QMetaObject::invokeMethod(
            this,
            [this, ok] {
                m_running = false;
                Q_EMIT finished(ok);
            },
            Qt::QueuedConnection);
        *working = false;
        working->notify_all();
    });
}

void Job::setProgress(double fraction, const QString &step)
{
    Q_EMIT progressChanged(qBound(0.0, fraction, 1.0), step);
}

bool Job::fail(const QString &text)
{
    m_errorText = text.isEmpty() ? u"The operation failed."_s : text;
    return false;
}

Prompter &Job::prompter() const
{
    return *m_forwarder;
}
