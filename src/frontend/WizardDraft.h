#pragma once

#include "core/AppDefinition.h"
#include "frontend/CustomQuickSetupList.h"
#include "frontend/DestinationChoicesModel.h"
#include "frontend/RoutingDestination.h"
#include "frontend/RoutingRulesModel.h"
#include "frontend/TabsModel.h"

#include <QColor>
#include <QObject>
#include <QStringList>
#include <QUuid>
#include <QVariantList>
#include <QVariantMap>

#include <optional>
#include <utility>

class Context;

// What the wizard's app is made of, apart from its icon and the data it imports: name, address,
// engine, tabs, switches, save folder, link routing and appearance, with the checks those must
// pass. Views write the plain values straight through the properties.
class WizardDraft final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString appName READ appName WRITE setAppName NOTIFY appNameChanged)
    Q_PROPERTY(QString appURL READ appURL WRITE setAppURL NOTIFY appURLChanged)
    // The address as the app will be saved with: the typed one with the scheme its site answered
    // on (https when no search answered).
    Q_PROPERTY(QString savedAddress READ savedAddress NOTIFY appURLChanged)
    Q_PROPERTY(int selectedBrowser READ selectedBrowser WRITE setSelectedBrowser NOTIFY selectedBrowserChanged)
    // The installed engines for the browser step: {"type", "name", "linkRouting"} each.
    Q_PROPERTY(QVariantList browserChoices READ browserChoices CONSTANT)
    Q_PROPERTY(QString selectedBrowserName READ selectedBrowserName NOTIFY selectedBrowserChanged)
    Q_PROPERTY(TabsModel *tabs READ tabs CONSTANT)
    Q_PROPERTY(CustomQuickSetupList *customQuickSetups READ customQuickSetups CONSTANT)
    Q_PROPERTY(bool isTabbedApp MEMBER m_isTabbedApp NOTIFY isTabbedAppChanged)
    Q_PROPERTY(bool registerAsBrowser MEMBER m_registerAsBrowser NOTIFY registerAsBrowserChanged)
    Q_PROPERTY(bool enableIncognito MEMBER m_enableIncognito NOTIFY enableIncognitoChanged)
    Q_PROPERTY(QString appSaveLocation MEMBER m_appSaveLocation NOTIFY appSaveLocationChanged)
    Q_PROPERTY(RoutingRulesModel *routingRules READ routingRules CONSTANT)
    Q_PROPERTY(RoutingDestination defaultRouteDestination MEMBER m_defaultRouteDestination NOTIFY defaultRouteDestinationChanged)
    Q_PROPERTY(DestinationChoicesModel *destinations READ destinations CONSTANT)
    Q_PROPERTY(bool forceDarkMode MEMBER m_forceDarkMode NOTIFY appearanceChanged)
    Q_PROPERTY(bool accentColorEnabled MEMBER m_accentColorEnabled NOTIFY appearanceChanged)
    Q_PROPERTY(QColor accentColor MEMBER m_accentColor NOTIFY appearanceChanged)
    Q_PROPERTY(bool restoreTabsOnLaunch MEMBER m_restoreTabsOnLaunch NOTIFY appearanceChanged)
    Q_PROPERTY(bool passwordManagerCompatibility MEMBER m_passwordManagerCompatibility NOTIFY appearanceChanged)
    // The app's own extra engine switches as typed (blanks between them), and what is wrong with
    // them (empty when nothing is; creation and editing refuse them with the same text).
    Q_PROPERTY(QString engineSwitches MEMBER m_engineSwitches NOTIFY appearanceChanged)
    Q_PROPERTY(QString engineSwitchesProblem READ engineSwitchesProblem NOTIFY appearanceChanged)

