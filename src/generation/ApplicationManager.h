#pragma once

#include "core/AppDefinition.h"
#include "core/SNBulkApp.h"
#include "core/SNError.h"
#include "generation/ProfileSeeder.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

class Context;
class SNImage;

// The generation manager: holds the definition of the app being made and the paths inside its
// new bundle, and runs the generation steps. Steps return false and fill the error slot on failure.
class ApplicationManager final
{
public:
    explicit ApplicationManager(Context &context);
    ~ApplicationManager();
    Q_DISABLE_COPY_MOVE(ApplicationManager)

    // The manager over the shared context.
    static ApplicationManager &sharedManager();

    Context &context() const { return m_context; }

    AppDefinition &definition() { return m_definition; }
    const AppDefinition &definition() const { return m_definition; }

    // Paths inside the bundle being made, set from the folder list at the start of creation.
    QString contentsDirectory;
    QString resourceDirectory;
    QString execDirectory;
    QString profileDirectory;
    QString defaultUserDirectory;
    QString extentionsDirectory;
    QString chromeExecLinkePath;

    // Profile seeding inputs, filled by profile discovery when the user chose a browser profile.
    std::optional<QJsonObject> preferenceJson;
    QList<SNProfileEntry> usersArray;

    // The bulk run's input and the entries it made. `bulkProgress`, when set, is told after each
    // entry (its index, whether it was made) while the created* fields below describe it.
    QList<SNBulkApp> bulkApps;
    QList<SNBulkApp> bulkInstalledApps;
    std::function<void(qsizetype index, bool made)> bulkProgress;

    // What the last successful creation made.
    QString createdBundlePath;
    QString createdAppID;
    QString createdUniqueID;
    // Whether its links will be routed ("yes", "no", "unknown"); empty when it has no companion.
    QString createdLinkRouting;

    // --- Creation (AppCreator) ---------------------------------------------------------------

    // Fills the definition's applicationsPath when empty: the user's setting, else the platform's.
    QString fetchApplicationsPath();
    // The entry's name, else "<name> 1", "<name> 2", ... : the first without a bundle in the
    // applications folder.
    QString generateAppNmeFor(const SNBulkApp &entry);
    // Creates the bundle of the current definition; runs `completion` on success.
    bool createForReal(const std::function<void()> &completion = {}, SNError *error = nullptr);
    bool createWithDirectories(const QStringList &directories, SNError *error = nullptr);
    bool createExecutableWithDestinationDirectory(const QString &executablesFolder, const QString &appUrl,
                                                  const QString &profileFolder, SNError *error);
    // Creates every entry of bulkApps in turn; `callback` gets whether all of them were made.
    void create(bool duplicate, const std::function<void(bool)> &callback = {});

    // Profile seeding of the current definition (ProfileSeeder).
    std::optional<SNError> copyExctentions();
    void createProfiles();
    // Companion files of the bundle being made (CompanionInstaller).
    void copyExtension();
    void configureNativeMessaging();
    void writeRoutingDataJSON();
    // Whether the app loads the companion extension: the definition asks for routing, or the
    // user's AutoIncludeWhitelisting setting includes it in every app.
    bool includesCompanion() const;

    // The eight folders of a new bundle, in the order they are created.
    static QStringList newAppDirectories(const QString &applicationsFolder, const QString &appName);
    // Takes the bundle paths above from such a list.
    void setBundleDirectories(const QStringList &directories);

    // Creates the folders in order; stops with code 1 when something already exists at a path.
    bool makeNewAppDirectoriesWithDirectories(const QStringList &directories, SNError *error);
    // Writes Contents/Info.plist for the app.
    bool createPlistFileWithDestinationDirectory(const QString &contentsFolder, const QString &appName,
                                                 bool registerAsBrowser, SNError *error);
    // Writes icon.icns into the folder.
    bool convertImagesWithSourceImage(const SNImage &image, const QString &destinationFolder, SNError *error);

    // Writes "<appID>.config" for the current definition.
    bool saveAppConfig(const QString &appID);
    static QString imageData(const SNImage &image);

    // The engine executable the generator itself uses (see BrowserCatalogue::enginePathForGenerator).
    QString getCromePath() const;
    // The legacy whitelist patterns of the current definition's addresses.
    QStringList getWhiteListOptions() const;

    // The in-process engine route (EngineBuilder): an inner "<Browser>.app" in resourceDirectory
    // made of links into the browser and a rewritten copy of its resources. Each returns the
    // first error, or nothing on success.
    std::optional<SNError> createInternalApplication();
    std::optional<SNError> createSymlinkFromGoogleChrome(const QString &chromeContentsPath,
                                                         const QString &newContentsPath);
    std::optional<SNError> copyFilesFromChrome(const QString &chromeContentsPath, const QString &newContentsPath);
    std::optional<SNError> replaceChromeWithAppName(const QString &resourcesPath);

private:
    Context &m_context;
    AppDefinition m_definition;
};
