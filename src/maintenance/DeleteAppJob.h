#pragma once

#include "core/Job.h"

class Context;

// Deletes one generated app (AppRemover): its bundle goes to the Trash, its record, configuration
// and menu entry go. The question whether to delete is the caller's, asked before the job starts.
// Not cancellable: the removal is one journaled step.
class DeleteAppJob final : public Job
{
    Q_OBJECT

public:
    DeleteAppJob(Context &context, QString appId, QString bundlePath, QObject *parent = nullptr);

    QString appId() const { return m_appId; }
    // Where the bundle lies in the Trash after a success (empty when only the record was left).
    QString trashedPath() const { return m_trashedPath; }

protected:
    bool run() override;

private:
    Context &m_context;
    QString m_appId;
    QString m_bundlePath;
    QString m_trashedPath;
};
