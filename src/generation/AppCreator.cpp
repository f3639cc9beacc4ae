#include "generation/AppCreator.h"

#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "core/ProcessRunner.h"
#include "core/Prompter.h"
#include "core/SNAppTracker.h"
#include "core/ShellEscaping.h"
#include "core/Trash.h"
#include "core/UserDefaults.h"
#include "generation/AppConfigFile.h"
#include "generation/ApplicationManager.h"
#include "generation/EngineBuilder.h"
#include "generation/LaunchProgramInstaller.h"
#include "generation/SNAppScriptHelper.h"
#include "generation/SNChromePrefsHelper.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <exception>

using namespace Qt::Literals::StringLiterals;

const QString AppCreator::ReplaceMessage = u"An App with this name already exists. Do you want to replace it?"_s;
const QString AppCreator::ReplaceInformativeText = u"The old App will be sent to the Trash."_s;
const QStringList AppCreator::ReplaceButtons{u"Replace App"_s, u"Cancel"_s};

namespace {

QString yesNo(bool value)
{
    return value ? u"YES"_s : u"NO"_s;
}

void fail(SNError *error, const SNError &value)
{
    if (error)
        *error = value;
}

} // namespace

AppCreator::AppCreator(ApplicationManager &manager)
    : m_manager(manager)
{
}

QString AppCreator::fetchApplicationsPath()
{
    AppDefinition &definition = m_manager.definition();
    if (definition.applicationsPath.isEmpty())
        definition.applicationsPath = m_manager.context().applicationsFolder();
    return definition.applicationsPath;
}

QString AppCreator::generateAppNmeFor(const SNBulkApp &entry)
{
    const QString folder = fetchApplicationsPath();
    const auto taken = [&](const QString &name) {
        const QFileInfo bundle(u"%1/%2.app"_s.arg(folder, name));
        return bundle.exists() || bundle.isSymLink();
    };
    QString name = entry.appName;
    for (int number = 1; taken(name); ++number)
        name = u"%1 %2"_s.arg(entry.appName).arg(number);
    return name;
}

bool AppCreator::createForReal(const std::function<void()> &completion, SNError *error)
{
    const QString name = m_manager.definition().appName;
    // Nothing is written for a name that cannot become a bundle and a script.
    if (!ShellEscaping::isAcceptableAppName(name)) {
        const SNError refused{1, SNAppScriptHelper::InvalidNameMessage};
        m_manager.context().prompter().showError(refused.description);
        fail(error, refused);
        return false;
    }
    const QStringList directories = ApplicationManager::newAppDirectories(fetchApplicationsPath(), name);
    m_manager.setBundleDirectories(directories);
    if (!createWithDirectories(directories, error))
        return false;
    if (completion)
        completion();
    return true;
}

bool AppCreator::replaceExistingApp(const QStringList &directories, SNError *error)
{
    const bool exists = std::any_of(directories.begin(), directories.end(), [](const QString &path) {
        const QFileInfo info(path);
        return info.exists() || info.isSymLink();
    });
    if (!exists)
        return true;
    Context &context = m_manager.context();
    if (context.prompter().ask(ReplaceMessage, ReplaceInformativeText, ReplaceButtons) != 0) {
        fail(error, {1, ReplaceMessage});
        return false;
    }
    const QString bundle = directories.first();
    QString reason;
    if (!context.trash().moveToTrash(bundle, nullptr, &reason)) {
        const SNError trashError{1, u"The old App could not be moved to the Trash: %1"_s.arg(reason)};
        context.prompter().showError(trashError.description);
        fail(error, trashError);
        return false;
    }
    SNAppTracker tracker(context);
    const QVariantMap records = tracker.getTracker();
    for (auto it = records.begin(); it != records.end(); ++it) {
        if (it.value().toMap().value(u"appPath"_s).toString() == bundle)
            tracker.deleteAppFromTracker(it.key());
    }
    return true;
}

