#include "maintenance/SNUpdaterHelper.h"

#include "core/AppLock.h"
#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Constants.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "core/EngineWatch.h"
#include "core/LaunchServices.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "core/ProcessRunner.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "generation/AppConfigFile.h"
#include "generation/BundleWriter.h"
#include "generation/EngineBuilder.h"
#include "generation/SNPlistHelper.h"
#include "maintenance/AppScriptReader.h"
#include "maintenance/StagedUpdate.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

const QString SNUpdaterHelper::LegacyExtensionFolder = Constants::LegacyCompanionFolderName;

namespace {

QString appNameOf(const QString &bundlePath)
{
    QString name = QFileInfo(bundlePath).fileName();
    if (name.endsWith(u".app"_s))
        name.chop(4);
    return name;
}

// CFBundleExecutable, else the first entry of Contents/MacOS that is not a link (the engine is).
QString executableName(const QString &bundlePath, const QVariantMap &plist)
{
    const QString named = plist.value(u"CFBundleExecutable"_s).toString();
    if (!named.isEmpty())
        return named;
    const QFileInfoList entries = QDir(bundlePath + u"/Contents/MacOS"_s)
                                      .entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                                                     QDir::Name);
    for (const QFileInfo &entry : entries) {
        if (!entry.isSymLink())
            return entry.fileName();
    }
    return {};
}

// The registry id of the app: the script's (registered again when its record is gone), else that
// of the record naming the bundle, else a new record (an app made before the registry existed).
QString registryId(Context &context, const QString &bundlePath, const QVariantMap &info, QString *error)
{
    const QString fromScript = info.value(u"appID"_s).toString();
    SNAppTracker tracker(context);
    const QVariantMap records = tracker.getTracker();
    if (!fromScript.isEmpty()) {
        // An app put back from the Trash, or whose record was lost, is registered again.
        if (!records.contains(fromScript) && !tracker.updateAppTracker(fromScript, bundlePath, error))
            return {};
        return fromScript;
    }
    if (const QString known = tracker.idForBundle(bundlePath); !known.isEmpty())
        return known;
    return tracker.addAppTracker(bundlePath, error).value(u"appID"_s).toString();
}

} // namespace

QString SNUpdaterHelper::scriptPath(const QString &bundlePath)
{
    const QString script = bundlePath + u"/Contents/Resources/script"_s;
    if (QFileInfo(script).isFile())
        return script;
    const QString older = bundlePath + u"/Contents/MacOS/"_s + appNameOf(bundlePath);
    return QFileInfo(older).isFile() ? older : QString();
}

