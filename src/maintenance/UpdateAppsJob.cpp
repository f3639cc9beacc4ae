#include "maintenance/UpdateAppsJob.h"

#include "maintenance/SNUpdaterHelper.h"

#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

UpdateAppsJob::UpdateAppsJob(Context &context, UpdateAppsRequest request, QObject *parent)
    : Job(parent)
    , m_context(context)
    , m_request(std::move(request))
{
}

int UpdateAppsJob::updatedCount() const
{
    return int(std::count_if(m_outcomes.cbegin(), m_outcomes.cend(), [](const Outcome &o) { return o.updated; }));
}

bool UpdateAppsJob::run()
{
    m_outcomes.clear();
    const QStringList &paths = m_request.bundlePaths;
    const qsizetype count = paths.size();
    qsizetype failed = 0;
    for (qsizetype index = 0; index < count; ++index) {
        if (isCancelled())
            return fail(CancelledText);
        Outcome outcome{paths.at(index), false, {}};
        try {
            outcome.updated = SNUpdaterHelper::updateApp(m_context, outcome.path, &outcome.reason);
        } catch (const std::exception &exception) {
            outcome.reason = QString::fromLocal8Bit(exception.what());
        }
        if (!outcome.updated) {
            ++failed;
            // Every failing step says why; should one ever not, the run still says where to look.
            if (outcome.reason.isEmpty())
                outcome.reason = u"Cannot update %1: the update stopped without giving a reason; Sorvane's log "
                                 u"(sorvane.log) lists its steps"_s.arg(outcome.path);
        }
        m_outcomes.append(outcome);
        setProgress(double(index + 1) / double(count), QFileInfo(outcome.path).fileName());
        Q_EMIT appFinished(index);
    }
    if (failed > 0)
        return fail(failed == count ? u"No app was updated."_s
                                    : u"%1 of %2 apps were not updated."_s.arg(failed).arg(count));
    return true;
}