bool AppCreator::createWithDirectories(const QStringList &directories, SNError *error)
{
    if (!replaceExistingApp(directories, error))
        return false;
    bool madeBundle = false;
    SNError stepError;
    if (creationSteps(directories, &madeBundle, &stepError))
        return true;
    m_manager.context().prompter().showError(stepError.description);
    // A half-made bundle is of no use and would block the next attempt. It was created by this
    // run, so nothing of the user's is in it.
    if (madeBundle)
        QDir(directories.first()).removeRecursively();
    fail(error, stepError);
    return false;
}

bool AppCreator::creationSteps(const QStringList &directories, bool *madeBundle, SNError *error)
{
    ApplicationManager &manager = m_manager;
    const AppDefinition &definition = manager.definition();
    if (!manager.makeNewAppDirectoriesWithDirectories(directories, error))
        return false;
    *madeBundle = true;
    Logger::log(u"New app directories successfully created."_s);

    if (!definition.appIcon.isNull()) {
        if (!manager.convertImagesWithSourceImage(definition.appIcon, manager.resourceDirectory, error))
            return false;
        Logger::log(u"Images successfully converted."_s);
    }

    QString reason;
    if (!AtomicWriter::write(manager.profileDirectory + u"/First Run"_s, QByteArray(), &reason)) {
        fail(error, {1, reason});
        return false;
    }

    if (!manager.createPlistFileWithDestinationDirectory(manager.contentsDirectory, definition.appName,
                                                         definition.registerAsBrowser, error))
        return false;
    Logger::log(u"Plist successfully created."_s);

    if (manager.preferenceJson)
        manager.copyExctentions(); // a partial extension copy does not stop creation

    if (!createExecutableWithDestinationDirectory(manager.execDirectory, definition.appURL,
                                                  manager.profileDirectory, error))
        return false;
    Logger::log(u"Executable successfully created."_s);

    manager.createProfiles();
    return true;
}

bool AppCreator::createExecutableWithDestinationDirectory(const QString &execDirectory, const QString &appUrl,
                                                          const QString &profileFolder, SNError *error)
{
    ApplicationManager &manager = m_manager;
    Context &context = manager.context();
    const AppDefinition &definition = manager.definition();
    const QString contents = QFileInfo(execDirectory).path();
    const QString bundle = QFileInfo(contents).path();
    const QString resources = contents + u"/Resources"_s;
    const QString scriptPath = resources + u"/script"_s;
    const QString uniqueID = QUuid::createUuid().toString(QUuid::WithoutBraces).toLower().remove(u'-');

    const BrowserInfo &browser = BrowserCatalogue::byNumber(definition.applicationType);
    const QString enginePath = SNAppScriptHelper::getBrowserPath(browser.typeKey, context.defaults());

    SNAppTracker tracker(context);
    const QString appID = tracker.addAppTracker(bundle).value(u"appID"_s).toString();
    // A creation that fails from here on leaves no record and no configuration behind.
    const auto failRegistered = [&](const SNError &value) {
        tracker.deleteAppFromTracker(appID);
        QFile::remove(AppConfigFile::path(tracker.getAppBundle(), appID));
        fail(error, value);
        return false;
    };

    SNScriptInputs inputs;
    inputs.appName = definition.appName;
    inputs.appURL = appUrl;
    inputs.needTab = definition.needTab;
    for (const SNTabModel &tab : definition.tabsList)
        inputs.tabsList.append(tab.tabUrlString);
    inputs.incognito = definition.incognito;
    inputs.forceDarkMode = definition.forceDarkMode;
    inputs.shouldIncludeWLExt = manager.includesCompanion();
    inputs.typeKey = browser.typeKey;
    inputs.trackerFragment = tracker.shellUpdateCode(appID);
    inputs.engineBrowserPath = SNAppScriptHelper::browserPathArgument(enginePath, Platform::isMac());
    QString scriptError;
    const QString script = SNAppScriptHelper::scriptText(inputs, &scriptError);
    if (script.isEmpty())
        return failRegistered({1, scriptError});
    if (!manager.saveAppConfig(appID))
        return failRegistered({1, u"The app's configuration could not be saved."_s});
    manager.copyExtension();
    manager.configureNativeMessaging();
    manager.writeRoutingDataJSON();
    if (!definition.accentColor.isEmpty())
        SNChromePrefsHelper::applyAccentColor(definition.accentColor, profileFolder);

    SNError installError;
    if (!LaunchProgramInstaller(context).installInto(bundle, definition.appName, &installError))
        return failRegistered(installError);

    QString reason;
    if (!AtomicWriter::write(scriptPath, script.toUtf8(), &reason)) {
        Logger::log(u"Error creating executable."_s);
        return failRegistered({1, reason});
    }
    Logger::log(u"Executable created successfully."_s);

    EngineBuilder::runEngineScript(context, resources, definition.appName, browser.typeKey);

    // 0777 as the generated scripts always had; signApp narrows the bundle to 0755 below.
    const bool permitted = QFile::setPermissions(scriptPath, QFile::Permissions(0x7777));
    Logger::log(permitted ? u"Permissions changed successfully."_s : u"Error changing permissions."_s);

    signApp(bundle);
    manager.createdBundlePath = bundle;
    manager.createdAppID = appID;
    manager.createdUniqueID = uniqueID;
    // Without the companion there is nothing to route, and the engine is not asked.
    manager.createdLinkRouting = inputs.shouldIncludeWLExt ? reportLinkRouting(browser, enginePath) : QString();
    return true;
}

