#pragma once

#include "frontend/IconShape.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <array>

class Context;
class UserDefaults;

// The settings behind the settings window: the defaults a new app starts from, the switch for
// automatic app updates and the engine path of each browser, kept in the user defaults. Every
// change is saved at once (the browser paths and the import defaults too), and every save posts
// "SorvaneSettingsChanged", on which open wizards reload their defaults.
//
// Installed browsers: a browser counts as installed when its configured path is an existing file
// (on Linux, an executable one: the path names the engine executable); a folder there proves
// nothing. Otherwise its default location decides: on macOS the browser's application bundle
// must be a folder, on Linux the catalogue's engine executable must be an executable file.
//
// Applications folder: "/Applications" on macOS, ~/Applications on Linux, when none was chosen.
class SorvaneSettingsStore final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString defaultSaveLocation READ defaultSaveLocation WRITE setDefaultSaveLocation NOTIFY
                   defaultSaveLocationChanged)
    Q_PROPERTY(bool defaultRegisterAsBrowser READ defaultRegisterAsBrowser WRITE setDefaultRegisterAsBrowser
                   NOTIFY defaultRegisterAsBrowserChanged)
    Q_PROPERTY(bool defaultIncognitoMode READ defaultIncognitoMode WRITE setDefaultIncognitoMode NOTIFY
                   defaultIncognitoModeChanged)
    Q_PROPERTY(bool defaultTabbedApps READ defaultTabbedApps WRITE setDefaultTabbedApps NOTIFY
                   defaultTabbedAppsChanged)
    Q_PROPERTY(IconShape::Shape defaultIconShape READ defaultIconShape WRITE setDefaultIconShape NOTIFY
                   defaultIconShapeChanged)
    Q_PROPERTY(bool automaticAppUpdates READ automaticAppUpdates WRITE setAutomaticAppUpdates NOTIFY
                   automaticAppUpdatesChanged)
    Q_PROPERTY(bool defaultImportEnabled READ defaultImportEnabled WRITE setDefaultImportEnabled NOTIFY
                   defaultImportEnabledChanged)
    // Raw values of the import categories ("bookmarks", "extensions", ...).
    Q_PROPERTY(QStringList defaultImportCategories READ defaultImportCategories WRITE
                   setDefaultImportCategories NOTIFY defaultImportCategoriesChanged)
    Q_PROPERTY(QString chromePath READ chromePath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString canaryPath READ canaryPath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString bravePath READ bravePath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString edgePath READ edgePath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString operaPath READ operaPath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString chromiumPath READ chromiumPath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString vivaldiPath READ vivaldiPath NOTIFY browserPathsChanged)
    Q_PROPERTY(QString heliumPath READ heliumPath NOTIFY browserPathsChanged)
    // Browser type numbers, in the catalogue's order.
    Q_PROPERTY(QList<int> installedBrowsers READ installedBrowsers NOTIFY installedBrowsersChanged)
    // What the view offers: every import category and every icon shape, as raw values.
    Q_PROPERTY(QStringList importCategoryValues READ importCategoryValues CONSTANT)
    // Whether an app made from now on opens the extension store in a second window on its first start.
    Q_PROPERTY(bool storePageOnFirstStart READ storePageOnFirstStart WRITE setStorePageOnFirstStart NOTIFY
                   storePageOnFirstStartChanged)
    // The switches every app's engine gets, as the user types them (blanks between them); they
    // reach an app when it is made, edited or updated. Text with a switch that is not acceptable
    // is not kept: engineSwitchesProblem says why.
    Q_PROPERTY(QString defaultEngineSwitches READ defaultEngineSwitches WRITE setDefaultEngineSwitches NOTIFY
                   defaultEngineSwitchesChanged)
    Q_PROPERTY(QString engineSwitchesProblem READ engineSwitchesProblem NOTIFY defaultEngineSwitchesChanged)
    Q_PROPERTY(QStringList iconShapeValues READ iconShapeValues CONSTANT)
    // Every browser of the catalogue (type numbers, in its order), for the browsers tab.
    Q_PROPERTY(QList<int> browserTypes READ browserTypes CONSTANT)

