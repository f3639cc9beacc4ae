#pragma once

#include "core/AppDefinition.h"
#include "editing/EditPlan.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <optional>

class Context;

// An edit of an app, staged like a creation. The bundle is copied without its profile into a
// hidden folder beside it and the plan's writer steps run there (the configuration is written
// beside its file); only when every step succeeded are the new files put in place: the old
// bundle steps aside, its profile moves into the new one, which takes the app's (new) name, then
// the configuration and the registry record follow. A failed step, or a failed move while
// putting things in place, leaves the app exactly as it was.
//
// The caller holds the app's lock. The edit is journaled from its first write: a kill while
// staging is undone at the next start, a kill while putting things in place is finished.
class StagedEdit final
{
public:
    struct Request
    {
        QString appId;
        QString bundle;        // where the app is
        QString target;        // where it will be: the same folder, under the new name
        QString oldExecutable; // the launch program's name now
        AppDefinition definition; // the edited definition under the new name, with the icon to write
        EditPlan plan;
        bool companion = false; // whether the launcher loads the companion
        QString fromBrowser;
        QString toBrowser;
        bool restoring = false; // the new engine gets back the profile kept for it
    };

    StagedEdit(Context &context, Request request);

    // False with the reason (naming the step) when the edit failed; the app is then as it was.
    bool run(QString *error);

    // Finishes, or undoes when it had not started to put things in place, the edit an entry of
    // the operation journal describes. False when it must be tried again at the next start.
    static bool recover(Context &context, const QVariantMap &entry);

    // Test hook: before each step, a reason to fail it with (none: the step runs).
    using Fault = std::function<std::optional<QString>(EditPlan::Step)>;
    static void setFaultForTesting(Fault fault);

private:
    bool stage(QString *error);
    bool runStep(EditPlan::Step step, QString *error);
    bool commit(QString *error);

    Context &m_context;
    Request m_request;
};
