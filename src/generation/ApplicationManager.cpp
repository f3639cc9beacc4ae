#include "generation/ApplicationManager.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/SNAppTracker.h"
#include "core/SNImage.h"
#include "core/UserDefaults.h"
#include "generation/AppConfigFile.h"
#include "generation/BundleWriter.h"
#include "generation/EngineBuilder.h"
#include "generation/IconConverter.h"

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
    return BundleLayout::forApp(applicationsFolder, appName).directories();
}

bool ApplicationManager::makeNewAppDirectoriesWithDirectories(const QStringList &directories, SNError *error)
{
    return BundleWriter::makeDirectories(directories, error);
}

bool ApplicationManager::createPlistFileWithDestinationDirectory(const QString &contentsFolder,
                                                                 const QString &appName, bool registerAsBrowser,
                                                                 SNError *error)
{
    AppDefinition definition = m_definition;
    definition.appName = appName;
    definition.registerAsBrowser = registerAsBrowser;
    const BundleLayout layout = BundleLayout::atPath(QFileInfo(contentsFolder).path(), appName);
    return BundleWriter(m_context, definition, layout).writeInfoPlist(error);
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

bool ApplicationManager::includesCompanion() const
{
    return BundleWriter(m_context, m_definition, m_layout).includesCompanion();
}

std::optional<SNError> ApplicationManager::createInternalApplication()
{
    return EngineBuilder(m_context, m_definition, m_layout.resources).createInternalApplication();
}

QString ApplicationManager::fetchApplicationsPath()
{
    return AppCreator(m_context, m_definition).fetchApplicationsPath();
}

QString ApplicationManager::generateAppNmeFor(const SNBulkApp &entry)
{
    return AppCreator(m_context, m_definition).generateAppNmeFor(entry);
}

bool ApplicationManager::createForReal(const std::function<void()> &completion, SNError *error, bool numberIfTaken)
{
    AppCreator creator(m_context, m_definition, profileSource);
    const bool made = creator.createForReal(numberIfTaken, error);
    m_created = creator.created();
    m_layout = BundleLayout::forApp(m_definition.applicationsPath, m_definition.appName);
    if (made && completion)
        completion();
    return made;
}

bool ApplicationManager::createWithDirectories(const QStringList &directories, SNError *error)
{
    if (directories.isEmpty())
        return false;
    AppCreator creator(m_context, m_definition, profileSource);
    const bool made =
        creator.createAt(BundleLayout::atPath(directories.first(), QFileInfo(directories.first()).completeBaseName()),
                         error);
    m_created = creator.created();
    m_layout = BundleLayout::forApp(m_definition.applicationsPath, m_definition.appName);
    return made;
}

void ApplicationManager::create(bool duplicate, const std::function<void(bool)> &callback)
{
    AppCreator creator(m_context, m_definition, profileSource);
    const bool allMade = creator.createAll(
        bulkApps, duplicate,
        [&](qsizetype index, bool made) {
            m_created = creator.created();
            if (bulkProgress)
                bulkProgress(index, made);
        },
        &bulkInstalledApps);
    if (callback)
        callback(allMade);
}
