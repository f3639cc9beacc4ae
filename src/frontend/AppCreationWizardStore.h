#pragma once

#include "core/SNEditorItem.h"
#include "core/SNImage.h"
#include "editing/ImportSummary.h"
#include "editing/StructuralState.h"
#include "frontend/ChoiceListModel.h"
#include "frontend/CustomQuickSetupList.h"
#include "frontend/DestinationChoicesModel.h"
#include "frontend/HomescreenAppEntry.h"
#include "frontend/RoutingDestination.h"
#include "frontend/RoutingRulesModel.h"
#include "frontend/TabsModel.h"

#include <QColor>
#include <QImage>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <memory>
#include <functional>
#include <optional>
#include <utility>

class Context;
class JobProgress;
class SiteIconSearch;

// The state behind the creation wizard and the editor: everything a new app needs, checked step
// by step, ending in the app's creation, or, for an app opened for editing, in its update in
// place (live-only when nothing structural changed). Views bind to the properties and call the
// invokable actions; every change is made on the thread the store lives on.
class AppCreationWizardStore final : public QObject
{
    Q_OBJECT
    // Navigation and validation
    Q_PROPERTY(WizardStep currentStep READ currentStep NOTIFY currentStepChanged)
    Q_PROPERTY(bool isNavigatingForward READ isNavigatingForward NOTIFY currentStepChanged)
    Q_PROPERTY(QVariantList validationErrors READ validationErrorList NOTIFY validationErrorsChanged)
    Q_PROPERTY(QStringList validationMessages READ validationMessages NOTIFY validationErrorsChanged)
    Q_PROPERTY(QVariantMap stepValidationStates READ stepValidationStates NOTIFY validationErrorsChanged)
    // The current messages about the name and about the address, for beside those fields.
    Q_PROPERTY(QStringList appNameMessages READ appNameMessages NOTIFY validationErrorsChanged)
    Q_PROPERTY(QStringList appURLMessages READ appURLMessages NOTIFY validationErrorsChanged)
    Q_PROPERTY(bool isEditing READ isEditing CONSTANT)
    // Basics
    Q_PROPERTY(QString appName MEMBER m_appName READ appName NOTIFY appNameChanged)
    Q_PROPERTY(QString appURL MEMBER m_appURL READ appURL NOTIFY appURLChanged)
    // The address as the app will be saved with: the typed one with the scheme its site answered
    // on (https when no search answered).
    Q_PROPERTY(QString savedAddress READ savedAddress NOTIFY appURLChanged)
    Q_PROPERTY(int selectedBrowser READ selectedBrowser WRITE setSelectedBrowser NOTIFY selectedBrowserChanged)
    Q_PROPERTY(QVariantList installedBrowsers READ installedBrowsers CONSTANT)
    // The installed engines for the browser step: {"type", "name", "linkRouting"} each.
    Q_PROPERTY(QVariantList browserChoices READ browserChoices CONSTANT)
    Q_PROPERTY(QString selectedBrowserName READ selectedBrowserName NOTIFY selectedBrowserChanged)
    Q_PROPERTY(QImage appIcon READ appIcon NOTIFY appIconChanged)
    Q_PROPERTY(TabsModel *tabs READ tabs CONSTANT)
    Q_PROPERTY(QString selectedIconShape MEMBER m_selectedIconShape READ selectedIconShape NOTIFY selectedIconShapeChanged)
    Q_PROPERTY(QColor selectedIconColor MEMBER m_selectedIconColor READ selectedIconColor NOTIFY selectedIconColorChanged)
    Q_PROPERTY(bool hasCustomIconEnhancements MEMBER m_hasCustomIconEnhancements NOTIFY hasCustomIconEnhancementsChanged)
    Q_PROPERTY(bool isCustomAssetIcon READ isCustomAssetIcon NOTIFY appIconChanged)
    // The icon as creation will write it, small, as an image address a view can show.
    Q_PROPERTY(QString iconPreview READ iconPreview NOTIFY iconPreviewChanged)
    Q_PROPERTY(CustomQuickSetupList *customQuickSetups READ customQuickSetups CONSTANT)
    Q_PROPERTY(bool isAutoDetecting READ isAutoDetecting NOTIFY detectionChanged)
    Q_PROPERTY(bool isLoadingFavicon READ isLoadingFavicon NOTIFY detectionChanged)
    Q_PROPERTY(QString autoDetectedName READ autoDetectedName NOTIFY detectionChanged)
    // Settings
    Q_PROPERTY(bool isTabbedApp MEMBER m_isTabbedApp READ isTabbedApp NOTIFY isTabbedAppChanged)
    Q_PROPERTY(bool registerAsBrowser MEMBER m_registerAsBrowser READ registerAsBrowser NOTIFY registerAsBrowserChanged)
    Q_PROPERTY(bool enableIncognito MEMBER m_enableIncognito READ enableIncognito NOTIFY enableIncognitoChanged)
    Q_PROPERTY(QString appSaveLocation MEMBER m_appSaveLocation READ appSaveLocation NOTIFY appSaveLocationChanged)
    Q_PROPERTY(RoutingRulesModel *routingRules READ routingRules CONSTANT)
    Q_PROPERTY(RoutingDestination defaultRouteDestination MEMBER m_defaultRouteDestination NOTIFY defaultRouteDestinationChanged)
    Q_PROPERTY(DestinationChoicesModel *destinations READ destinations CONSTANT)
    Q_PROPERTY(bool forceDarkMode MEMBER m_forceDarkMode NOTIFY appearanceChanged)
    Q_PROPERTY(bool accentColorEnabled MEMBER m_accentColorEnabled NOTIFY appearanceChanged)
    Q_PROPERTY(QColor accentColor MEMBER m_accentColor NOTIFY appearanceChanged)
    Q_PROPERTY(bool restoreTabsOnLaunch MEMBER m_restoreTabsOnLaunch NOTIFY appearanceChanged)
    Q_PROPERTY(bool passwordManagerCompatibility MEMBER m_passwordManagerCompatibility NOTIFY appearanceChanged)
    // Import of browser data
    Q_PROPERTY(bool importEnabled MEMBER m_importEnabled READ importEnabled NOTIFY importEnabledChanged)
    Q_PROPERTY(ChoiceListModel *availableImportProfiles READ availableImportProfiles CONSTANT)
    Q_PROPERTY(QString selectedImportProfileKey READ selectedImportProfileKey WRITE setSelectedImportProfileKey NOTIFY selectedImportProfileKeyChanged)
    Q_PROPERTY(QStringList importCategories READ importCategories WRITE setImportCategories NOTIFY importCategoriesChanged)
    Q_PROPERTY(QStringList allImportCategories READ allImportCategories CONSTANT)
    Q_PROPERTY(bool isLoadingImportProfiles READ isLoadingImportProfiles NOTIFY importStateChanged)
    Q_PROPERTY(bool isImportingData READ isImportingData NOTIFY importStateChanged)
    Q_PROPERTY(QVariantMap lastImportSummary READ lastImportSummary NOTIFY importStateChanged)
    Q_PROPERTY(QStringList importMessages READ importMessages NOTIFY importStateChanged)
    Q_PROPERTY(ChoiceListModel *availableImportExtensions READ availableImportExtensions CONSTANT)
    Q_PROPERTY(QStringList selectedExtensionIDs READ selectedExtensionIDs WRITE setSelectedExtensionIDs NOTIFY selectedExtensionIDsChanged)
    Q_PROPERTY(bool isLoadingImportExtensions READ isLoadingImportExtensions NOTIFY importStateChanged)
    Q_PROPERTY(bool showExtensionList MEMBER m_showExtensionList NOTIFY sheetsChanged)
    // Creation and sheets
    Q_PROPERTY(bool isCreatingApp READ isCreatingApp NOTIFY creationStateChanged)
    Q_PROPERTY(double creationProgress READ creationProgress NOTIFY creationStateChanged)
    Q_PROPERTY(bool showingSuccess MEMBER m_showingSuccess READ showingSuccess NOTIFY creationStateChanged)
    Q_PROPERTY(QString createdAppPath READ createdAppPath NOTIFY creationStateChanged)
    Q_PROPERTY(QString creationError READ creationError NOTIFY creationStateChanged)
    Q_PROPERTY(bool showingError MEMBER m_showingError READ showingError NOTIFY creationStateChanged)
    Q_PROPERTY(QString creationErrorTitle READ creationErrorTitle CONSTANT)
    Q_PROPERTY(bool showingIconPicker MEMBER m_showingIconPicker NOTIFY sheetsChanged)
    Q_PROPERTY(bool showingTabConfiguration MEMBER m_showingTabConfiguration NOTIFY sheetsChanged)
    Q_PROPERTY(bool showingSettings MEMBER m_showingSettings NOTIFY sheetsChanged)
    Q_PROPERTY(bool showingEngineSwitchWarning READ showingEngineSwitchWarning NOTIFY engineSwitchChanged)
    Q_PROPERTY(QString engineSwitchWarningText READ engineSwitchWarningText NOTIFY engineSwitchChanged)
    Q_PROPERTY(bool engineSwitchCanRestore READ engineSwitchCanRestore NOTIFY engineSwitchChanged)

public:
    enum class WizardStep { Basics, Browser, Settings, Review };
    Q_ENUM(WizardStep)

