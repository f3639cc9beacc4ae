#include "frontend/AppCreationWizardStore.h"

#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/Prompter.h"
#include "core/UserDefaults.h"
#include "editing/AppEditor.h"
#include "editing/EditAppJob.h"
#include "editing/BrowserDataImporter.h"
#include "editing/ImportCategory.h"
#include "editing/ProfileBackup.h"
#include "editing/SNExtensionDiscovery.h"
#include "core/WebAddress.h"
#include "editing/SNFaviconHelper.h"
#include "editing/SiteIconSearch.h"
#include "editing/SNProfileDiscovery.h"
#include "frontend/BundleLauncher.h"
#include "frontend/ChoiceListModel.h"
#include "frontend/DestinationChoicesModel.h"
#include "frontend/EngineChoices.h"
#include "core/NotificationNames.h"
#include "frontend/IconComposer.h"
#include "frontend/IconShape.h"
#include "frontend/InstalledBrowsers.h"
#include "frontend/RoutingRulesModel.h"
#include "frontend/SettingsKeys.h"
#include "frontend/TabsModel.h"
#include "editing/ImportBrowserDataJob.h"
#include "frontend/JobProgress.h"
#include "generation/CreateAppJob.h"
#include "generation/DefinitionValidator.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QThreadPool>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

// Runs `work` on the shared pool and hands its result to `deliver` on the store's thread, unless
// the store has gone meanwhile.
template<typename Result>
void inBackground(QObject *store, std::function<Result()> work, std::function<void(const Result &)> deliver)
{
    QPointer<QObject> guard(store);
    QThreadPool::globalInstance()->start([guard, work = std::move(work), deliver = std::move(deliver)] {
        Result result = work();
        if (!guard)
            return;
        QMetaObject::invokeMethod(
            guard.data(),
            [guard, deliver, result = std::move(result)] {
                if (guard)
                    deliver(result);
            },
            Qt::QueuedConnection);
    });
}

} // namespace

const QString AppCreationWizardStore::CreationErrorTitle = u"App Creation Failed"_s;

AppCreationWizardStore::AppCreationWizardStore(Context &context, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_tabs(new TabsModel(this)),
      m_routingRules(new RoutingRulesModel(this)),
      m_destinations(new DestinationChoicesModel(context, this)),
      m_importProfiles(new ChoiceListModel(this)),
      m_importExtensions(new ChoiceListModel(this)),
      m_customQuickSetups(new CustomQuickSetupList(context, this))
{
    initialize();
}

AppCreationWizardStore::AppCreationWizardStore(Context &context, const HomescreenAppEntry &editingApp, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_tabs(new TabsModel(this)),
      m_routingRules(new RoutingRulesModel(this)),
      m_destinations(new DestinationChoicesModel(context, this)),
      m_importProfiles(new ChoiceListModel(this)),
      m_importExtensions(new ChoiceListModel(this)),
      m_customQuickSetups(new CustomQuickSetupList(context, this)),
      m_editingApp(editingApp)
{
    initialize();
}

AppCreationWizardStore::~AppCreationWizardStore() = default;

void AppCreationWizardStore::initialize()
{
    m_work = new JobProgress(this);
    m_siteSearch = new SiteIconSearch(this);
    m_isInitializing = true;
    m_importCategories = ImportCategories::rawValues(ImportCategories::defaults());
    loadDefaults();
    if (m_editingApp)
        loadEditedApp();
    installObservers();
    m_isInitializing = false;
}

template<typename T>
void AppCreationWizardStore::set(T &field, const T &value, void (AppCreationWizardStore::*changed)())
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)();
}

QString AppCreationWizardStore::rawValue(WizardStep step)
{
    switch (step) {
    case WizardStep::Basics:
        return u"basics"_s;
    case WizardStep::Browser:
        return u"browser"_s;
    case WizardStep::Settings:
        return u"settings"_s;
    case WizardStep::Review:
        return u"review"_s;
    }
    return {};
}

QList<AppCreationWizardStore::WizardStep> AppCreationWizardStore::allSteps()
{
    return {WizardStep::Basics, WizardStep::Browser, WizardStep::Settings, WizardStep::Review};
}

