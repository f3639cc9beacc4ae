#pragma once

#include "core/Job.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class Prompter;

// The background job a store runs, as its views see it: whether one runs, how far it is and what
// it does. A store runs one job at a time through it; the job runs on the thread pool, and its
// end is handled on the store's thread.
class JobProgress final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool running READ running NOTIFY changed)
    Q_PROPERTY(double fraction READ fraction NOTIFY changed)
    Q_PROPERTY(QString step READ step NOTIFY changed)
    Q_PROPERTY(QString title READ title NOTIFY changed)
    Q_PROPERTY(bool cancellable READ cancellable NOTIFY changed)

public:
    explicit JobProgress(QObject *parent = nullptr);
    ~JobProgress() override;

    bool running() const { return m_job != nullptr; }
    double fraction() const { return m_fraction; }
    QString step() const { return m_step; }
    // What the running job does, as its view titles it ("Deleting Mail…"); empty when none runs.
    QString title() const { return m_title; }
    // Whether the view may offer Cancel: the job stops between its steps without leaving anything
    // half done.
    bool cancellable() const { return m_cancellable; }

    // How a view presents a job while it runs.
    struct Presentation
    {
        QString title;
        bool cancellable = false;
    };

    // Starts `job` unless another one runs (then false and the job is dropped). Questions go to
    // `prompter` on this thread; `done` gets the job when it has ended, and the job is deleted
    // after it.
    template<typename SpecificJob>
    bool run(std::unique_ptr<SpecificJob> job, Prompter *prompter, std::function<void(SpecificJob &)> done,
             const Presentation &presentation = {})
    {
        SpecificJob *specific = job.get();
        return start(std::move(job), prompter, [specific, done = std::move(done)] { done(*specific); }, presentation);
    }

    // Asks the running job to stop.
    Q_INVOKABLE void cancel();

Q_SIGNALS:
    void changed();

private:
    bool start(std::unique_ptr<Job> job, Prompter *prompter, std::function<void()> done, const Presentation &presentation);

    Job *m_job = nullptr;
    double m_fraction = 0;
    QString m_step;
    QString m_title;
    bool m_cancellable = false;
};