    enum class ValidationError { EmptyAppName, EmptyAppURL, InvalidURL, InvalidAppName, AppNameTooLong };
    Q_ENUM(ValidationError)

    // A wizard for a new app.
    explicit AppCreationWizardStore(Context &context, QObject *parent = nullptr);
    // The editor of an existing app; an entry without a bundle (a duplicate) ends in a new app.
    AppCreationWizardStore(Context &context, const HomescreenAppEntry &editingApp, QObject *parent = nullptr);
    ~AppCreationWizardStore() override;

    // "basics", "browser", "settings", "review".
    static QString rawValue(WizardStep step);
    static QList<WizardStep> allSteps();
    // The message shown for an error.
    static QString message(ValidationError error);
    static const QString CreationErrorTitle;

    // Navigation: a step forward only from a valid step.
    Q_INVOKABLE bool nextStep();
    Q_INVOKABLE void previousStep();
    Q_INVOKABLE void goToStep(WizardStep step);
    // Checks the current step (every step for review) and publishes the errors.
    Q_INVOKABLE bool validateCurrentStep();

    // The first installed browser in the picker's order, the first time the picker is shown for
    // a new app; an Opera engine always runs tabbed.
    Q_INVOKABLE void applyInitialBrowserFromPickerOrder();
    // Looks up the address's icon and the page's title, in the background.
    Q_INVOKABLE void detectNameAndIcon();
    Q_INVOKABLE bool setIconFromFile(const QString &path);
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
    void setAppIcon(const SNImage &icon, bool customAsset);
    Q_INVOKABLE void clearIcon();