QString AppCreationWizardStore::message(ValidationError error)
{
    switch (error) {
    case ValidationError::EmptyAppName:
        return u"App name is required"_s;
    case ValidationError::EmptyAppURL:
        return u"App URL is required"_s;
    case ValidationError::InvalidURL:
        return u"Please enter a valid URL"_s;
    case ValidationError::InvalidAppName:
        return u"App name contains invalid characters"_s;
    case ValidationError::AppNameTooLong:
        return u"App name is too long (at most %1 bytes)"_s.arg(AppNameRule::maximumBytes());
    }
    return {};
}

void AppCreationWizardStore::loadDefaults()
{
    UserDefaults &defaults = m_context.defaults();
    const QString location = defaults.stringForKey(SettingsKeys::ApplicationsPath);
    set(m_appSaveLocation, location.isEmpty() ? m_context.applicationsFolder() : location,
        &AppCreationWizardStore::appSaveLocationChanged);

    if (!m_editingApp) {
        const std::pair<QString, bool AppCreationWizardStore::*> switches[] = {
            {SettingsKeys::RegisterAsBrowser, &AppCreationWizardStore::m_registerAsBrowser},
            {SettingsKeys::IncognitoMode, &AppCreationWizardStore::m_enableIncognito},
            {SettingsKeys::TabbedApps, &AppCreationWizardStore::m_isTabbedApp},
        };
        for (const auto &[key, member] : switches) {
            bool value = false;
            if (defaults.hasPersistentValue(key))
                value = defaults.boolForKey(key);
            else
                defaults.setValue(key, false);
            this->*member = value;
        }
        Q_EMIT registerAsBrowserChanged();
        Q_EMIT enableIncognitoChanged();
        Q_EMIT isTabbedAppChanged();
    }

    const QString shape = defaults.stringForKey(SettingsKeys::IconShape);
    if (IconShape::fromRawValue(shape))
        set(m_selectedIconShape, shape, &AppCreationWizardStore::selectedIconShapeChanged);
    set(m_importEnabled, defaults.boolForKey(SettingsKeys::ImportEnabled), &AppCreationWizardStore::importEnabledChanged);
    if (defaults.hasPersistentValue(SettingsKeys::ImportCategories))
        setImportCategories(ImportCategories::rawValues(
            ImportCategories::fromSavedList(defaults.value(SettingsKeys::ImportCategories).toStringList())));
    if (m_enableIncognito && !m_isTabbedApp)
        set(m_isTabbedApp, true, &AppCreationWizardStore::isTabbedAppChanged);
}

void AppCreationWizardStore::installObservers()
{
    m_context.notifications().addObserver(NotificationNames::SorvaneSettingsChanged, this, [this](const QVariantMap &) {
        if (m_editingApp)
            return;
        m_isInitializing = true;
        loadDefaults();
        m_isInitializing = false;
    });
    // Incognito needs the tabbed engine; a user's choice of it turns tabs on.
    connect(this, &AppCreationWizardStore::enableIncognitoChanged, this, [this] {
        if (!m_isInitializing && m_enableIncognito)
            set(m_isTabbedApp, true, &AppCreationWizardStore::isTabbedAppChanged);
    });
    connect(this, &AppCreationWizardStore::importEnabledChanged, this, [this] {
        if (!m_isInitializing && m_importEnabled)
            loadImportProfiles();
    });
    connect(this, &AppCreationWizardStore::selectedBrowserChanged, this, [this] {
        if (!m_isInitializing && m_importEnabled)
            loadImportProfiles();
    });
    connect(this, &AppCreationWizardStore::selectedImportProfileKeyChanged, this, [this] {
        if (!m_isInitializing)
            loadImportExtensions();
    });
    // Everything the composed icon is drawn from.
    for (auto changed : {&AppCreationWizardStore::appIconChanged, &AppCreationWizardStore::appNameChanged,
                         &AppCreationWizardStore::selectedIconShapeChanged,
                         &AppCreationWizardStore::selectedIconColorChanged,
                         &AppCreationWizardStore::hasCustomIconEnhancementsChanged})
        connect(this, changed, this, &AppCreationWizardStore::iconPreviewChanged);
    connect(m_importExtensions, &ChoiceListModel::checkedKeysChanged, this,
            &AppCreationWizardStore::selectedExtensionIDsChanged);
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
        fill(m_originalItem->appItem, BrowserCatalogue::numberForTypeKey(m_originalItem->browser));
        m_appSaveLocation = QFileInfo(m_originalItem->path).absolutePath();
        m_destinations->reload(m_originalItem->path);
    } else {
        // A duplicate: what the home screen knows of the app it copies.
        AppDefinition app;
        app.appName = entry.name;
        app.appURL = entry.urls.value(0);
        app.needTab = entry.isTabbed();
        if (app.needTab) {
            for (const QString &url : entry.urls)
                app.tabsList.append(TabAddress(url));
        }
        app.registerAsBrowser = entry.registerAsBrowser;
        app.incognito = entry.enableIncognito;
        app.isWhitelistingEnabled = entry.enableWhitelisting;
        if (!entry.iconImage.isNull())
            app.appIcon = SNImage({entry.iconImage});
        fill(app, entry.browserType);
    }
    m_structuralSnapshot = structuralState();
}