public:
    enum class ValidationError { EmptyAppName, EmptyAppURL, InvalidURL, InvalidAppName, AppNameTooLong };
    Q_ENUM(ValidationError)

    explicit WizardDraft(Context &context, QObject *parent = nullptr);

    // The message shown for an error.
    static QString message(ValidationError error);
    // What keeps the name and addresses from making an app, in a fixed order.
    QList<ValidationError> errors() const;

    // The save folder, and for a new app (`newApp`) the switches, from the user's settings.
    void loadDefaults(bool newApp);
    // Takes an existing app's values (its folder too, when given), without change signals: the
    // views are not bound yet.
    void fill(const AppDefinition &app, int browser);
    QString engineSwitchesProblem() const;
    // The app as creation receives it, without its icon.
    AppDefinition definition() const;

    // The address a site search found for `typed`, kept while the address stays as typed.
    void setAnsweredAddress(const QString &typed, const QString &answered);

    // The first installed browser in the picker's order, the first time the picker is shown for
    // a new app; an Opera engine always runs tabbed.
    Q_INVOKABLE void applyInitialBrowserFromPickerOrder();
    // Quick setups: the current tabs saved under a name, or a saved list of addresses made the
    // tabs (a list of several makes the app tabbed).
    Q_INVOKABLE QUuid saveCurrentAsSetup(const QString &name, const QString &icon, const QString &description);
    Q_INVOKABLE void deleteSetup(const QUuid &id);
    Q_INVOKABLE void applySetup(const QUuid &id);
    Q_INVOKABLE QString suggestedSetupName() const;
    Q_INVOKABLE QString suggestedSetupDescription() const;
    // Fills the basics from a chosen suggestion or template (AppSuggestionsStore::wizardValues):
    // "appName", "appURL", "tabs" (addresses; several make the app tabbed, as does "isTabbedApp")
    // and "incognito".
    Q_INVOKABLE void applySuggestion(const QVariantMap &choice);

    QString appName() const { return m_appName; }
    void setAppName(const QString &name);
    QString appURL() const { return m_appURL; }
    void setAppURL(const QString &address);
    QString savedAddress() const;
    int selectedBrowser() const { return m_selectedBrowser; }
    void setSelectedBrowser(int type);
    QVariantList browserChoices() const;
    QString selectedBrowserName() const;
    TabsModel *tabs() const { return m_tabs; }
    CustomQuickSetupList *customQuickSetups() const { return m_customQuickSetups; }
    bool isTabbedApp() const { return m_isTabbedApp; }
    bool registerAsBrowser() const { return m_registerAsBrowser; }
    bool enableIncognito() const { return m_enableIncognito; }
    QString appSaveLocation() const { return m_appSaveLocation; }
    RoutingRulesModel *routingRules() const { return m_routingRules; }
    DestinationChoicesModel *destinations() const { return m_destinations; }

Q_SIGNALS:
    void appNameChanged();
    void appURLChanged();
    void selectedBrowserChanged();
    void isTabbedAppChanged();
    void registerAsBrowserChanged();
    void enableIncognitoChanged();
    void appSaveLocationChanged();
    void defaultRouteDestinationChanged();
    void appearanceChanged();

private:
    template<typename T>
    void set(T &field, const T &value, void (WizardDraft::*changed)());

    Context &m_context;
    TabsModel *m_tabs;
    RoutingRulesModel *m_routingRules;
    DestinationChoicesModel *m_destinations;
    CustomQuickSetupList *m_customQuickSetups;
    // The address as typed and as its site answered (with the scheme that answered).
    std::pair<QString, QString> m_answeredAddress;
    mutable std::optional<QVariantList> m_browserChoices; // asking an engine its version takes a moment
    // Set while values come from settings rather than from the user.
    bool m_loading = false;
    bool m_didApplyInitialBrowserFromPickerOrder = false;

    QString m_appName;
    QString m_appURL;
    int m_selectedBrowser = 0;
    bool m_isTabbedApp = false;
    bool m_registerAsBrowser = false;
    bool m_enableIncognito = false;
    QString m_appSaveLocation;
    RoutingDestination m_defaultRouteDestination;
    bool m_forceDarkMode = false;
    QString m_engineSwitches;
    bool m_accentColorEnabled = false;
    QColor m_accentColor = QColor(0x00, 0x7A, 0xFF);
    bool m_restoreTabsOnLaunch = true;
    bool m_passwordManagerCompatibility = false;
};
