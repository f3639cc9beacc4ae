#include "generation/ApplicationManager.h"

#include "companion/CompanionInstaller.h"
#include "companion/SNRoutingConfig.h"
#include "companion/SNWhiteListPatterns.h"
#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/SNImage.h"
#include "core/UserDefaults.h"
#include "generation/AppConfigFile.h"
#include "generation/AppCreator.h"
#include "generation/EngineBuilder.h"
#include "generation/IconConverter.h"
#include "generation/SNPlistHelper.h"

#include <QDir>
#include <QFileInfo>

ApplicationManager::ApplicationManager(Context &context)
    : m_context(context)
{
}

ApplicationManager::~ApplicationManager() = default;

ApplicationManager &ApplicationManager::sharedManager()
{
    static ApplicationManager manager(Context::shared());
    return manager;
}

QStringList ApplicationManager::newAppDirectories(const QString &applicationsFolder, const QString &appName)
{
    const QString bundle = QStringLiteral("%1/%2.app").arg(applicationsFolder, appName);
    const QString profile = bundle + QStringLiteral("/Contents/Profile");
    const QString defaultUser = profile + QStringLiteral("/Default");
    return {
        bundle,
        bundle + QStringLiteral("/Contents/Resources"),
        bundle + QStringLiteral("/Contents/MacOS"),
        profile,
        defaultUser,
        defaultUser + QStringLiteral("/Extensions"),
        defaultUser + QStringLiteral("/IndexedDB"),
        defaultUser + QStringLiteral("/Local Storage"),
    };
}

void ApplicationManager::setBundleDirectories(const QStringList &directories)
{
    if (directories.size() < 6)
        return;
    contentsDirectory = directories[0] + QStringLiteral("/Contents");
    resourceDirectory = directories[1];
    execDirectory = directories[2];
    profileDirectory = directories[3];
    defaultUserDirectory = directories[4];
    extentionsDirectory = directories[5];
}

bool ApplicationManager::makeNewAppDirectoriesWithDirectories(const QStringList &directories, SNError *error)
{
    for (const QString &directory : directories) {
        const QFileInfo info(directory);
        if (info.exists() || info.isSymLink()) {
            Logger::log(QStringLiteral("File already exists at that path."));
            if (error)
                *error = {1, QStringLiteral("Application already exists with that name.")};
            return false;
        }
        if (!QDir().mkpath(directory)) {
            Logger::log(QStringLiteral("Error creating new directory:%1").arg(directory));
            if (error)
                *error = {1, QStringLiteral("The folder %1 could not be created.").arg(directory)};
            return false;
        }
        Logger::log(QStringLiteral("New directory created successfully."));
    }
    return true;
}

bool ApplicationManager::createPlistFileWithDestinationDirectory(const QString &contentsFolder,
                                                                 const QString &appName, bool registerAsBrowser,
                                                                 SNError *error)
{
    const QVariantMap info = SNPlistHelper::infoDictionary(appName, registerAsBrowser,
                                                           m_definition.passwordManagerCompatibility,
                                                           m_context.version(), m_context.bundleIdentifier());
    QString reason;
    const QByteArray xml = PropertyList::toXml(info, &reason);
    if (xml.isEmpty()) {
        if (error)
            *error = {1, reason};
        return false;
    }
    QString writeError;
    const bool written = AtomicWriter::write(contentsFolder + QStringLiteral("/Info.plist"), xml, &writeError);
    Logger::log(written ? QStringLiteral("Plist created successfully.") : QStringLiteral("Error creating Plist."));
    if (!written && error)
        *error = {1, writeError};
    return written;
}

bool ApplicationManager::convertImagesWithSourceImage(const SNImage &image, const QString &destinationFolder,
                                                      SNError *error)
{
    return IconConverter::convertImagesWithSourceImage(image, destinationFolder, error);
}

bool ApplicationManager::saveAppConfig(const QString &appID)
{
    const QString folder = SNAppTracker(m_context).getAppBundle();
    QString error;
    if (!AppConfigFile::write(AppConfigFile::path(folder, appID), m_definition, &error)) {
        Logger::log(QStringLiteral("Error saving app config: %1").arg(error));
        return false;
    }
    return true;
}

QString ApplicationManager::imageData(const SNImage &image)
{
    return SNImage::imageData(image);
}