QString AppCreator::reportLinkRouting(const BrowserInfo &browser, const QString &enginePath)
{
    const QString engine = browser.typeKey + u'\n' + enginePath;
    if (m_assessedEngine != engine) {
        m_engineVerdict = CompanionSupport(m_manager.context()).assess(browser, enginePath);
        m_assessedEngine = engine;
    }
    const QString warning = CompanionSupport::creationWarning(m_manager.definition().appName, m_engineVerdict);
    if (!warning.isEmpty())
        Logger::log(warning);
    return CompanionSupport::routingKey(m_engineVerdict.routing);
}

void AppCreator::signApp(const QString &bundlePath) const
{
    if (Platform::isMac()) {
        ProcessRunner &processes = m_manager.context().processes();
        processes.run(u"/usr/bin/xattr"_s, {u"-dr"_s, u"com.apple.FinderInfo"_s, bundlePath});
        processes.run(u"/usr/bin/xattr"_s, {u"-dr"_s, u"com.apple.ResourceFork"_s, bundlePath});
        processes.run(u"/usr/bin/xattr"_s, {u"-rd"_s, u"com.apple.quarantine"_s, bundlePath});
    }
    // What `chmod -R 755` does, without starting a process for it. Links are left alone: their
    // targets (the browser's engine) are not the bundle's.
    constexpr QFile::Permissions Mode755 = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                           QFile::ReadUser | QFile::WriteUser | QFile::ExeUser |
                                           QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    QFile::setPermissions(bundlePath, Mode755);
    QDirIterator it(bundlePath, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!it.fileInfo().isSymLink())
            QFile::setPermissions(path, Mode755);
    }
}

void AppCreator::copyIntoDefinition(const SNBulkApp &entry, bool duplicate)
{
    AppDefinition &definition = m_manager.definition();
    definition.appURL = entry.appURL;
    if (!entry.creationPath.isEmpty())
        definition.applicationsPath = entry.creationPath;
    definition.appName = duplicate ? generateAppNmeFor(entry) : entry.appName;
    definition.appIcon = entry.appIcon;
    definition.isWhitelistingEnabled = entry.whitelistingEnabled;
    definition.needTab = entry.tabbedApp || !entry.tabsList.isEmpty();
    definition.registerAsBrowser = entry.registerAsBrowser;
    definition.incognito = entry.incognito;
    definition.tabsList = entry.tabsList;
    definition.routingRules = entry.routingRules;
    definition.defaultDestination = entry.defaultDestination;
    definition.forceDarkMode = entry.forceDarkMode;
    definition.accentColor = entry.accentColor;
    definition.restoreSession = entry.restoreSession;
    definition.passwordManagerCompatibility = entry.passwordManagerCompatibility;
}

