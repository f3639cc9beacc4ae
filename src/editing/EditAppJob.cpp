#include "editing/EditAppJob.h"

EditAppJob::EditAppJob(Context &context, SNEditorItem original, AppEditor::Change change, QObject *parent)
    : Job(parent)
    , m_context(context)
    , m_original(std::move(original))
    , m_change(std::move(change))
{
}

bool EditAppJob::run()
{
    AppEditor editor(m_context);
    QString reason;
    if (!editor.save(m_original, m_change, &reason))
        return fail(reason);
    m_result = editor.result();
    m_rebuilt = editor.rebuilt();
    setProgress(1.0);
    return true;
}
