#include "generation/BundleWriter.h"

#include "companion/CompanionInstaller.h"
#include "companion/SNRoutingConfig.h"
#include "companion/SNWhiteListPatterns.h"
#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Constants.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "core/EngineSwitches.h"
#include "core/LetterIcon.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "core/ProcessRunner.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "generation/AppConfigFile.h"
#include "generation/EngineBuilder.h"
#include "generation/IconConverter.h"
#include "generation/LaunchProgramInstaller.h"
#include "generation/SNAppScriptHelper.h"
#include "generation/SNChromePrefsHelper.h"
#include "generation/SNPlistHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

// The drawn icon of an app without one: the largest size the icon file holds by default.
constexpr int LetterIconSide = 512;

bool fail(QString *error, const QString &description)
{
    if (error)
        *error = description;
    return false;
}

} // namespace

BundleWriter::BundleWriter(Context &context, const AppDefinition &definition, const BundleLayout &layout,
                           const BundleLayout &installed)
    : m_context(context), m_definition(definition), m_layout(layout), m_installed(installed)
{
}

bool BundleWriter::makeDirectories(QString *error) const
{
    // A staged bundle's first folder is the empty staging folder made for it.
    return makeDirectories(m_layout.directories(), error, m_layout.bundle != m_installed.bundle);
}

bool BundleWriter::makeDirectories(const QStringList &directories, QString *error, bool emptyFirst)
{
    for (qsizetype i = 0; i < directories.size(); ++i) {
        const QString &directory = directories.at(i);
        const QFileInfo info(directory);
        const bool made = i == 0 && emptyFirst && info.isDir() && !info.isSymLink() &&
                          QDir(directory).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
        if ((info.exists() || info.isSymLink()) && !made) {
            Logger::log(u"File already exists at that path."_s);
            return fail(error, u"Application already exists with that name."_s);
        }
        if (!made && !QDir().mkpath(directory)) {
            Logger::log(u"Error creating new directory:%1"_s.arg(directory));
            return fail(error, u"The folder %1 could not be created."_s.arg(directory));
        }
        Logger::log(u"New directory created successfully."_s);
    }
    return true;
}

bool BundleWriter::writeIcon(QString *error) const
{
    const SNImage icon = m_definition.appIcon.isNull()
                             ? SNImage({LetterIcon::draw(m_definition.appName, LetterIconSide)})
                             : m_definition.appIcon;
    return IconConverter::convertImagesWithSourceImage(icon, m_layout.resources, error);
}

bool BundleWriter::writeFirstRunMarker(QString *error) const
{
    QString reason;
    if (!AtomicWriter::write(m_layout.profile + u"/First Run"_s, QByteArray(), &reason))
        return fail(error, reason);
    const QVariant storePage = m_context.defaults().value(Constants::StorePageOnFirstStartKey);
    if (!storePage.isValid() || UserDefaults::toBool(storePage))
        return true;
    return AtomicWriter::write(m_layout.profile + u"/First Launch Complete"_s, QByteArray(), &reason) ||
           fail(error, reason);
}

bool BundleWriter::writeInfoPlist(QString *error) const
{
    QVariantMap info = PropertyList::readFile(m_layout.infoPlist()).toMap();
    // Keys earlier versions wrote that the generator no longer wants.
    for (const char *key : {"LSUIElement", "NSSupportsAutomaticTermination", "NSSupportsSuddenTermination",
                            "CFBundleIcons", "CFBundleIcons~mac", "CFBundleIconName", "CFBundleIconFiles",
                            "NSUserActivityTypes", "CFBundleURLTypes", "CFBundleDocumentTypes",
                            "SorvanePasswordManagerCompatibility"})
        info.remove(QLatin1String(key));
    const QVariantMap fresh = SNPlistHelper::infoDictionary(m_definition.appName, m_definition.registerAsBrowser,
                                                            m_definition.passwordManagerCompatibility,
                                                            m_context.version(), m_context.bundleIdentifier());
    for (auto it = fresh.cbegin(); it != fresh.cend(); ++it)
        info.insert(it.key(), it.value());
    QString reason;
    const QByteArray xml = PropertyList::toXml(info, &reason);
    if (xml.isEmpty())
        return fail(error, reason);
    const bool written = AtomicWriter::write(m_layout.infoPlist(), xml, &reason);
    Logger::log(written ? u"Plist created successfully."_s : u"Error creating Plist."_s);
    return written || fail(error, reason);
}

QString BundleWriter::scriptText(const QString &appID, QString *error) const
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(m_definition.applicationType);
    SNScriptInputs inputs;
    inputs.appName = m_definition.appName;
    inputs.appURL = m_definition.appURL;
    inputs.needTab = m_definition.needTab;
    for (const TabAddress &tab : m_definition.tabsList)
        inputs.tabsList.append(tab.tabUrlString);
    inputs.incognito = m_definition.incognito;
    inputs.forceDarkMode = m_definition.forceDarkMode;
    inputs.shouldIncludeWLExt = includesCompanion();
    inputs.typeKey = browser.typeKey;
    inputs.trackerFragment = SNAppTracker(m_context).shellUpdateCode(appID);
    if (!Platform::isMac())
        inputs.windowClass = DesktopEntries::windowClass(appID);
    inputs.engineSwitches = EngineSwitches::defaults(m_context.defaults()) + m_definition.engineSwitches;
    const QString enginePath = SNAppScriptHelper::getBrowserPath(browser.typeKey, m_context.defaults());
    inputs.engineBrowserPath = SNAppScriptHelper::browserPathArgument(enginePath, Platform::isMac());
    if (inputs.shouldIncludeWLExt) {
        inputs.companionThroughPipe = m_engineVerdict ? CompanionSupport::loadsThroughPipe(browser, *m_engineVerdict)
                                                      : CompanionSupport(m_context).loadsThroughPipe(browser, enginePath);
    }
    return SNAppScriptHelper::scriptText(inputs, error);
}

