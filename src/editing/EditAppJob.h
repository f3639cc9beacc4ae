#pragma once

#include "core/Job.h"
#include "core/SNEditorItem.h"
#include "editing/AppEditor.h"

class Context;

// Changes one app (AppEditor): what changed picks the steps, they run beside the app and the
// result is put in place under the app's lock, or nothing changes. An engine switch, with its
// profile backup, is part of it. Not cancellable: a staged edit is put in place as one step.
class EditAppJob final : public Job
{
    Q_OBJECT

public:
    EditAppJob(Context &context, SNEditorItem original, AppEditor::Change change, QObject *parent = nullptr);

    // After a success: the app as it is now, and whether more than its start-time values changed.
    const SNEditorItem &result() const { return m_result; }
    bool rebuilt() const { return m_rebuilt; }
    const AppEditor::Change &change() const { return m_change; }

protected:
    bool run() override;

private:
    Context &m_context;
    SNEditorItem m_original;
    AppEditor::Change m_change;
    SNEditorItem m_result;
    bool m_rebuilt = false;
};