public:
    // Browser defaults are the platform's (see platformBrowserDefaults()).
    explicit SorvaneSettingsStore(Context &context, QObject *parent = nullptr);
    // For a machine whose browsers live elsewhere: `browserDefaults` maps a path key ("chromePath")
    // to the location that proves the browser installed.
    SorvaneSettingsStore(Context &context, const QMap<QString, QString> &browserDefaults,
                         QObject *parent = nullptr);
    ~SorvaneSettingsStore() override;

    // What the application registers at start-up, before any store exists: the engine paths of
    // Google Chrome, Vivaldi and Helium, the applications folder, HAS_LAUNCHED_4 = "NO" and
    // automatic updates on.
    static void registerStartupDefaults(UserDefaults &defaults, const QString &homeFolder);
    // On the first start of this generation of the desktop app (HAS_LAUNCHED_4 not yet true),
    // discards the settings an older generation left, once. The file as it was is kept beside it
    // (".before-first-launch"), so nothing is lost. True when it discarded them.
    static bool discardOlderGenerationOnce(UserDefaults &defaults);
    // Path key -> default location: the application bundles on macOS, the catalogue's engine
    // executables on Linux.
    static QMap<QString, QString> platformBrowserDefaults();
    // "<type key>Path"; empty for a number outside the catalogue.
    static QString pathKey(int browserType);

    QString defaultSaveLocation() const { return m_defaultSaveLocation; }
    bool defaultRegisterAsBrowser() const { return m_defaultRegisterAsBrowser; }
    bool defaultIncognitoMode() const { return m_defaultIncognitoMode; }
    bool defaultTabbedApps() const { return m_defaultTabbedApps; }
    IconShape::Shape defaultIconShape() const { return m_defaultIconShape; }
    bool automaticAppUpdates() const { return m_automaticAppUpdates; }
    bool defaultImportEnabled() const { return m_defaultImportEnabled; }
    QStringList defaultImportCategories() const { return m_defaultImportCategories; }
    bool storePageOnFirstStart() const { return m_storePageOnFirstStart; }
    QString defaultEngineSwitches() const { return m_defaultEngineSwitches.join(u' '); }
    QString engineSwitchesProblem() const { return m_engineSwitchesProblem; }
    QString chromePath() const { return m_browserPaths[0]; }
    QString canaryPath() const { return m_browserPaths[1]; }
    QString bravePath() const { return m_browserPaths[2]; }
    QString edgePath() const { return m_browserPaths[3]; }
    QString operaPath() const { return m_browserPaths[4]; }
    QString chromiumPath() const { return m_browserPaths[5]; }
    QString vivaldiPath() const { return m_browserPaths[6]; }
    QString heliumPath() const { return m_browserPaths[7]; }
    QList<int> installedBrowsers() const { return m_installedBrowsers; }
    QStringList importCategoryValues() const;
    QStringList iconShapeValues() const;
    QList<int> browserTypes() const;
    const QMap<QString, QString> &browserDefaults() const { return m_browserDefaults; }
    bool isLoadingSettings() const { return m_isLoadingSettings; }

    // A folder that is not an absolute path is refused with a log line and changes nothing.
    void setDefaultSaveLocation(const QString &path);
    void setDefaultRegisterAsBrowser(bool on);
    void setDefaultIncognitoMode(bool on);
    void setDefaultTabbedApps(bool on);
    void setDefaultIconShape(IconShape::Shape shape);
    void setAutomaticAppUpdates(bool on);
    void setDefaultImportEnabled(bool on);
    // Repeated names are kept once; a list with an unknown name is refused with a log line.
    void setDefaultImportCategories(const QStringList &names);
    void setStorePageOnFirstStart(bool on);
    void setDefaultEngineSwitches(const QString &text);

    Q_INVOKABLE void loadSettings();
    Q_INVOKABLE void saveSettings();
    // False, with a log line and nothing changed, for a type outside the catalogue or a path
    // that is neither empty nor absolute (or holds a control character).
    Q_INVOKABLE bool setBrowserPath(int browserType, const QString &path);
    Q_INVOKABLE QString browserPath(int browserType) const;
    // What a file chooser gives: a local file or folder URL; anything else is refused.
    Q_INVOKABLE bool chooseBrowserPath(int browserType, const QUrl &file);
    Q_INVOKABLE bool chooseSaveLocation(const QUrl &folder);
    // Back to the browser's default location; false for a type outside the catalogue.
    Q_INVOKABLE bool resetBrowserPath(int browserType);
    Q_INVOKABLE void refreshInstalledBrowsers();
    Q_INVOKABLE bool isInstalled(int browserType) const { return m_installedBrowsers.contains(browserType); }
    // The browser's display name ("Google Chrome"); empty for a type outside the catalogue.
    Q_INVOKABLE QString browserName(int browserType) const;

Q_SIGNALS:
    void defaultSaveLocationChanged();
    void defaultRegisterAsBrowserChanged();
    void defaultIncognitoModeChanged();
    void defaultTabbedAppsChanged();
    void defaultIconShapeChanged();
    void automaticAppUpdatesChanged();
    void defaultImportEnabledChanged();
    void defaultImportCategoriesChanged();
    void storePageOnFirstStartChanged();
    void defaultEngineSwitchesChanged();
    void browserPathsChanged();
    void installedBrowsersChanged();

private:
    template <typename T>
    void assign(T &field, const T &value, void (SorvaneSettingsStore::*changed)());
    void autoSave();
    bool loadFlag(const QString &key);

    Context &m_context;
    QMap<QString, QString> m_browserDefaults;
    QString m_defaultSaveLocation;
    bool m_defaultRegisterAsBrowser = false;
    bool m_defaultIncognitoMode = false;
    bool m_defaultTabbedApps = false;
    IconShape::Shape m_defaultIconShape = IconShape::Shape::RoundedSquare;
    bool m_automaticAppUpdates = true;
    bool m_defaultImportEnabled = false;
    QStringList m_defaultImportCategories;
    bool m_storePageOnFirstStart = true;
    QStringList m_defaultEngineSwitches;
    QString m_engineSwitchesProblem;
    std::array<QString, 8> m_browserPaths;
    QList<int> m_installedBrowsers;
    bool m_isLoadingSettings = false;
    // Changes made while the store starts up are its initial values, not the user's: no save.
    bool m_observing = false;
};