void AppCreationWizardStore::fill(const AppDefinition &app, int browser)
{
    m_appName = app.appName;
    m_appURL = app.appURL;
    m_selectedBrowser = browser;
    m_appIcon = app.appIcon;
    m_isTabbedApp = app.needTab;
    QStringList urls;
    for (const TabAddress &tab : app.tabsList)
        urls.append(tab.tabUrlString);
    m_tabs->setUrls(urls);
    m_registerAsBrowser = app.registerAsBrowser;
    m_enableIncognito = app.incognito;
    m_routingRules->setRecords(app.routingRules);
    m_defaultRouteDestination = RoutingDestination::fromRecord(app.defaultDestination.value_or(QVariantMap{}))
                                    .value_or(RoutingDestination::defaultBrowser());
    m_forceDarkMode = app.forceDarkMode;
    m_accentColorEnabled = !app.accentColor.isEmpty();
    if (m_accentColorEnabled)
        m_accentColor = QColor(app.accentColor);
    m_restoreTabsOnLaunch = app.restoreSession;
    m_passwordManagerCompatibility = app.passwordManagerCompatibility;
}

// Navigation and validation

QList<AppCreationWizardStore::ValidationError> AppCreationWizardStore::errorsOf(WizardStep step) const
{
    QList<ValidationError> errors;
    if (step == WizardStep::Basics || step == WizardStep::Review) {
        if (m_appName.trimmed().isEmpty())
            errors.append(ValidationError::EmptyAppName);
        // A tabbed app may do without a start address when its tabs have one; every address it
        // has must be a web address.
        QStringList addresses;
        if (!m_appURL.trimmed().isEmpty())
            addresses.append(m_appURL);
        if (m_isTabbedApp)
            addresses.append(m_tabs->validUrls());
        if (addresses.isEmpty())
            errors.append(ValidationError::EmptyAppURL);
        else if (!std::all_of(addresses.cbegin(), addresses.cend(), [](const QString &address) {
                     return DefinitionValidator::isWebAddress(WebAddress::withScheme(address));
                 }))
            errors.append(ValidationError::InvalidURL);
        if (m_appName.contains(u'/') || m_appName.contains(u'\\'))
            errors.append(ValidationError::InvalidAppName);
        else if (AppNameRule::check(m_appName) == AppNameRule::Verdict::TooLong)
            errors.append(ValidationError::AppNameTooLong);
    }
    return errors;
}

bool AppCreationWizardStore::validateCurrentStep()
{
    return publishErrors(m_currentStep);
}

bool AppCreationWizardStore::publishErrors(WizardStep step)
{
    m_validationErrors = errorsOf(step);
    for (WizardStep each : allSteps())
        m_stepValidationStates.insert(each, errorsOf(each).isEmpty());
    Q_EMIT validationErrorsChanged();
    return m_validationErrors.isEmpty();
}

bool AppCreationWizardStore::nextStep()
{
    if (!validateCurrentStep() || m_currentStep == WizardStep::Review)
        return false;
    m_isNavigatingForward = true;
    m_currentStep = static_cast<WizardStep>(static_cast<int>(m_currentStep) + 1);
    Q_EMIT currentStepChanged();
    return true;
}

void AppCreationWizardStore::previousStep()
{
    if (m_currentStep == WizardStep::Basics)
        return;
    m_isNavigatingForward = false;
    m_currentStep = static_cast<WizardStep>(static_cast<int>(m_currentStep) - 1);
    Q_EMIT currentStepChanged();
}

void AppCreationWizardStore::goToStep(WizardStep step)
{
    if (step == m_currentStep)
        return;
    m_isNavigatingForward = step > m_currentStep;
    m_currentStep = step;
    Q_EMIT currentStepChanged();
}

