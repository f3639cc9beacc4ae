#include "frontend/AppCreationWizardStore.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/SNAppTracker.h"
#include "editing/AppEditor.h"
#include "editing/EditAppJob.h"
#include "editing/ImportBrowserDataJob.h"
#include "frontend/BundleLauncher.h"
#include "frontend/JobProgress.h"
#include "generation/AppConfigFile.h"
#include "generation/CreateAppJob.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

const QString AppCreationWizardStore::CreationErrorTitle = u"App Creation Failed"_s;

AppCreationWizardStore::AppCreationWizardStore(Context &context, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_draft(new WizardDraft(context, this)),
      m_steps(new WizardSteps(*m_draft, this)),
      m_icon(new WizardIcon(context, *m_draft, this)),
      m_imports(new WizardImportChoices(context, *m_draft, this)),
      m_engineSwitch(new WizardEngineSwitch(context, *m_draft, this)),
      m_work(new JobProgress(this))
{
    initialize();
}

AppCreationWizardStore::AppCreationWizardStore(Context &context, const HomescreenAppEntry &editingApp, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_draft(new WizardDraft(context, this)),
      m_steps(new WizardSteps(*m_draft, this)),
      m_icon(new WizardIcon(context, *m_draft, this)),
      m_imports(new WizardImportChoices(context, *m_draft, this)),
      m_engineSwitch(new WizardEngineSwitch(context, *m_draft, this)),
      m_work(new JobProgress(this)),
      m_editingApp(editingApp)
{
    initialize();
}

AppCreationWizardStore::~AppCreationWizardStore() = default;

void AppCreationWizardStore::initialize()
{
    loadDefaults();
    if (m_editingApp)
        loadEditedApp();
    m_context.notifications().addObserver(NotificationNames::SorvaneSettingsChanged, this, [this](const QVariantMap &) {
        if (!m_editingApp)
            loadDefaults();
    });
}

void AppCreationWizardStore::loadDefaults()
{
    m_draft->loadDefaults(!m_editingApp);
    m_icon->loadDefaults();
    m_imports->loadDefaults();
}

void AppCreationWizardStore::loadEditedApp()
{
    const HomescreenAppEntry &entry = *m_editingApp;
    if (!entry.appPath.isEmpty()) {
        QString error;
        m_originalItem = AppEditor(m_context).load(entry.appPath, entry.id, &error);
        if (!m_originalItem) {
            m_creationError = error;
            m_showingError = true;
        }
    }
    if (m_originalItem) {
        AppDefinition app = m_originalItem->appItem;
        app.applicationsPath = QFileInfo(m_originalItem->path).absolutePath();
        m_keptWhitelisting = app.isWhitelistingEnabled;
        m_draft->fill(app, BrowserCatalogue::numberForTypeKey(m_originalItem->browser));
        m_draft->destinations()->reload(m_originalItem->path);
        m_icon->setFinishedIcon(m_originalItem->appItem.appIcon);
        m_engineSwitch->setEditedApp(*m_originalItem);
    } else {
        // A duplicate: everything the copied app was made with (its rules, switches and colours)
        // when its configuration can be read, else what the home screen knows of it.
        std::optional<AppDefinition> stored;
        if (!entry.copiedFromId.isEmpty())
            stored = AppConfigFile::read(AppConfigFile::path(SNAppTracker(m_context).getAppBundle(), entry.copiedFromId));
        AppDefinition app;
        if (stored) {
            app = *stored;
        } else {
            app.appURL = entry.urls.value(0);
            app.needTab = entry.isTabbed();
            if (app.needTab) {
                for (const QString &url : entry.urls)
                    app.tabsList.append(TabAddress(url));
            }
            app.registerAsBrowser = entry.registerAsBrowser;
            app.incognito = entry.enableIncognito;
            app.isWhitelistingEnabled = entry.enableWhitelisting;
        }
        app.appName = entry.name;
        m_keptWhitelisting = app.isWhitelistingEnabled;
        m_draft->fill(app, entry.browserType);
        if (!entry.iconImage.isNull())
            m_icon->setFinishedIcon(SNImage({entry.iconImage}));
        else if (!app.appIcon.isNull())
            m_icon->setFinishedIcon(app.appIcon);
    }
    m_structuralSnapshot = structuralState();
}

AppDefinition AppCreationWizardStore::draftApp() const
{
    AppDefinition app = m_draft->definition();
    app.appIcon = m_icon->image();
    app.isWhitelistingEnabled = m_keptWhitelisting;
    return app;
}

StructuralState AppCreationWizardStore::structuralState() const
{
    StructuralState state = StructuralState::of(draftApp());
    const SNImage &icon = m_icon->image();
    state.iconIdentity = icon.isNull() ? 0 : icon.largestRepresentation().cacheKey();
    state.hasCustomIconEnhancements = m_icon->hasCustomIconEnhancements();
    state.iconShape = m_icon->selectedIconShape();
    state.iconColor = m_icon->selectedIconColor();
    return state;
}

void AppCreationWizardStore::setCreationProgress(double progress)
{
    m_creationProgress = progress;
    Q_EMIT creationStateChanged();
}

void AppCreationWizardStore::fail(const QString &message)
{
    m_isCreatingApp = false;
    m_creationError = message;
    m_showingError = true;
    Q_EMIT creationStateChanged();
    Q_EMIT creationFinished(false);
}

void AppCreationWizardStore::dismissError()
{
    m_showingError = false;
    Q_EMIT creationStateChanged();
}

bool AppCreationWizardStore::createApp()
{
    if (m_isCreatingApp)
        return false;
    // Everything is checked, from whichever step the user saves. An edit is checked by the edit
    // itself, so that the editor refuses what `sorvane edit` refuses, with the same words.
    if (!m_steps->check(WizardSteps::WizardStep::Review) && !m_originalItem) {
        fail(m_steps->validationMessages().first());
        return false;
    }
    m_isCreatingApp = true;
    m_showingSuccess = false;
    m_creationError.clear();
    m_showingError = false;
    setCreationProgress(0.1);
    return m_originalItem ? updateExistingApp() : createNewApp();
}

bool AppCreationWizardStore::createNewApp()
{
    CreateAppRequest request;
    request.app = draftApp();
    request.app.appIcon = m_icon->composed();
    request.app.applicationType = m_draft->selectedBrowser();
    request.baseFolder = QDir::currentPath();
    auto job = std::make_unique<CreateAppJob>(m_context, std::move(request));
    connect(job.get(), &Job::progressChanged, this,
            [this](double fraction, const QString &) { setCreationProgress(0.1 + 0.8 * fraction); });
    const bool started = m_work->run<CreateAppJob>(std::move(job), &m_context.prompter(), [this](CreateAppJob &done) {
        if (!done.succeeded()) {
            fail(done.errorText());
            return;
        }
        m_createdAppPath = done.result().bundlePath;
        if (m_imports->importEnabled())
            runImport(m_createdAppPath);
        else
            finishCreation();
    });
    if (!started) {
        m_isCreatingApp = false;
        Q_EMIT creationStateChanged();
    }
    return started;
}

void AppCreationWizardStore::runImport(const QString &bundlePath)
{
    auto job = std::make_unique<ImportBrowserDataJob>(m_imports->request(bundlePath));
    m_work->run<ImportBrowserDataJob>(std::move(job), &m_context.prompter(), [this](ImportBrowserDataJob &done) {
        m_imports->setSummary(done.summary());
        finishCreation();
    });
}

void AppCreationWizardStore::finishCreation()
{
    setCreationProgress(1.0);
    m_isCreatingApp = false;
    m_showingSuccess = true;
    Q_EMIT creationStateChanged();
    m_context.notifications().post(NotificationNames::AppCreationCompleted);
    Q_EMIT creationFinished(true);
}

bool AppCreationWizardStore::updateExistingApp()
{
    if (m_engineSwitch->holdsSave()) {
        m_isCreatingApp = false;
        Q_EMIT creationStateChanged();
        return false;
    }
    const SNEditorItem &original = *m_originalItem;
    AppEditor::Change change;
    change.edited = original;
    change.edited.appItem = draftApp();
    change.edited.appItem.appIcon = original.appItem.appIcon;
    change.edited.browser = BrowserCatalogue::typeKeyForNumber(m_draft->selectedBrowser());
    change.restoreBackup = m_engineSwitch->restoreBackup();
    const StructuralState now = structuralState();
    const bool iconChanged = !m_structuralSnapshot || now.iconIdentity != m_structuralSnapshot->iconIdentity ||
                             now.hasCustomIconEnhancements != m_structuralSnapshot->hasCustomIconEnhancements ||
                             now.iconShape != m_structuralSnapshot->iconShape ||
                             now.iconColor != m_structuralSnapshot->iconColor;
    if (iconChanged)
        change.newIcon = m_icon->composed();

    auto job = std::make_unique<EditAppJob>(m_context, original, change);
    const bool started = m_work->run<EditAppJob>(std::move(job), &m_context.prompter(), [this, iconChanged](EditAppJob &done) {
        if (!done.succeeded()) {
            fail(done.errorText());
            return;
        }
        const QString path = done.result().path;
        const SNImage previousIcon = m_originalItem->appItem.appIcon;
        m_originalItem = done.result();
        m_originalItem->appItem.appIcon = iconChanged ? done.change().newIcon : previousIcon;
        m_editingApp->appPath = path;
        m_editingApp->name = m_originalItem->appItem.appName;
        m_structuralSnapshot = structuralState();
        m_engineSwitch->setEditedApp(*m_originalItem);
        m_engineSwitch->settle();
        m_createdAppPath = path;
        finishCreation();
    });
    if (!started) {
        m_isCreatingApp = false;
        Q_EMIT creationStateChanged();
    }
    return started;
}

bool AppCreationWizardStore::launchCreatedApp()
{
    if (m_createdAppPath.isEmpty()) {
        Logger::log(u"❌ Cannot launch app: createdAppPath is empty"_s);
        return false;
    }
    if (!QFileInfo::exists(m_createdAppPath)) {
        Logger::log(u"❌ App does not exist at: "_s + m_createdAppPath);
        return false;
    }
    const bool launched = BundleLauncher::launch(m_createdAppPath);
    if (!launched)
        Logger::log(u"❌ App launch failed"_s);
    return launched;
}
