#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <memory>

class Prompter;

// One operation on apps (create, edit, update, delete, import). The command line runs a job to
// completion on its own thread with exec(); the desktop app calls start(), which runs it on the
// shared thread pool so that the window never waits. Either way the job reports its progress,
// can be asked to stop (it stops at the next point where stopping leaves nothing half done),
// asks its questions through its own prompter and ends with at most one error: the text the
// user reads.
class Job : public QObject
{
    Q_OBJECT

public:
    explicit Job(QObject *parent = nullptr);
    ~Job() override;
    Q_DISABLE_COPY_MOVE(Job)

    // Runs the job on the calling thread. True when it succeeded.
    bool exec();
    // Runs the job on the shared thread pool; finished() arrives on this object's thread, and
    // questions are asked there too, through the prompter, while the job waits for the answer.
    void start();

    // Asks the job to stop. A job that cannot stop safely where it is finishes its current step.
    void cancel() { m_cancelled = true; }
    bool isCancelled() const { return m_cancelled; }

    // Where questions and alerts go; not owned and used on this object's thread. Without one,
    // every question is answered with its safe choice (the last button) and alerts are dropped.
    void setPrompter(Prompter *prompter) { m_prompter = prompter; }

    // Why the job failed, as the user reads it; empty after a success.
    QString errorText() const { return m_errorText; }
    bool succeeded() const { return !m_running && m_finished && m_errorText.isEmpty(); }

    // The text of a job that stopped because it was asked to.
    static const QString CancelledText;

Q_SIGNALS:
    // `fraction` runs from 0 to 1; `step` names what is being done.
    void progressChanged(double fraction, const QString &step);
    void finished(bool succeeded);

protected:
    // The work, on whichever thread runs the job. Returns false after fail().
    virtual bool run() = 0;

    void setProgress(double fraction, const QString &step = {});
    // Records the reason and returns false, so that `return fail(...)` ends run().
    bool fail(const QString &text);
    // The prompter to ask from run(): it reaches the job's prompter on its own thread.
    Prompter &prompter() const;

private:
    bool runHere();

    class Forwarder;
    std::unique_ptr<Forwarder> m_forwarder;
    Prompter *m_prompter = nullptr;
    std::atomic_bool m_cancelled = false;
    std::atomic_bool m_running = false;
    // run() is under way on the pool.
    std::shared_ptr<std::atomic_bool> m_working = std::make_shared<std::atomic_bool>(false);
    bool m_finished = false;
    QString m_errorText;
};