std::optional<QVariantMap> SNUpdaterHelper::appInfo(const QString &bundlePath)
{
    QFile file(scriptPath(bundlePath));
    if (file.fileName().isEmpty() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return AppScriptReader::appInfo(appNameOf(bundlePath), QString::fromUtf8(file.readAll()));
}

bool SNUpdaterHelper::isSorvaneBundle(const QVariantMap &plist)
{
    return plist.value(u"CFBundleIdentifier"_s).toString().startsWith(u"com.Ondrel.Sorvane"_s) ||
           plist.value(u"SorvaneApp"_s).toBool();
}

bool SNUpdaterHelper::isEngineRunning(const QString &bundlePath)
{
    const QString executable =
        executableName(bundlePath, PropertyList::readFile(bundlePath + u"/Contents/Info.plist"_s).toMap());
    const QString engine = BundleLayout::engineName(executable.isEmpty() ? appNameOf(bundlePath) : executable);
    return EngineWatch(QFile::encodeName(bundlePath).toStdString(), QFile::encodeName(engine).toStdString())
        .engineRunning();
}

AppDefinition SNUpdaterHelper::definitionForApp(Context &context, const QString &appName, const QVariantMap &info)
{
    AppDefinition definition;
    const QString appID = info.value(u"appID"_s).toString();
    if (!appID.isEmpty()) {
        if (std::optional<AppDefinition> stored =
                AppConfigFile::read(AppConfigFile::path(SNAppTracker(context).getAppBundle(), appID)))
            definition = *stored;
    }
    definition.appName = appName;
    definition.appURL = info.value(u"appURL"_s).toString();
    definition.needTab = info.value(u"isTabs"_s).toBool();
    definition.tabsList.clear();
    for (const QString &tab : info.value(u"tabs"_s).toStringList())
        definition.tabsList.append(TabAddress(tab));
    definition.incognito = info.value(u"incognito"_s).toBool();
    definition.applicationType = BrowserCatalogue::numberForTypeKey(info.value(u"browserType"_s).toString());
    return definition;
}

bool SNUpdaterHelper::updateApp(Context &context, const QString &bundlePath, QString *error)
{
    const std::optional<QVariantMap> read = appInfo(bundlePath);
    if (!read)
        return Logger::fail(error, u"Cannot update %1: it has no readable launcher script"_s.arg(bundlePath));
    QVariantMap info = *read;

    const QString plistPath = bundlePath + u"/Contents/Info.plist"_s;
    QVariantMap plist = PropertyList::readFile(plistPath).toMap();
    if (!isSorvaneBundle(plist))
        return Logger::fail(error, u"Cannot update %1: it was not made by Sorvane"_s.arg(bundlePath));
    const QString executable = executableName(bundlePath, plist);
    if (executable.isEmpty() || executable.contains(u'/'))
        return Logger::fail(error, u"Cannot update %1: it has no launch program"_s.arg(bundlePath));

    QString reason;
    const QString appID = registryId(context, bundlePath, info, &reason);
    if (appID.isEmpty())
        return Logger::fail(error, u"Cannot update %1: %2"_s.arg(bundlePath, reason));
    info.insert(u"appID"_s, appID);
    // One change of an app at a time, across Sorvane's processes.
    const AppLock lock(context, appID);
    if (!lock.isLocked())
        return Logger::fail(error, lock.errorString());
    // Checked under the lock: the app may have been deleted or renamed while this waited, and
    // files of a running engine are not replaced under it.
    if (!QFileInfo(plistPath).isFile() || !isSorvaneBundle(PropertyList::readFile(plistPath).toMap()))
        return Logger::fail(error, u"Cannot update %1: it was moved or deleted meanwhile"_s.arg(bundlePath));
    if (isEngineRunning(bundlePath))
        return Logger::fail(error, u"Not updating %1: the app is running; quit it and update again"_s.arg(bundlePath));

    AppDefinition definition = definitionForApp(context, executable, info);
    // Whether it is offered as a browser, and to password managers, is the app's own.
    definition.registerAsBrowser = plist.contains(u"CFBundleURLTypes"_s);
    definition.passwordManagerCompatibility = plist.value(u"SorvanePasswordManagerCompatibility"_s).toBool();
    // The script read back names the same engine before and after: the configuration agrees with
    // the old bundle as with the new one, so it is written first.
    if (!preserveBrowserTypeForApp(context, bundlePath, info, &reason))
        return Logger::fail(error, u"Cannot update %1: %2"_s.arg(bundlePath, reason));
    const BundleLayout layout = BundleLayout::atPath(bundlePath, executable);
    const bool companion = info.value(u"shouldIncludeWLExt"_s).toBool();
    const auto write = [&](const BundleLayout &staged, QString *failure) {
        BundleWriter writer(context, definition, staged, layout);
        writer.setCompanionIncluded(companion);
        QString installError;
        if (!writer.writeInfoPlist(&installError))
            return Logger::fail(failure, u"Cannot update %1: %2"_s.arg(plistPath, installError));
        QString refused;
        const QString script = writer.scriptText(appID, &refused);
        if (script.isEmpty())
            return Logger::fail(failure, u"Error updating executable. %1"_s.arg(refused));
        if (!writer.writeCompanionFiles(&installError))
            return Logger::fail(failure, u"Cannot update %1: %2"_s.arg(bundlePath, installError));
        if (!writer.installLaunchPrograms(&installError))
            return Logger::fail(failure, u"Cannot update %1: %2"_s.arg(bundlePath, installError));
        const QString innerApp = staged.resources + u"/InnerApp.app"_s;
        if (QFileInfo(innerApp).isDir() && !QFileInfo(innerApp).isSymLink())
            QDir(innerApp).removeRecursively();
        if (!writer.writeScript(script, &installError))
            return Logger::fail(failure, u"Error updating executable. %1"_s.arg(installError));
        EngineBuilder::runEngineScript(context, staged.resources, executable,
                                       BrowserCatalogue::byNumber(definition.applicationType).typeKey,
                                       u"Warning: engine creation during update exited with status %1"_s);
        writer.setPermissions();
        return true;
    };
    if (!StagedUpdate::run(context, appID, layout, write, error))
        return false;
    clearAttr(context, bundlePath);
    Logger::log(u"Executable updated successfully."_s);
    refreshLaunchServicesRegistration(bundlePath);
    BundleWriter(context, definition, layout).refreshMenuEntry(appID);
    return true;
}

bool SNUpdaterHelper::preserveBrowserTypeForApp(Context &context, const QString &bundlePath, const QVariantMap &info,
                                                QString *error)
{
    SNAppTracker tracker(context);
    const QString appID = tracker.idForBundle(bundlePath);
    if (appID.isEmpty()) {
        Logger::log(u"Could not find app ID for path: %1"_s.arg(bundlePath));
        return true;
    }
    const QString browserType = info.value(u"browserType"_s).toString();
    const QString path = AppConfigFile::path(tracker.getAppBundle(), appID);
    const QVariantMap config = PropertyList::readFile(path).toMap();
    if (config.isEmpty() || browserType.isEmpty())
        return true;
    AppDefinition definition = AppConfigFile::definitionFromDictionary(config);
    definition.applicationType = BrowserCatalogue::numberForTypeKey(browserType);
    if (!AppConfigFile::write(path, definition, error, config))
        return false;
    Logger::log(u"Preserved browser type '%1' for app: %2"_s.arg(browserType, bundlePath));
    return true;
}

bool SNUpdaterHelper::refreshLaunchServicesRegistration(const QString &bundlePath)
{
    return LaunchServices::refreshRegistration(bundlePath);
}

void SNUpdaterHelper::clearAttr(Context &context, const QString &bundlePath)
{
    if (Platform::isMac())
        context.processes().run(u"/usr/bin/xattr"_s, {u"-rd"_s, u"com.apple.quarantine"_s, bundlePath});
}

int SNUpdaterHelper::updateSorvaneExtensionPath(Context &context)
{
    const QVariantMap records = SNAppTracker(context).getTracker();
    QSet<QString> seen;
    int updated = 0;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const QString path = it.value().toMap().value(u"appPath"_s).toString();
        if (path.isEmpty() || seen.contains(path))
            continue;
        seen.insert(path);
        const std::optional<QVariantMap> info = appInfo(path);
        if (!info || info->value(u"appName"_s).toString().isEmpty())
            continue;
        const QDir resources(path + u"/Contents/Resources"_s);
        if (!resources.exists()) {
            Logger::log(u"An error occurred while getting directory contents: %1"_s.arg(
                u"The folder %1 does not exist."_s.arg(resources.path())));
            continue;
        }
        bool legacy = false;
        for (const QFileInfo &entry : resources.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden)) {
            Logger::log(entry.fileName());
            legacy = legacy || entry.fileName().contains(LegacyExtensionFolder);
        }
        if (legacy && updateApp(context, path))
            ++updated;
    }
    return updated;
}