bool BundleWriter::writeScript(const QString &text, QString *error) const
{
    QString reason;
    if (!AtomicWriter::write(m_layout.script(), text.toUtf8(), &reason)) {
        Logger::log(u"Error creating executable."_s);
        return fail(error, reason);
    }
    Logger::log(u"Executable created successfully."_s);
    return true;
}

bool BundleWriter::writeCompanionFiles(QString *error) const
{
    const CompanionInstaller installer(m_context);
    QStringList reasons;
    QString reason;
    if (!installer.copyExtensionFiles(m_layout.resources, &reason))
        reasons.append(reason);
    if (!installer.configureNativeMessaging(m_layout.profile, m_layout.resources, m_installed.resources, &reason))
        reasons.append(reason);
    QString dataError;
    if (!writeDataJSON(&dataError))
        reasons.append(dataError);
    return reasons.isEmpty() || fail(error, reasons.join(u' '));
}

bool BundleWriter::writeDataJSON(QString *error) const
{
    const QVariant destination =
        m_definition.defaultDestination ? QVariant(*m_definition.defaultDestination) : QVariant();
    QString reason;
    return CompanionInstaller(m_context).writeRoutingDataJSON(
               m_layout.resources,
               SNRoutingConfig::dataJSONDictionaryWithRules(m_definition.routingRules, destination,
                                                            m_definition.isWhitelistingEnabled,
                                                            m_definition.restoreSession, whiteListOptions()),
               &reason) ||
           fail(error, reason);
}

bool BundleWriter::writeConfiguration(const QString &path, const QVariantMap &earlier, QString *error) const
{
    QString reason;
    if (AppConfigFile::write(path, m_definition, &reason, earlier))
        return true;
    Logger::log(u"Error saving app config: %1"_s.arg(reason));
    return fail(error, u"The app's configuration could not be saved. %1"_s.arg(reason));
}

void BundleWriter::refreshMenuEntry(const QString &appID) const
{
    DesktopEntries(m_context).refreshAppEntry(appID, m_installed.bundle);
}

bool BundleWriter::applyAccentColor(QString *error) const
{
    QString reason;
    if (m_definition.accentColor.isEmpty() ||
        SNChromePrefsHelper::applyAccentColor(m_definition.accentColor, m_layout.profile, &reason))
        return true;
    return fail(error, reason);
}

bool BundleWriter::installLaunchPrograms(QString *error) const
{
    return LaunchProgramInstaller(m_context).installInto(m_layout.bundle, m_definition.appName, error);
}

bool BundleWriter::buildEngine() const
{
    return EngineBuilder::runEngineScript(m_context, m_layout.resources, m_definition.appName,
                                          BrowserCatalogue::byNumber(m_definition.applicationType).typeKey);
}

void BundleWriter::setPermissions() const
{
    // 0777 as the generated scripts always had; the pass below narrows the bundle to 0755.
    const bool permitted = QFile::setPermissions(m_layout.script(), QFile::Permissions(0x7777));
    Logger::log(permitted ? u"Permissions changed successfully."_s : u"Error changing permissions."_s);
    const QString bundle = m_layout.bundle;
    if (Platform::isMac()) {
        ProcessRunner &processes = m_context.processes();
        processes.run(u"/usr/bin/xattr"_s, {u"-dr"_s, u"com.apple.FinderInfo"_s, bundle});
        processes.run(u"/usr/bin/xattr"_s, {u"-dr"_s, u"com.apple.ResourceFork"_s, bundle});
        processes.run(u"/usr/bin/xattr"_s, {u"-rd"_s, u"com.apple.quarantine"_s, bundle});
    }
    // What `chmod -R 755` does, without starting a process for it, except in the profile: that is
    // the engine's, and a regeneration leaves it as it was (so are the copies kept of it when the
    // app changed engines, "Profile.<engine>.backup"). Links are left alone: their targets (the
    // browser's engine) are not the bundle's.
    constexpr QFile::Permissions Mode755 = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                           QFile::ReadUser | QFile::WriteUser | QFile::ExeUser |
                                           QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
    QFile::setPermissions(bundle, Mode755);
    QStringList folders{bundle};
    while (!folders.isEmpty()) {
        const QFileInfoList entries = QDir(folders.takeLast())
                                          .entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden |
                                                         QDir::System);
        for (const QFileInfo &entry : entries) {
            if (entry.isSymLink() || entry.filePath() == m_layout.profile ||
                entry.filePath().startsWith(m_layout.profile + u'.'))
                continue;
            QFile::setPermissions(entry.filePath(), Mode755);
            if (entry.isDir())
                folders.append(entry.filePath());
        }
    }
}

bool BundleWriter::includesCompanion() const
{
    if (m_companionIncluded)
        return *m_companionIncluded;
    return m_definition.isWhitelistingEnabled || !m_definition.routingRules.isEmpty() ||
           m_definition.defaultDestination.has_value() ||
           m_context.defaults().boolForKey(u"AutoIncludeWhitelisting"_s);
}

QStringList BundleWriter::whiteListOptions() const
{
    QStringList addresses;
    if (m_definition.needTab && !m_definition.tabsList.isEmpty()) {
        for (const TabAddress &tab : m_definition.tabsList)
            addresses.append(tab.tabUrlString);
    } else {
        addresses.append(m_definition.appURL);
    }
    return SNWhiteListPatterns::legacyPatterns(addresses, false);
}