    // Engine switch of an edited app: go ahead (optionally restoring the profile the target
    // engine had) or go back to the app's own browser.
    Q_INVOKABLE void confirmEngineSwitch(bool restoreBackup);
    Q_INVOKABLE void cancelEngineSwitch();

    Q_INVOKABLE void loadImportProfiles();
    Q_INVOKABLE void loadImportExtensions();

    // Creates the app, or updates the edited app in place. False when it failed (creationError).
    Q_INVOKABLE bool createApp();
    Q_INVOKABLE bool launchCreatedApp();
    Q_INVOKABLE void dismissError();

    // What the wizard's choices make of an app, as creation receives it.
    AppDefinition draftApp() const;
    // The icon that creation writes: shaped and coloured when the icon tools changed it or no
    // icon was found.
    SNImage composedIcon() const;
    StructuralState structuralState() const;

    WizardStep currentStep() const { return m_currentStep; }
    bool isNavigatingForward() const { return m_isNavigatingForward; }
    QList<ValidationError> validationErrors() const { return m_validationErrors; }
    QVariantList validationErrorList() const;
    QStringList validationMessages() const;
    QStringList appNameMessages() const;
    QStringList appURLMessages() const;
    QVariantMap stepValidationStates() const;
    bool isEditing() const { return m_editingApp.has_value(); }
    const std::optional<HomescreenAppEntry> &editingApp() const { return m_editingApp; }

