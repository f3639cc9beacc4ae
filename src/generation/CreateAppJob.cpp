#include "generation/CreateAppJob.h"

#include "generation/DefinitionValidator.h"

using namespace Qt::Literals::StringLiterals;

CreateAppJob::CreateAppJob(Context &context, CreateAppRequest request, QObject *parent)
    : Job(parent)
    , m_context(context)
    , m_request(std::move(request))
{
}

bool CreateAppJob::run()
{
    QString reason;
    if (!DefinitionValidator(m_context, m_request.baseFolder).validate(m_request.app, &reason))
        return fail(reason);
    m_request.app.applyTabRules();
    if (isCancelled())
        return fail(CancelledText);
    setProgress(0.1, u"Checked"_s);

    AppCreator creator(m_context, prompter(), m_request.app, m_request.profile);
    creator.setProgressHandler([this](double fraction, const QString &step) { setProgress(fraction, step); });
    QString error;
    if (!creator.create(m_request.whenTaken, &error))
        return fail(error);
    m_result = creator.created();
    setProgress(1.0, u"Done"_s);
    return true;
}
