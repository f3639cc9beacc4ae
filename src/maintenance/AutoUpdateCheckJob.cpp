#include "maintenance/AutoUpdateCheckJob.h"

#include "maintenance/SNUpdaterHelper.h"

using namespace Qt::Literals::StringLiterals;

AutoUpdateCheckJob::AutoUpdateCheckJob(Context &context, Request request, QObject *parent)
    : Job(parent), m_context(context), m_request(request)
{
}

bool AutoUpdateCheckJob::run()
{
    if (m_request.migrateCompanionFolder)
        m_migrated = SNUpdaterHelper::updateSorvaneExtensionPath(m_context);

    // The manager lives on this thread for the pass: its run is executed here, one app at a time.
    SNAutoUpdateManager manager(m_context);
    QObject::connect(&manager, &SNAutoUpdateManager::appUpdated, &manager,
                     [this](const QString &path, bool, int index, int total) {
                         setProgress(double(index + 1) / double(total), path);
                     });
    QObject::connect(&manager, &SNAutoUpdateManager::updateRunFinished, &manager, [this](int updated, int total) {
        m_updated += updated;
        m_total += total;
    });
    m_outcome = manager.checkAndUpdateApps();
    if (m_updated < m_total)
        return fail(u"%1 of %2 apps were not updated; the log says why."_s.arg(m_total - m_updated).arg(m_total));
    return true;
}
