#pragma once

#include "core/AppDefinition.h"
#include "core/SNError.h"

#include <QString>
#include <QStringList>

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