QVariantList AppCreationWizardStore::validationErrorList() const
{
    QVariantList list;
    for (ValidationError error : m_validationErrors)
        list.append(QVariant::fromValue(error));
    return list;
}

QStringList AppCreationWizardStore::validationMessages() const
{
    QStringList messages;
    for (ValidationError error : m_validationErrors)
        messages.append(message(error));
    return messages;
}

QStringList AppCreationWizardStore::appNameMessages() const
{
    QStringList messages;
    for (ValidationError error : m_validationErrors)
        if (error == ValidationError::EmptyAppName || error == ValidationError::InvalidAppName ||
            error == ValidationError::AppNameTooLong)
            messages.append(message(error));
    return messages;
}

QStringList AppCreationWizardStore::appURLMessages() const
{
    QStringList messages;
    for (ValidationError error : m_validationErrors)
        if (error == ValidationError::EmptyAppURL || error == ValidationError::InvalidURL)
            messages.append(message(error));
    return messages;
}

QVariantMap AppCreationWizardStore::stepValidationStates() const
{
    QVariantMap states;
    for (auto it = m_stepValidationStates.cbegin(); it != m_stepValidationStates.cend(); ++it)
        states.insert(rawValue(it.key()), it.value());
    return states;
}

// Browser

QVariantList AppCreationWizardStore::installedBrowsers() const
{
    QVariantList list;
    for (int type : InstalledBrowsers::detect(m_context.defaults()))
        list.append(type);
    return list;
}

QVariantList AppCreationWizardStore::browserChoices() const
{
    if (!m_browserChoices)
        m_browserChoices = EngineChoices::describe(m_context, InstalledBrowsers::detect(m_context.defaults()));
    return *m_browserChoices;
}

QString AppCreationWizardStore::selectedBrowserName() const
{
    return BrowserCatalogue::byNumber(m_selectedBrowser).browserName;
}

void AppCreationWizardStore::setSelectedBrowser(int type)
{
    type = BrowserCatalogue::byNumber(type).number;
    if (type == m_selectedBrowser)
        return;
    m_selectedBrowser = type;
    Q_EMIT selectedBrowserChanged();
    if (m_isInitializing || !m_originalItem)
        return;
    // A new engine for an existing app starts with an empty profile: the user is asked first.
    m_engineSwitchConfirmed = false;
    m_restoreProfileBackupOnSwitch = false;
    m_showingEngineSwitchWarning = BrowserCatalogue::typeKeyForNumber(type) != m_originalItem->browser;
    Q_EMIT engineSwitchChanged(); // the warning's text names the new engine
}

QString AppCreationWizardStore::engineSwitchWarningText() const
{
    if (!m_originalItem)
        return {};
    return ProfileBackup::switchWarning(m_originalItem->appItem.appName, m_originalItem->browserName(),
                                        BrowserCatalogue::byNumber(m_selectedBrowser).browserName,
                                        engineSwitchCanRestore());
}

bool AppCreationWizardStore::engineSwitchCanRestore() const
{
    return m_originalItem &&
           ProfileBackup(m_context, m_originalItem->path).exists(BrowserCatalogue::typeKeyForNumber(m_selectedBrowser));
}

void AppCreationWizardStore::confirmEngineSwitch(bool restoreBackup)
{
    m_engineSwitchConfirmed = true;
    m_restoreProfileBackupOnSwitch = restoreBackup;
    set(m_showingEngineSwitchWarning, false, &AppCreationWizardStore::engineSwitchChanged);
}

void AppCreationWizardStore::cancelEngineSwitch()
{
    m_engineSwitchConfirmed = false;
    m_restoreProfileBackupOnSwitch = false;
    if (m_originalItem)
        setSelectedBrowser(BrowserCatalogue::numberForTypeKey(m_originalItem->browser));
    set(m_showingEngineSwitchWarning, false, &AppCreationWizardStore::engineSwitchChanged);
}

void AppCreationWizardStore::applyInitialBrowserFromPickerOrder()
{
    if (m_editingApp || m_didApplyInitialBrowserFromPickerOrder)
        return;
    m_didApplyInitialBrowserFromPickerOrder = true;
    const QList<int> installed = InstalledBrowsers::detect(m_context.defaults());
    if (installed.isEmpty())
        return;
    setSelectedBrowser(installed.first());
    if (installed.first() == BrowserCatalogue::Opera)
        set(m_isTabbedApp, true, &AppCreationWizardStore::isTabbedAppChanged);
}

