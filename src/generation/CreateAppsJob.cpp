#include "generation/CreateAppsJob.h"

#include "generation/DefinitionValidator.h"

using namespace Qt::Literals::StringLiterals;

CreateAppsJob::CreateAppsJob(Context &context, CreateAppsRequest request, QObject *parent)
    : Job(parent)
    , m_context(context)
    , m_request(std::move(request))
{
}

bool CreateAppsJob::run()
{
    m_outcomes.clear();
    const DefinitionValidator validator(m_context, m_request.baseFolder);
    AppDefinition current;
    AppCreator creator(m_context, prompter(), current);
    qsizetype failed = 0;
    const qsizetype count = m_request.apps.size();
    for (qsizetype index = 0; index < count; ++index) {
        if (isCancelled())
            return fail(CancelledText);
        Outcome outcome{m_request.apps.at(index), std::nullopt, {}};
        current = outcome.app;
        current.applicationType = m_request.applicationType;
        if (current.applicationsPath.isEmpty())
            current.applicationsPath = m_request.applicationsPath;
        QString error;
        if (!validator.validate(current, &outcome.error)) {
            ++failed;
        } else {
            current.applyTabRules();
            try {
                if (creator.create(m_request.whenTaken, &error))
                    outcome.created = creator.created();
                else
                    outcome.error = error;
            } catch (const std::exception &exception) {
                outcome.error = QString::fromLocal8Bit(exception.what());
            }
            if (!outcome.created)
                ++failed;
            outcome.app = current;
        }
        m_outcomes.append(outcome);
        setProgress(double(index + 1) / double(count), current.appName);
        Q_EMIT appFinished(index);
    }
    if (failed > 0)
        return fail(failed == count ? u"No app was made."_s
                                    : u"%1 of %2 apps were not made."_s.arg(failed).arg(count));
    return true;
}