QString ApplicationManager::getCromePath() const
{
    return BrowserCatalogue::enginePathForGenerator(m_definition.applicationType, m_context.defaults());
}

QStringList ApplicationManager::getWhiteListOptions() const
{
    QStringList addresses;
    if (m_definition.needTab && !m_definition.tabsList.isEmpty()) {
        for (const SNTabModel &tab : m_definition.tabsList)
            addresses.append(tab.tabUrlString);
    } else {
        addresses.append(m_definition.appURL);
    }
    return SNWhiteListPatterns::legacyPatterns(addresses, false);
}

std::optional<SNError> ApplicationManager::createInternalApplication()
{
    return EngineBuilder(*this).createInternalApplication();
}

std::optional<SNError> ApplicationManager::createSymlinkFromGoogleChrome(const QString &chromeContentsPath,
                                                                         const QString &newContentsPath)
{
    return EngineBuilder(*this).createSymlinkFromGoogleChrome(chromeContentsPath, newContentsPath);
}

std::optional<SNError> ApplicationManager::copyFilesFromChrome(const QString &chromeContentsPath,
                                                               const QString &newContentsPath)
{
    return EngineBuilder(*this).copyFilesFromChrome(chromeContentsPath, newContentsPath);
}

std::optional<SNError> ApplicationManager::replaceChromeWithAppName(const QString &resourcesPath)
{
    return EngineBuilder(*this).replaceChromeWithAppName(resourcesPath);
}

QString ApplicationManager::fetchApplicationsPath()
{
    return AppCreator(*this).fetchApplicationsPath();
}

QString ApplicationManager::generateAppNmeFor(const SNBulkApp &entry)
{
    return AppCreator(*this).generateAppNmeFor(entry);
}

bool ApplicationManager::createForReal(const std::function<void()> &completion, SNError *error)
{
    return AppCreator(*this).createForReal(completion, error);
}

bool ApplicationManager::createWithDirectories(const QStringList &directories, SNError *error)
{
    return AppCreator(*this).createWithDirectories(directories, error);
}

bool ApplicationManager::createExecutableWithDestinationDirectory(const QString &executablesFolder,
                                                                  const QString &appUrl,
                                                                  const QString &profileFolder, SNError *error)
{
    return AppCreator(*this).createExecutableWithDestinationDirectory(executablesFolder, appUrl, profileFolder, error);
}

void ApplicationManager::create(bool duplicate, const std::function<void(bool)> &callback)
{
    AppCreator(*this).create(duplicate, callback);
}

std::optional<SNError> ApplicationManager::copyExctentions()
{
    if (!preferenceJson)
        return std::nullopt;
    const ProfileSeeder seeder(m_context, BrowserCatalogue::byNumber(m_definition.applicationType).typeKey);
    return seeder.copyExctentions(*preferenceJson, m_definition.currentProfileKey, defaultUserDirectory);
}

void ApplicationManager::createProfiles()
{
    const ProfileSeeder seeder(m_context, BrowserCatalogue::byNumber(m_definition.applicationType).typeKey);
    seeder.createProfiles(usersArray, profileDirectory);
}

void ApplicationManager::copyExtension()
{
    CompanionInstaller(m_context).copyExtensionFiles(resourceDirectory);
}

void ApplicationManager::configureNativeMessaging()
{
    CompanionInstaller(m_context).configureNativeMessaging(profileDirectory, resourceDirectory);
}

void ApplicationManager::writeRoutingDataJSON()
{
    const QVariant destination =
        m_definition.defaultDestination ? QVariant(*m_definition.defaultDestination) : QVariant();
    const QVariantMap data = SNRoutingConfig::dataJSONDictionaryWithRules(
        m_definition.routingRules, destination, m_definition.isWhitelistingEnabled, m_definition.restoreSession,
        getWhiteListOptions());
    CompanionInstaller(m_context).writeRoutingDataJSON(resourceDirectory, data);
}

bool ApplicationManager::includesCompanion() const
{
    return m_definition.isWhitelistingEnabled || !m_definition.routingRules.isEmpty() ||
           m_definition.defaultDestination.has_value() ||
           m_context.defaults().boolForKey(QStringLiteral("AutoIncludeWhitelisting"));
}