// Icon and name

void AppCreationWizardStore::setAppIcon(const SNImage &icon, bool customAsset)
{
    m_appIcon = icon;
    m_isCustomAssetIcon = customAsset && !icon.isNull();
    Q_EMIT appIconChanged();
}

bool AppCreationWizardStore::setIconFromFile(const QString &path)
{
    QString error;
    const SNImage icon = SNImage::fromFile(QUrl(path).isLocalFile() ? QUrl(path).toLocalFile() : path, &error);
    if (icon.isNull()) {
        Logger::log(u"⚠️ Icon not usable: "_s + error);
        return false;
    }
    setAppIcon(icon, true);
    return true;
}

QUuid AppCreationWizardStore::saveCurrentAsSetup(const QString &name, const QString &icon, const QString &description)
{
    return m_customQuickSetups->saveCurrentAsSetup(name, icon, description, m_tabs->urls());
}

void AppCreationWizardStore::deleteSetup(const QUuid &id)
{
    m_customQuickSetups->deleteSetup(id);
}

void AppCreationWizardStore::applySetup(const QUuid &id)
{
    const QStringList urls = m_customQuickSetups->applySetup(id);
    if (urls.isEmpty())
        return;
    m_tabs->setUrls(urls);
    if (urls.size() > 1)
        set(m_isTabbedApp, true, &AppCreationWizardStore::isTabbedAppChanged);
}

QString AppCreationWizardStore::suggestedSetupName() const
{
    return CustomQuickSetupList::suggestedName(m_tabs->urls());
}

QString AppCreationWizardStore::suggestedSetupDescription() const
{
    return CustomQuickSetupList::suggestedDescription(m_tabs->urls());
}

void AppCreationWizardStore::applySuggestion(const QVariantMap &choice)
{
    set(m_appName, choice.value(u"appName"_s).toString(), &AppCreationWizardStore::appNameChanged);
    set(m_appURL, choice.value(u"appURL"_s).toString(), &AppCreationWizardStore::appURLChanged);
    const QStringList tabs = choice.value(u"tabs"_s).toStringList();
    m_tabs->setUrls(tabs);
    if (tabs.size() > 1 || choice.value(u"isTabbedApp"_s).toBool())
        set(m_isTabbedApp, true, &AppCreationWizardStore::isTabbedAppChanged);
    if (choice.value(u"incognito"_s).toBool())
        setProperty("enableIncognito", true);
}

QString AppCreationWizardStore::iconPreview() const
{
    constexpr int PreviewSide = 160;
    const QImage preview = composedIcon().largestRepresentation().scaled(PreviewSide, PreviewSide, Qt::KeepAspectRatio,
                                                                         Qt::SmoothTransformation);
    if (preview.isNull())
        return {};
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    preview.save(&buffer, "PNG");
    return u"data:image/png;base64,"_s + QString::fromLatin1(png.toBase64());
}

void AppCreationWizardStore::clearIcon()
{
    setAppIcon({}, false);
}

void AppCreationWizardStore::detectNameAndIcon()
{
    const QString typed = m_appURL.trimmed();
    if (!WebAddress::hasScheme(typed) && typed.size() < 4)
        return;
    // A new address stops the search for the previous one; its answer would be stale.
    if (m_stopSiteSearch)
        m_stopSiteSearch();
    const quint64 serial = ++m_siteSearchSerial;
    m_isAutoDetecting = true;
    m_isLoadingFavicon = true;
    Q_EMIT detectionChanged();
    m_stopSiteSearch = m_siteSearch->lookUp(typed, [this, serial, typed](const SNFaviconHelper::Found &found) {
        if (serial != m_siteSearchSerial)
            return;
        m_stopSiteSearch = nullptr;
        m_isAutoDetecting = false;
        m_isLoadingFavicon = false;
        m_autoDetectedName = found.pageTitle;
        if (!found.address.isEmpty())
            m_answeredAddress = {typed, found.address};
        Q_EMIT detectionChanged();
        Q_EMIT appURLChanged(); // the address as it will be saved may have its scheme now
        // A site without an icon clears the one the previous address found.
        if (!m_isCustomAssetIcon)
            setAppIcon(found.image, false);
        if (m_appName.trimmed().isEmpty() && !found.pageTitle.isEmpty())
            set(m_appName, found.pageTitle, &AppCreationWizardStore::appNameChanged);
    });
}