    QString appName() const { return m_appName; }
    QString appURL() const { return m_appURL; }
    int selectedBrowser() const { return m_selectedBrowser; }
    void setSelectedBrowser(int type);
    QVariantList installedBrowsers() const;
    QVariantList browserChoices() const;
    QString selectedBrowserName() const;
    QString iconPreview() const;
    QImage appIcon() const { return m_appIcon.largestRepresentation(); }
    TabsModel *tabs() const { return m_tabs; }
    CustomQuickSetupList *customQuickSetups() const { return m_customQuickSetups; }
    QString selectedIconShape() const { return m_selectedIconShape; }
    QColor selectedIconColor() const { return m_selectedIconColor; }
    bool isCustomAssetIcon() const { return m_isCustomAssetIcon; }
    QString savedAddress() const;
    bool isAutoDetecting() const { return m_isAutoDetecting; }
    bool isLoadingFavicon() const { return m_isLoadingFavicon; }
    QString autoDetectedName() const { return m_autoDetectedName; }

    bool isTabbedApp() const { return m_isTabbedApp; }
    bool registerAsBrowser() const { return m_registerAsBrowser; }
    bool enableIncognito() const { return m_enableIncognito; }
    QString appSaveLocation() const { return m_appSaveLocation; }
    RoutingRulesModel *routingRules() const { return m_routingRules; }
    DestinationChoicesModel *destinations() const { return m_destinations; }

    bool importEnabled() const { return m_importEnabled; }
    ChoiceListModel *availableImportProfiles() const { return m_importProfiles; }
    QString selectedImportProfileKey() const { return m_selectedImportProfileKey; }
    void setSelectedImportProfileKey(const QString &key);
    QStringList importCategories() const { return m_importCategories; }
    void setImportCategories(const QStringList &categories);
    static QStringList allImportCategories();
    bool isLoadingImportProfiles() const { return m_isLoadingImportProfiles; }
    bool isImportingData() const { return m_isImportingData; }
    QVariantMap lastImportSummary() const;
    QStringList importMessages() const { return m_importMessages; }
    ChoiceListModel *availableImportExtensions() const { return m_importExtensions; }
    QStringList selectedExtensionIDs() const;
    void setSelectedExtensionIDs(const QStringList &ids);
    bool isLoadingImportExtensions() const { return m_isLoadingImportExtensions; }

    bool isCreatingApp() const { return m_isCreatingApp; }
    double creationProgress() const { return m_creationProgress; }
    bool showingSuccess() const { return m_showingSuccess; }
    QString createdAppPath() const { return m_createdAppPath; }
    QString creationError() const { return m_creationError; }
    bool showingError() const { return m_showingError; }
    QString creationErrorTitle() const { return CreationErrorTitle; }
    bool showingEngineSwitchWarning() const { return m_showingEngineSwitchWarning; }
    QString engineSwitchWarningText() const;
    bool engineSwitchCanRestore() const;
    bool engineSwitchConfirmed() const { return m_engineSwitchConfirmed; }

Q_SIGNALS:
    void currentStepChanged();
    void validationErrorsChanged();
    void appNameChanged();
    void appURLChanged();
    void selectedBrowserChanged();
    void appIconChanged();
    void selectedIconShapeChanged();
    void selectedIconColorChanged();
    void iconPreviewChanged();
    void hasCustomIconEnhancementsChanged();
    void detectionChanged();
    void isTabbedAppChanged();
    void registerAsBrowserChanged();
    void enableIncognitoChanged();
    void appSaveLocationChanged();
    void defaultRouteDestinationChanged();
    void appearanceChanged();
    void importEnabledChanged();
    void selectedImportProfileKeyChanged();
    void importCategoriesChanged();
    void importStateChanged();
    void selectedExtensionIDsChanged();
    void sheetsChanged();
    void creationStateChanged();
    // A save (creation or edit) ended; creation runs in the background.
    void creationFinished(bool succeeded);
    void engineSwitchChanged();

private:
    void initialize();
    void installObservers();
    // The defaults of a new app from the user's settings (again on every settings change).
    void loadDefaults();
    void loadEditedApp();
    void fill(const AppDefinition &app, int browser);
    QList<ValidationError> errorsOf(WizardStep step) const;
    // Publishes the errors of `step` and every step's state; whether `step` is valid.
    bool publishErrors(WizardStep step);
    bool createNewApp();
    bool updateExistingApp();
    void fail(const QString &message);
    void setCreationProgress(double progress);
    void runImport(const QString &bundlePath);
    // The success state after a creation (and its import) ended.
    void finishCreation();
    // The chosen browser's user-data folder, which profiles and data are taken from.
    QString importSourceFolder() const;
    template<typename T>
    void set(T &field, const T &value, void (AppCreationWizardStore::*changed)());

