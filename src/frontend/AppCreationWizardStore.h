#pragma once

#include "core/SNEditorItem.h"
#include "editing/StructuralState.h"
#include "frontend/HomescreenAppEntry.h"
#include "frontend/WizardDraft.h"
#include "frontend/WizardEngineSwitch.h"
#include "frontend/WizardIcon.h"
#include "frontend/WizardImportChoices.h"
#include "frontend/WizardSteps.h"

#include <QObject>
#include <QString>

#include <optional>

class Context;
class JobProgress;

// The creation wizard and the editor: owns the app's draft, its icon, the browser data it takes
// over, the steps and, for an app opened for editing, the engine-switch question; and ends in the
// app's creation, or in its update in place (live-only when nothing structural changed). Saves
// run in the background; every change is made on the thread the store lives on.
class AppCreationWizardStore final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(WizardDraft *draft READ draft CONSTANT)
    Q_PROPERTY(WizardSteps *steps READ steps CONSTANT)
    Q_PROPERTY(WizardIcon *icon READ icon CONSTANT)
    Q_PROPERTY(WizardImportChoices *imports READ imports CONSTANT)
    Q_PROPERTY(WizardEngineSwitch *engineSwitch READ engineSwitch CONSTANT)
    Q_PROPERTY(bool isEditing READ isEditing CONSTANT)
    Q_PROPERTY(bool isCreatingApp READ isCreatingApp NOTIFY creationStateChanged)
    Q_PROPERTY(double creationProgress READ creationProgress NOTIFY creationStateChanged)
    Q_PROPERTY(bool showingSuccess READ showingSuccess NOTIFY creationStateChanged)
    Q_PROPERTY(QString creationError READ creationError NOTIFY creationStateChanged)
    Q_PROPERTY(bool showingError READ showingError NOTIFY creationStateChanged)
    Q_PROPERTY(QString creationErrorTitle READ creationErrorTitle CONSTANT)

public:
    // A wizard for a new app.
    explicit AppCreationWizardStore(Context &context, QObject *parent = nullptr);
    // The editor of an existing app; an entry without a bundle (a duplicate) ends in a new app.
    AppCreationWizardStore(Context &context, const HomescreenAppEntry &editingApp, QObject *parent = nullptr);
    ~AppCreationWizardStore() override;

    static const QString CreationErrorTitle;

    // Creates the app, or updates the edited app in place. False when it did not start: refused
    // (creationError says why), held for the engine-switch question, or already running;
    // creationFinished tells how a started save ended.
    Q_INVOKABLE bool createApp();
    Q_INVOKABLE bool launchCreatedApp();
    Q_INVOKABLE void dismissError();

    WizardDraft *draft() const { return m_draft; }
    WizardSteps *steps() const { return m_steps; }
    WizardIcon *icon() const { return m_icon; }
    WizardImportChoices *imports() const { return m_imports; }
    WizardEngineSwitch *engineSwitch() const { return m_engineSwitch; }

    bool isEditing() const { return m_editingApp.has_value(); }
    bool isCreatingApp() const { return m_isCreatingApp; }
    double creationProgress() const { return m_creationProgress; }
    bool showingSuccess() const { return m_showingSuccess; }
    QString createdAppPath() const { return m_createdAppPath; }
    QString creationError() const { return m_creationError; }
    bool showingError() const { return m_showingError; }
    QString creationErrorTitle() const { return CreationErrorTitle; }

Q_SIGNALS:
    void creationStateChanged();
    // A save (creation or edit) ended; creation runs in the background.
    void creationFinished(bool succeeded);

private:
    void initialize();
    // The defaults of a new app from the user's settings (again on every settings change).
    void loadDefaults();
    void loadEditedApp();
    // What the wizard's choices make of an app, with the icon as found.
    AppDefinition draftApp() const;
    StructuralState structuralState() const;
    bool createNewApp();
    bool updateExistingApp();
    void fail(const QString &message);
    void setCreationProgress(double progress);
    void runImport(const QString &bundlePath);
    // The success state after a creation (and its import) ended.
    void finishCreation();

    Context &m_context;
    WizardDraft *m_draft;
    WizardSteps *m_steps;
    WizardIcon *m_icon;
    WizardImportChoices *m_imports;
    WizardEngineSwitch *m_engineSwitch;
    // The creation or data import under way.
    JobProgress *m_work;

    bool m_isCreatingApp = false;
    double m_creationProgress = 0;
    bool m_showingSuccess = false;
    QString m_createdAppPath;
    QString m_creationError;
    bool m_showingError = false;

    std::optional<HomescreenAppEntry> m_editingApp;
    std::optional<SNEditorItem> m_originalItem; // the edited app as it was read
    // The edited or copied app's switch that no page of the wizard shows.
    bool m_keptWhitelisting = false;
    std::optional<StructuralState> m_structuralSnapshot;
};