QString AppCreationWizardStore::savedAddress() const
{
    const QString typed = m_appURL.trimmed();
    if (!typed.isEmpty() && m_answeredAddress.first == typed)
        return m_answeredAddress.second;
    return WebAddress::withScheme(typed);
}

SNImage AppCreationWizardStore::composedIcon() const
{
    if (m_appIcon.isNull() || m_hasCustomIconEnhancements)
        return IconComposer::compose(m_appIcon, m_appName, m_selectedIconShape, m_selectedIconColor);
    return m_appIcon;
}

StructuralState AppCreationWizardStore::structuralState() const
{
    StructuralState state = StructuralState::of(draftApp());
    state.iconIdentity = m_appIcon.isNull() ? 0 : m_appIcon.largestRepresentation().cacheKey();
    state.hasCustomIconEnhancements = m_hasCustomIconEnhancements;
    state.iconShape = m_selectedIconShape;
    state.iconColor = m_selectedIconColor;
    return state;
}

// Import of browser data

QStringList AppCreationWizardStore::allImportCategories()
{
    return ImportCategories::rawValues(ImportCategories::all());
}

void AppCreationWizardStore::setImportCategories(const QStringList &categories)
{
    QStringList known;
    for (const QString &name : allImportCategories()) {
        if (categories.contains(name))
            known.append(name);
    }
    set(m_importCategories, known, &AppCreationWizardStore::importCategoriesChanged);
}

void AppCreationWizardStore::setSelectedImportProfileKey(const QString &key)
{
    set(m_selectedImportProfileKey, key, &AppCreationWizardStore::selectedImportProfileKeyChanged);
}

QStringList AppCreationWizardStore::selectedExtensionIDs() const
{
    QStringList ids = m_importExtensions->checkedKeys().values();
    ids.sort();
    return ids;
}

void AppCreationWizardStore::setSelectedExtensionIDs(const QStringList &ids)
{
    m_importExtensions->setCheckedKeys(QSet<QString>(ids.cbegin(), ids.cend()));
}

QVariantMap AppCreationWizardStore::lastImportSummary() const
{
    return m_lastImportSummary ? m_lastImportSummary->toVariantMap() : QVariantMap();
}

QString AppCreationWizardStore::importSourceFolder() const
{
    return BrowserLocator::installedUserDataFolder(BrowserCatalogue::byNumber(m_selectedBrowser), m_context.homeFolder(),
                                                   m_context.defaults());
}

void AppCreationWizardStore::loadImportProfiles()
{
    // The scan holds only plain values: it may outlive the store and its context.
    const QString userData = importSourceFolder();
    m_isLoadingImportProfiles = true;
    Q_EMIT importStateChanged();
    inBackground<QList<ChoiceListModel::Choice>>(
        this,
        [userData] {
            QList<ChoiceListModel::Choice> choices;
            for (const ImportableProfile &profile : SNProfileDiscovery(userData).profiles())
                choices.append({profile.key, profile.name});
            return choices;
        },
        [this](const QList<ChoiceListModel::Choice> &choices) {
            m_importProfiles->setChoices(choices);
            m_isLoadingImportProfiles = false;
            Q_EMIT importStateChanged();
            if (!m_importProfiles->contains(m_selectedImportProfileKey))
                setSelectedImportProfileKey(choices.isEmpty() ? QString() : choices.first().key);
        });
}

void AppCreationWizardStore::loadImportExtensions()
{
    if (m_selectedImportProfileKey.isEmpty()) {
        m_importExtensions->setChoices({});
        return;
    }
    const QString userData = importSourceFolder();
    const QString profileKey = m_selectedImportProfileKey;
    m_isLoadingImportExtensions = true;
    Q_EMIT importStateChanged();
    inBackground<QList<ChoiceListModel::Choice>>(
        this,
        [userData, profileKey] {
            QList<ChoiceListModel::Choice> choices;
            const std::optional<QJsonObject> preferences = SNProfileDiscovery(userData).preferencesOf(profileKey);
            if (preferences) {
                for (const ImportableExtension &extension : SNExtensionDiscovery::offerableExtensions(*preferences))
                    choices.append({extension.id, extension.name});
            }
            return choices;
        },
        [this, profileKey](const QList<ChoiceListModel::Choice> &choices) {
            if (profileKey != m_selectedImportProfileKey)
                return; // a later choice has its own scan
            m_importExtensions->setChoices(choices);
            m_isLoadingImportExtensions = false;
            Q_EMIT importStateChanged();
        });
}

