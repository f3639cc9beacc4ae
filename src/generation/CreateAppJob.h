#pragma once

#include "core/AppDefinition.h"
#include "core/Job.h"
#include "generation/AppCreator.h"

class Context;

// What to make: one app, and how.
struct CreateAppRequest
{
    // The app; `applicationType` is its engine, an empty `applicationsPath` means the user's
    // applications folder.
    AppDefinition app;
    // The browser profile the app starts from, when one was chosen.
    ProfileSource profile;
    WhenNameTaken whenTaken = WhenNameTaken::Ask;
    // Where relative app destination paths are resolved (the current folder on the command line).
    QString baseFolder;
};

// Makes one app. The definition is checked by the same rules whoever asks (a failed check names
// the field and changes nothing) and completed by the tab rules before anything is written.
class CreateAppJob final : public Job
{
    Q_OBJECT

public:
    CreateAppJob(Context &context, CreateAppRequest request, QObject *parent = nullptr);

    // After a success: what was made, and the app as made (its final name, its tabs).
    const CreatedApp &result() const { return m_result; }
    const AppDefinition &app() const { return m_request.app; }

protected:
    bool run() override;

private:
    Context &m_context;
    CreateAppRequest m_request;
    CreatedApp m_result;
};
