#pragma once

#include "core/Job.h"
#include "maintenance/SNAutoUpdateManager.h"

class Context;

// One pass of the automatic updater as a job, so that the window never waits for it: first, when
// asked, the start-up move of the companion extension out of its old folder, then the gated check
// (on, an hour since the last one, outdated apps found) and the regeneration of what it found, one
// app after another. The command line runs it with exec(), the desktop app with start().
class AutoUpdateCheckJob final : public Job
{
    Q_OBJECT

public:
    struct Request
    {
        bool migrateCompanionFolder = false;
    };

    AutoUpdateCheckJob(Context &context, Request request, QObject *parent = nullptr);

    // Complete once the job has finished.
    SNAutoUpdateManager::CheckOutcome outcome() const { return m_outcome; }
    int migrated() const { return m_migrated; }
    int updated() const { return m_updated; }
    int total() const { return m_total; }

protected:
    bool run() override;

private:
    Context &m_context;
    Request m_request;
    SNAutoUpdateManager::CheckOutcome m_outcome = SNAutoUpdateManager::CheckOutcome::Disabled;
    int m_migrated = 0;
    int m_updated = 0;
    int m_total = 0;
};