void AppCreationWizardStore::runImport(const QString &bundlePath)
{
    m_isImportingData = true;
    Q_EMIT importStateChanged();
    ImportBrowserDataRequest request;
    request.userDataFolder = importSourceFolder();
    request.profileKey = m_selectedImportProfileKey;
    request.bundlePath = bundlePath;
    for (const QString &name : m_importCategories) {
        if (const std::optional<ImportCategory> category = ImportCategories::fromRawValue(name))
            request.categories.append(*category);
    }
    const QSet<QString> chosen = m_importExtensions->checkedKeys();
    for (const ChoiceListModel::Choice &choice : m_importExtensions->choices()) {
        if (chosen.contains(choice.key))
            request.extensions.append({choice.key, choice.name});
    }
    auto job = std::make_unique<ImportBrowserDataJob>(std::move(request));
    m_work->run<ImportBrowserDataJob>(std::move(job), &m_context.prompter(), [this](ImportBrowserDataJob &done) {
        m_lastImportSummary = done.summary();
        m_importMessages = done.summary().messages();
        m_isImportingData = false;
        Q_EMIT importStateChanged();
        finishCreation();
    });
}

// Creation and update

AppDefinition AppCreationWizardStore::draftApp() const
{
    AppDefinition app;
    app.appName = m_appName.trimmed();
    app.appURL = savedAddress();
    app.appIcon = m_appIcon;
    app.applicationsPath = m_appSaveLocation;
    app.registerAsBrowser = m_registerAsBrowser;
    app.incognito = m_enableIncognito;
    app.needTab = m_isTabbedApp;
    if (m_isTabbedApp) {
        for (const QString &url : m_tabs->validUrls())
            app.tabsList.append(TabAddress(WebAddress::withScheme(url)));
        if (app.appURL.isEmpty() && !app.tabsList.isEmpty())
            app.appURL = app.tabsList.first().tabUrlString;
    }
    app.routingRules = m_routingRules->records();
    if (m_defaultRouteDestination.kind != RoutingDestination::Kind::Default)
        app.defaultDestination = m_defaultRouteDestination.toRecord();
    app.forceDarkMode = m_forceDarkMode;
    if (m_accentColorEnabled && m_accentColor.isValid())
        app.accentColor = m_accentColor.name(QColor::HexRgb).toUpper();
    app.restoreSession = m_restoreTabsOnLaunch;
    app.passwordManagerCompatibility = m_passwordManagerCompatibility;
    if (m_editingApp && m_originalItem)
        app.isWhitelistingEnabled = m_originalItem->appItem.isWhitelistingEnabled;
    return app;
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
    if (!publishErrors(WizardStep::Review) && !m_originalItem) {
        fail(validationMessages().first());
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
    request.app.appIcon = composedIcon();
    request.app.applicationType = m_selectedBrowser;
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
        if (m_importEnabled)
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
    const SNEditorItem &original = *m_originalItem;
    if (original.browser != BrowserCatalogue::typeKeyForNumber(m_selectedBrowser) && !m_engineSwitchConfirmed) {
        set(m_showingEngineSwitchWarning, true, &AppCreationWizardStore::engineSwitchChanged);
        m_isCreatingApp = false;
        Q_EMIT creationStateChanged();
        return false;
    }
    AppEditor::Change change;
    change.edited = original;
    change.edited.appItem = draftApp();
    change.edited.appItem.appIcon = original.appItem.appIcon;
    change.edited.browser = BrowserCatalogue::typeKeyForNumber(m_selectedBrowser);
    change.restoreBackup = m_restoreProfileBackupOnSwitch;
    const StructuralState now = structuralState();
    const bool iconChanged = !m_structuralSnapshot || now.iconIdentity != m_structuralSnapshot->iconIdentity ||
                             now.hasCustomIconEnhancements != m_structuralSnapshot->hasCustomIconEnhancements ||
                             now.iconShape != m_structuralSnapshot->iconShape ||
                             now.iconColor != m_structuralSnapshot->iconColor;
    if (iconChanged)
        change.newIcon = composedIcon();

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
        m_engineSwitchConfirmed = false;
        m_restoreProfileBackupOnSwitch = false;
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