void AppCreator::create(bool duplicate, const std::function<void(bool)> &callback)
{
    AppDefinition &definition = m_manager.definition();
    Logger::log(u"🔍 SORVANE: Starting app creation (duplicate: %1)"_s.arg(yesNo(duplicate)));
    Logger::log(u"🔍 SORVANE: applicationType: %1"_s.arg(definition.applicationType));
    m_manager.bulkInstalledApps.clear();
    const QString defaultFolder = definition.applicationsPath;
    bool allMade = true;
    for (qsizetype index = 0; index < m_manager.bulkApps.size(); ++index) {
        const SNBulkApp &entry = m_manager.bulkApps.at(index);
        Logger::log(u"🔍 SORVANE: Processing app: %1"_s.arg(entry.appName));
        bool made = false;
        m_manager.createdBundlePath.clear();
        m_manager.createdAppID.clear();
        m_manager.createdUniqueID.clear();
        m_manager.createdLinkRouting.clear();
        try {
            definition.applicationsPath = defaultFolder;
            copyIntoDefinition(entry, duplicate);
            Logger::log(u"🔍 SORVANE: App configuration: needTab=%1, incognito=%2, applicationType=%3"_s.arg(
                yesNo(definition.needTab), yesNo(definition.incognito)).arg(definition.applicationType));
            Logger::log(u"🔍 SORVANE: SNBulkApp.incognito: %1"_s.arg(yesNo(entry.incognito)));
            Logger::log(u"🔍 SORVANE: self.incognito: %1"_s.arg(yesNo(definition.incognito)));
            Logger::log(u"🔍 SORVANE: needTab before logic: %1"_s.arg(yesNo(definition.needTab)));
            if (definition.incognito && !definition.needTab) {
                definition.needTab = true;
                Logger::log(u"🔍 SORVANE: Forcing needTab=YES due to incognito mode"_s);
            }
            if (definition.needTab && definition.tabsList.isEmpty())
                definition.tabsList.append(SNTabModel{definition.appURL});
            Logger::log(u"🔍 SORVANE: needTab after logic: %1"_s.arg(yesNo(definition.needTab)));
            Logger::log(u"🔍 SORVANE: Calling createForReal..."_s);
            SNError error;
            made = createForReal({}, &error);
            if (made) {
                m_manager.bulkInstalledApps.append(entry);
                m_manager.bulkInstalledApps.last().appName = definition.appName;
                Logger::log(u"🔍 SORVANE: App creation successful for: %1"_s.arg(entry.appName));
            } else {
                allMade = false;
                Logger::log(u"🔍 SORVANE: App creation failed for: %1"_s.arg(entry.appName));
            }
        } catch (const std::exception &exception) {
            allMade = false;
            Logger::log(u"🔍 SORVANE: Exception during app creation: %1 - %2"_s.arg(
                entry.appName, QString::fromLocal8Bit(exception.what())));
            Logger::log(u"🔍 SORVANE: App details: %1, needTab: %2, applicationType: %3"_s.arg(
                entry.appName, yesNo(definition.needTab)).arg(definition.applicationType));
        }
        if (m_manager.bulkProgress)
            m_manager.bulkProgress(index, made);
    }
    definition.applicationsPath = defaultFolder;
    Logger::log(u"🔍 SORVANE: App creation complete. Result: %1"_s.arg(allMade ? u"SUCCESS"_s : u"FAILURE"_s));
    if (callback)
        callback(allMade);
}