    Context &m_context;
    TabsModel *m_tabs;
    RoutingRulesModel *m_routingRules;
    DestinationChoicesModel *m_destinations;
    ChoiceListModel *m_importProfiles;
    ChoiceListModel *m_importExtensions;
    CustomQuickSetupList *m_customQuickSetups;
    // The site search of the address typed last, and what stops it.
    SiteIconSearch *m_siteSearch = nullptr;
    std::function<void()> m_stopSiteSearch;
    quint64 m_siteSearchSerial = 0;
    // The address as typed and as its site answered (with the scheme that answered).
    std::pair<QString, QString> m_answeredAddress;
    mutable std::optional<QVariantList> m_browserChoices; // asking an engine its version takes a moment

    WizardStep m_currentStep = WizardStep::Basics;
    bool m_isNavigatingForward = true;
    QList<ValidationError> m_validationErrors;
    QMap<WizardStep, bool> m_stepValidationStates;

    QString m_appName;
    QString m_appURL;
    int m_selectedBrowser = 0;
    SNImage m_appIcon;
    QString m_selectedIconShape = QStringLiteral("roundedSquare");
    QColor m_selectedIconColor = QColor(Qt::white);
    bool m_hasCustomIconEnhancements = false;
    bool m_isCustomAssetIcon = false;
    bool m_isAutoDetecting = false;
    bool m_isLoadingFavicon = false;
    QString m_autoDetectedName;

    bool m_isTabbedApp = false;
    bool m_registerAsBrowser = false;
    bool m_enableIncognito = false;
    QString m_appSaveLocation;
    RoutingDestination m_defaultRouteDestination;
    bool m_forceDarkMode = false;
    bool m_accentColorEnabled = false;
    QColor m_accentColor = QColor(0x00, 0x7A, 0xFF);
    bool m_restoreTabsOnLaunch = true;
    bool m_passwordManagerCompatibility = false;

    bool m_importEnabled = false;
    QString m_selectedImportProfileKey;
    QStringList m_importCategories;
    bool m_isLoadingImportProfiles = false;
    bool m_isImportingData = false;
    // The creation or data import under way.
    JobProgress *m_work = nullptr;
    std::optional<ImportSummary> m_lastImportSummary;
    QStringList m_importMessages;
    bool m_isLoadingImportExtensions = false;
    bool m_showExtensionList = false;

    bool m_isCreatingApp = false;
    double m_creationProgress = 0;
    bool m_showingSuccess = false;
    QString m_createdAppPath;
    QString m_creationError;
    bool m_showingError = false;
    bool m_showingIconPicker = false;
    bool m_showingTabConfiguration = false;
    bool m_showingSettings = false;
    bool m_showingEngineSwitchWarning = false;

    // Plain state
    bool m_engineSwitchConfirmed = false;
    bool m_restoreProfileBackupOnSwitch = false;
    std::optional<HomescreenAppEntry> m_editingApp;
    std::optional<SNEditorItem> m_originalItem; // the edited app as it was read
    bool m_isInitializing = true;
    bool m_didApplyInitialBrowserFromPickerOrder = false;
    std::optional<StructuralState> m_structuralSnapshot;
};
