#include "frontend/WizardDraft.h"

#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/EngineSwitches.h"
#include "core/UserDefaults.h"
#include "core/WebAddress.h"
#include "frontend/EngineChoices.h"
#include "frontend/InstalledBrowsers.h"
#include "frontend/SettingsKeys.h"
#include "generation/DefinitionValidator.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

WizardDraft::WizardDraft(Context &context, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_tabs(new TabsModel(this)),
      m_routingRules(new RoutingRulesModel(this)),
      m_destinations(new DestinationChoicesModel(context, this)),
      m_customQuickSetups(new CustomQuickSetupList(context, this))
{
    // Incognito needs the tabbed engine; a user's choice of it turns tabs on.
    connect(this, &WizardDraft::enableIncognitoChanged, this, [this] {
        if (!m_loading && m_enableIncognito)
            set(m_isTabbedApp, true, &WizardDraft::isTabbedAppChanged);
    });
}

template<typename T>
void WizardDraft::set(T &field, const T &value, void (WizardDraft::*changed)())
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)();
}

QString WizardDraft::message(ValidationError error)
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

QList<WizardDraft::ValidationError> WizardDraft::errors() const
{
    QList<ValidationError> errors;
    if (m_appName.trimmed().isEmpty())
        errors.append(ValidationError::EmptyAppName);
    // A tabbed app may do without a start address when its tabs have one; every address it has
    // must be a web address.
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
    return errors;
}

void WizardDraft::loadDefaults(bool newApp)
{
    m_loading = true;
    UserDefaults &defaults = m_context.defaults();
    const QString location = defaults.stringForKey(SettingsKeys::ApplicationsPath);
    set(m_appSaveLocation, location.isEmpty() ? m_context.applicationsFolder() : location,
        &WizardDraft::appSaveLocationChanged);
    if (newApp) {
        const std::pair<QString, bool WizardDraft::*> switches[] = {
            {SettingsKeys::RegisterAsBrowser, &WizardDraft::m_registerAsBrowser},
            {SettingsKeys::IncognitoMode, &WizardDraft::m_enableIncognito},
            {SettingsKeys::TabbedApps, &WizardDraft::m_isTabbedApp},
        };
        for (const auto &[key, member] : switches) {
            bool value = false;
            if (defaults.hasPersistentValue(key))
                value = defaults.boolForKey(key);
            else
                defaults.setValue(key, false);
            this->*member = value;
        }
        if (m_enableIncognito)
            m_isTabbedApp = true;
        Q_EMIT registerAsBrowserChanged();
        Q_EMIT enableIncognitoChanged();
        Q_EMIT isTabbedAppChanged();
    }
    m_loading = false;
}

void WizardDraft::fill(const AppDefinition &app, int browser)
{
    m_appName = app.appName;
    m_appURL = app.appURL;
    if (!app.applicationsPath.isEmpty())
        m_appSaveLocation = app.applicationsPath;
    m_selectedBrowser = browser;
    m_didApplyInitialBrowserFromPickerOrder = true; // an existing app keeps its engine
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
    m_engineSwitches = app.engineSwitches.join(u' ');
    m_accentColorEnabled = !app.accentColor.isEmpty();
    if (m_accentColorEnabled)
        m_accentColor = QColor(app.accentColor);
    m_restoreTabsOnLaunch = app.restoreSession;
    m_passwordManagerCompatibility = app.passwordManagerCompatibility;
}

AppDefinition WizardDraft::definition() const
{
    AppDefinition app;
    app.appName = m_appName.trimmed();
    app.appURL = savedAddress();
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
    app.engineSwitches = EngineSwitches::fromText(m_engineSwitches);
    if (m_accentColorEnabled && m_accentColor.isValid())
        app.accentColor = m_accentColor.name(QColor::HexRgb).toUpper();
    app.restoreSession = m_restoreTabsOnLaunch;
    app.passwordManagerCompatibility = m_passwordManagerCompatibility;
    return app;
}

QString WizardDraft::engineSwitchesProblem() const
{
    return EngineSwitches::check(EngineSwitches::fromText(m_engineSwitches), u"engineSwitches"_s);
}

void WizardDraft::setAppName(const QString &name)
{
    set(m_appName, name, &WizardDraft::appNameChanged);
}

void WizardDraft::setAppURL(const QString &address)
{
    set(m_appURL, address, &WizardDraft::appURLChanged);
}

QString WizardDraft::savedAddress() const
{
    const QString typed = m_appURL.trimmed();
    if (!typed.isEmpty() && m_answeredAddress.first == typed)
        return m_answeredAddress.second;
    return WebAddress::withScheme(typed);
}

void WizardDraft::setAnsweredAddress(const QString &typed, const QString &answered)
{
    m_answeredAddress = {typed, answered};
    Q_EMIT appURLChanged(); // the address as it will be saved may have its scheme now
}

// Browser

QVariantList WizardDraft::browserChoices() const
{
    if (!m_browserChoices)
        m_browserChoices = EngineChoices::describe(m_context, InstalledBrowsers::detect(m_context.defaults()));
    return *m_browserChoices;
}

QString WizardDraft::selectedBrowserName() const
{
    return BrowserCatalogue::byNumber(m_selectedBrowser).browserName;
}

void WizardDraft::setSelectedBrowser(int type)
{
    set(m_selectedBrowser, BrowserCatalogue::byNumber(type).number, &WizardDraft::selectedBrowserChanged);
}

void WizardDraft::applyInitialBrowserFromPickerOrder()
{
    if (m_didApplyInitialBrowserFromPickerOrder)
        return;
    m_didApplyInitialBrowserFromPickerOrder = true;
    const QList<int> installed = InstalledBrowsers::detect(m_context.defaults());
    if (installed.isEmpty())
        return;
    setSelectedBrowser(installed.first());
    if (installed.first() == BrowserCatalogue::Opera)
        set(m_isTabbedApp, true, &WizardDraft::isTabbedAppChanged);
}

// Quick setups and suggestions

QUuid WizardDraft::saveCurrentAsSetup(const QString &name, const QString &icon, const QString &description)
{
    return m_customQuickSetups->saveCurrentAsSetup(name, icon, description, m_tabs->urls());
}

void WizardDraft::deleteSetup(const QUuid &id)
{
    m_customQuickSetups->deleteSetup(id);
}

void WizardDraft::applySetup(const QUuid &id)
{
    const QStringList urls = m_customQuickSetups->applySetup(id);
    if (urls.isEmpty())
        return;
    m_tabs->setUrls(urls);
    if (urls.size() > 1)
        set(m_isTabbedApp, true, &WizardDraft::isTabbedAppChanged);
}

QString WizardDraft::suggestedSetupName() const
{
    return CustomQuickSetupList::suggestedName(m_tabs->urls());
}

QString WizardDraft::suggestedSetupDescription() const
{
    return CustomQuickSetupList::suggestedDescription(m_tabs->urls());
}

void WizardDraft::applySuggestion(const QVariantMap &choice)
{
    setAppName(choice.value(u"appName"_s).toString());
    setAppURL(choice.value(u"appURL"_s).toString());
    const QStringList tabs = choice.value(u"tabs"_s).toStringList();
    m_tabs->setUrls(tabs);
    if (tabs.size() > 1 || choice.value(u"isTabbedApp"_s).toBool())
        set(m_isTabbedApp, true, &WizardDraft::isTabbedAppChanged);
    if (choice.value(u"incognito"_s).toBool())
        set(m_enableIncognito, true, &WizardDraft::enableIncognitoChanged);
}
