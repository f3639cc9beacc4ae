#pragma once

#include "core/Job.h"

#include <QList>
#include <QString>
#include <QStringList>

class Context;

// Which apps to bring up to this version of Sorvane.
struct UpdateAppsRequest
{
    QStringList bundlePaths; // regenerated in this order
};

// Regenerates each app of a list in turn (SNUpdaterHelper::updateApp: under the app's lock,
// staged and journaled). One that fails does not stop the others. Cancelling stops before the
// next app, never inside one: the apps not reached are left as they are.
class UpdateAppsJob final : public Job
{
    Q_OBJECT

public:
    struct Outcome
    {
        QString path;
        bool updated = false;
        QString reason; // why it was not updated
    };

    UpdateAppsJob(Context &context, UpdateAppsRequest request, QObject *parent = nullptr);

    const UpdateAppsRequest &request() const { return m_request; }
    // One per app reached, in order; complete after the job, and up to `index` when
    // appFinished(index) is delivered directly (a job run with exec(), or a direct connection).
    const QList<Outcome> &outcomes() const { return m_outcomes; }
    int updatedCount() const;

Q_SIGNALS:
    void appFinished(qsizetype index);

protected:
    bool run() override;

private:
    Context &m_context;
    UpdateAppsRequest m_request;
    QList<Outcome> m_outcomes;
};
