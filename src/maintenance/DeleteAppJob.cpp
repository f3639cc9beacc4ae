#include "maintenance/DeleteAppJob.h"

#include "maintenance/AppRemover.h"

DeleteAppJob::DeleteAppJob(Context &context, QString appId, QString bundlePath, QObject *parent)
    : Job(parent)
    , m_context(context)
    , m_appId(std::move(appId))
    , m_bundlePath(std::move(bundlePath))
{
}

bool DeleteAppJob::run()
{
    QString reason;
    if (!AppRemover::deleteApp(m_context, m_appId, m_bundlePath, &reason, &m_trashedPath))
        return fail(reason);
    setProgress(1.0);
    return true;
}
