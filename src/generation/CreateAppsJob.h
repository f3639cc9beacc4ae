#pragma once

#include "core/AppDefinition.h"
#include "core/Job.h"
#include "generation/AppCreator.h"

#include <QList>

#include <optional>

class Context;

// What to make: several apps on one engine, as from a bulk list.
struct CreateAppsRequest
{
    // Each entry's engine is `applicationType`; an entry without a folder goes to
    // `applicationsPath`, or to the user's applications folder when that is empty too.
    QList<AppDefinition> apps;
    int applicationType = 0;
    QString applicationsPath;
    WhenNameTaken whenTaken = WhenNameTaken::Ask;
    QString baseFolder;
};

// Makes each app of a list in turn; one that fails does not stop the others. Cancelling stops
// before the next app. The engine's companion support is assessed once for the whole list.
class CreateAppsJob final : public Job
{
    Q_OBJECT

public:
    struct Outcome
    {
        AppDefinition app;                // as made, or as asked when it failed
        std::optional<CreatedApp> created;
        QString error;                    // why it was not made
    };

    CreateAppsJob(Context &context, CreateAppsRequest request, QObject *parent = nullptr);

    // One per app asked for, in order; complete after the job, and up to `index` when
    // appFinished(index) is delivered directly (a job run with exec()).
    const QList<Outcome> &outcomes() const { return m_outcomes; }

Q_SIGNALS:
    void appFinished(qsizetype index);

protected:
    bool run() override;

private:
    Context &m_context;
    CreateAppsRequest m_request;
    QList<Outcome> m_outcomes;
};
