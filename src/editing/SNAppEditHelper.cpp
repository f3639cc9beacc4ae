#include "editing/SNAppEditHelper.h"

#include "companion/CompanionInstaller.h"
#include "companion/SNRoutingConfig.h"
#include "companion/SNWhiteListPatterns.h"
#include "core/AppNameRule.h"
#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/ExclusiveRename.h"
#include "core/LaunchServices.h"
#include "core/Logger.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "generation/AppConfigFile.h"
#include "generation/BundleLayout.h"
#include "generation/BundleWriter.h"
#include "generation/IconConverter.h"
#include "generation/SNChromePrefsHelper.h"
#include "generation/SNPlistHelper.h"
#include "maintenance/AppScriptReader.h"

#include <QDateTime>
#include <QDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <QFile>
#include <QFileInfo>
#include <QStringConverter>

#include <filesystem>

using namespace Qt::Literals::StringLiterals;

const QString SNAppEditHelper::InvalidNameMessage = u"Invalid Application Name. Please correct the name."_s;

namespace {

const QString ExecLinePrefix = u"exec \"$PWD\""_s;
const QString ExecSplitter = u"--no-sandbox --test-type  --args "_s;

QString readUtf8(const QString &path, bool *ok = nullptr)
{
    QFile file(path);
    const bool opened = file.open(QIODevice::ReadOnly);
    if (ok)
        *ok = opened;
    return opened ? QString::fromUtf8(file.readAll()) : QString();
}

bool writeUtf8(const QString &path, const QString &text, QString *error)
{
    QString reason;
    if (!AtomicWriter::write(path, text.toUtf8(), &reason))
        return Logger::fail(error, u"Could not write %1: %2"_s.arg(path, reason));
    return true;
}

// The file system entry itself, a dangling link included.
bool entryExists(const QString &path)
{
    std::error_code code;
    return std::filesystem::exists(std::filesystem::symlink_status(QFile::encodeName(path).toStdString(), code));
}

// Moves a file, folder or link only when nothing is at `to`.
bool moveEntry(const QString &from, const QString &to)
{
    return entryExists(from) && ExclusiveRename::rename(from, to);
}

// An older launcher (the first entry of Contents/MacOS, the script itself), read, with both
// names escaped as its lines carry them and the pgrep lines already naming the new one.
struct OlderLauncher
{
    QString path;
    QString text;
    QString oldEscaped;
    QString newEscaped;

    static std::optional<OlderLauncher> load(const SNEditorItem &app, const QString &newName)
    {
        const QStringList entries = QDir(app.path + u"/Contents/MacOS"_s)
                                        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System, QDir::Name);
        if (entries.isEmpty())
            return std::nullopt;
        OlderLauncher launcher;
        launcher.path = app.path + u"/Contents/MacOS/"_s + entries.constFirst();
        bool read = false;
        launcher.text = readUtf8(launcher.path, &read);
        if (!read)
            return std::nullopt;
        launcher.oldEscaped = QString(entries.constFirst()).replace(u' ', u"\\ "_s);
        launcher.newEscaped = QString(newName).replace(u' ', u"\\ "_s);
        for (const QString &pattern : {u"pgrepResult=$(pgrep -f \"$DIR/%1\")"_s,
                                       u"pgrepResult=$(pgrep -f \"$PWD/%1\".app/Contents/MacOS"_s})
            launcher.text.replace(pattern.arg(launcher.oldEscaped), pattern.arg(launcher.newEscaped));
        return launcher;
    }
};

// What is before the engine's switches on an exec line, with the bundle's new name.
QString renamedExecHead(const QString &head, const QString &oldName, const QString &newName)
{
    return QString(head).replace(u"%1.app"_s.arg(oldName), u"%1.app"_s.arg(newName));
}

// The definition the bundle writer builds from, under `name`.
AppDefinition definitionFor(const SNEditorItem &app, const QString &name)
{
    AppDefinition definition = app.appItem;
    definition.applyTabRules();
    definition.appName = name;
    definition.applicationType = BrowserCatalogue::numberForTypeKey(app.browser);
    return definition;
}

} // namespace

bool SNAppEditHelper::validateAppName(const QString &name)
{
    return AppNameRule::isAcceptable(name);
}

QString SNAppEditHelper::configPath(Context &context, const QString &appId)
{
    return AppConfigFile::path(SNAppTracker(context).getAppBundle(), appId);
}

bool SNAppEditHelper::saveAppConfig(Context &context, const SNEditorItem &app, QString *error)
{
    const QString path = configPath(context, app.appId);
    if (!QFileInfo(path).isFile()) {
        return regenerateDataJSON(app, error);
    }
    const AppDefinition &item = app.appItem;
    QVariantMap config = PropertyList::readFile(path).toMap();
    config.insert(u"needTab"_s, item.needTab);
    config.insert(u"isWhitelistingEnabled"_s, item.isWhitelistingEnabled);
    config.insert(u"registerAsBrowser"_s, item.registerAsBrowser);
    config.insert(u"useIncognito"_s, item.incognito);
    config.insert(u"appName"_s, item.appName);
    // The address too, so that the file describes the app as it is now (export reads it).
    config.insert(u"appURL"_s, item.appURL);
    if (!app.browser.isEmpty()) {
        config.insert(u"browserType"_s, app.browser);
        // The number is read before the key when both are there: the two must agree.
        config.insert(u"applicationType"_s, BrowserCatalogue::numberForTypeKey(app.browser));
    }
    QVariantList tabList;
    if (item.incognito || item.needTab) {
        for (const SNTabModel &tab : item.tabsList)
            tabList.append(tab.tabUrlString);
    }
    config.insert(u"tabList"_s, tabList);
    config.insert(u"routingRules"_s, SNRoutingConfig::sanitizedRules(item.routingRules));
    const std::optional<QVariantMap> destination =
        item.defaultDestination ? SNRoutingConfig::sanitizedDestination(*item.defaultDestination) : std::nullopt;
    if (destination)
        config.insert(u"defaultDestination"_s, *destination);
    else
        config.remove(u"defaultDestination"_s);
    config.insert(u"forceDarkMode"_s, item.forceDarkMode);
    if (item.accentColor.isEmpty())
        config.remove(u"accentColor"_s);
    else
        config.insert(u"accentColor"_s, item.accentColor);
    config.insert(u"restoreSession"_s, item.restoreSession);
    config.insert(u"passwordManagerCompatibility"_s, item.passwordManagerCompatibility);

    QString reason;
    if (!PropertyList::writeFile(path, config, &reason))
        return Logger::fail(error, u"Could not write %1: %2"_s.arg(path, reason));
    return regenerateDataJSON(app, error);
}

bool SNAppEditHelper::regenerateDataJSON(const SNEditorItem &app, QString *error)
{
    const QString resources = app.path + u"/Contents/Resources"_s;
    if (!QFileInfo(resources).isDir())
        return true;
    const AppDefinition &item = app.appItem;
    QStringList addresses;
    if (item.needTab && !item.tabsList.isEmpty()) {
        for (const SNTabModel &tab : item.tabsList)
            addresses.append(tab.tabUrlString);
    } else if (!item.appURL.isEmpty()) {
        addresses.append(item.appURL);
    }
    const QVariant destination = item.defaultDestination ? QVariant(*item.defaultDestination) : QVariant();
    const QVariantMap data = SNRoutingConfig::dataJSONDictionaryWithRules(
        item.routingRules, destination, item.isWhitelistingEnabled, item.restoreSession,
        SNWhiteListPatterns::legacyPatterns(addresses, false));
    return writeUtf8(resources + u"/data.json"_s, QString::fromUtf8(SNRoutingConfig::dataJSON(data)), error);
}

bool SNAppEditHelper::updateLauncher(Context &context, const SNEditorItem &app, const QString &newName, QString *error)
{
    if (QFileInfo::exists(app.path + u"/Contents/Resources/script"_s))
        return updateNewAppData(context, app, newName, error);
    if (app.appItem.needTab)
        return updateTabbedAppData(app, newName, error);
    return updateAppData(app, newName, error);
}

bool SNAppEditHelper::updateNewAppData(Context &context, const SNEditorItem &app, const QString &newName, QString *error)
{
    const BundleLayout layout = BundleLayout::atPath(app.path, newName);
    const QString oldScript = readUtf8(layout.script());
    const std::optional<QVariantMap> info = AppScriptReader::appInfo(newName, oldScript);
    const bool hadCompanion = info && info->value(u"shouldIncludeWLExt"_s).toBool() &&
                              QFileInfo(layout.resources + u"/Sorvane_Extension"_s).isDir();

    const AppDefinition definition = definitionFor(app, newName);
    BundleWriter writer(context, definition, layout);
    // The companion stays when the app had it; it comes in when the edit asks for routing (and
    // Helium apps always load it).
    const bool companion = hadCompanion || writer.includesCompanion() || app.browser == u"helium"_s;
    SNError companionError;
    if (companion && !hadCompanion && !writer.writeCompanionFiles(&companionError))
        return Logger::fail(error, companionError.description);
    writer.setCompanionIncluded(companion);
    QString reason;
    const QString script = writer.scriptText(app.appId, &reason);
    if (script.isEmpty())
        return Logger::fail(error, u"Error updating executable. %1"_s.arg(reason));
    return writeUtf8(layout.script(), script, error);
}

bool SNAppEditHelper::updateAppData(const SNEditorItem &app, const QString &newName, QString *error)
{
    const std::optional<OlderLauncher> launcher = OlderLauncher::load(app, newName);
    if (!launcher)
        return true;
    const QString &path = launcher->path;
    QStringList lines = launcher->text.split(u'\n');
    const auto exec = std::find_if(lines.begin(), lines.end(),
                                   [](const QString &line) { return line.startsWith(ExecLinePrefix); });
    if (exec == lines.end()) {
        Logger::log(u"⚠️ Warning: Could not find exec line to update in app script"_s);
        return writeUtf8(path, launcher->text, error);
    }
    const QStringList parts = exec->split(ExecSplitter);
    const QString head = renamedExecHead(parts.constFirst(), launcher->oldEscaped, launcher->newEscaped);
    const QString profile = QString(parts.constLast()).remove(u"--app="_s).split(u" --user-data-dir="_s).constLast();
    *exec = u"%1--no-sandbox --test-type  --args --app=%2 --user-data-dir=%3"_s.arg(
        head, u"\"%1\""_s.arg(app.appItem.appURL), profile);
    return writeUtf8(path, lines.join(u'\n'), error);
}

bool SNAppEditHelper::updateTabbedAppData(const SNEditorItem &app, const QString &newName, QString *error)
{
    const std::optional<OlderLauncher> launcher = OlderLauncher::load(app, newName);
    if (!launcher)
        return true;
    QStringList lines = launcher->text.split(u'\n');
    qsizetype tabsLine = -1;
    qsizetype execLine = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (lines.at(i).startsWith(ExecLinePrefix)) {
            execLine = i;
            break;
        }
        if (lines.at(i).contains(u"Tabs=\""_s) && !lines.at(i).contains(u"Tabs=\"\""_s))
            tabsLine = i;
    }
    if (execLine < 0) {
        Logger::log(u"⚠️ Warning: Could not find exec line to update in tabbed app script"_s);
    } else {
        const QStringList parts = lines.at(execLine).split(ExecSplitter);
        lines[execLine] = u"%1--no-sandbox --test-type  --args %2"_s.arg(
            renamedExecHead(parts.constFirst(), launcher->oldEscaped, launcher->newEscaped), parts.constLast());
    }
    if (tabsLine < 0) {
        Logger::log(u"⚠️ Warning: Could not find tabs line to update in tabbed app script"_s);
    } else {
        QStringList tabs;
        for (const SNTabModel &tab : app.appItem.tabsList)
            tabs.append(tab.tabUrlString);
        lines[tabsLine] = u"\tTabs=\"%1\"\n"_s.arg(tabs.join(u' '));
    }
    return writeUtf8(launcher->path, lines.join(u'\n'), error);
}

bool SNAppEditHelper::changeAppIcon(SNEditorItem &app, const SNImage &newIcon, QString *error)
{
    if (newIcon.isNull())
        return true;
    if (!IconConverter::convertImagesWithSourceImage(newIcon, app.path + u"/Contents/Resources"_s))
        return Logger::fail(error, u"Cannot write the icon of %1"_s.arg(app.path));
    Logger::log(u"Images successfully converted."_s);
    // A new modification date makes the desktop load the icon again (a folder cannot be opened
    // as a QFile, so the time is set on the path).
    ::utimensat(AT_FDCWD, QFile::encodeName(app.path).constData(), nullptr, 0);
    app.appItem.appIcon = newIcon;
    return true;
}

bool SNAppEditHelper::changeAppName(Context &context, SNEditorItem &app, const QString &newName, QString *error)
{
    // Every step looks at what is done already, so that the recovery of a rename that was killed
    // half-way runs this again to finish it.
    const QString oldFolderName = QFileInfo(app.path).fileName();
    const QString plistPath = app.path + u"/Contents/Info.plist"_s;
    QString reason;
    const QVariant read = PropertyList::readFile(plistPath, &reason);
    if (read.typeId() != QMetaType::QVariantMap)
        return Logger::fail(error, u"Cannot read %1: %2"_s.arg(plistPath, reason));
    QVariantMap plist = read.toMap();
    const QString oldExecutable = plist.value(u"CFBundleExecutable"_s, app.appItem.appName).toString();

    const QString executables = app.path + u"/Contents/MacOS/"_s;
    // Named already when a killed run had moved the program but not yet written Info.plist.
    const bool executableNamed = oldExecutable == newName || entryExists(executables + newName) ||
                                 moveEntry(executables + oldExecutable, executables + newName);
    if (executableNamed) {
        plist.insert(u"CFBundleExecutable"_s, newName);
        // On Linux the engine sits beside the launch program under the app's name; it follows, so
        // no engine of the old name is left behind.
        if (oldExecutable != newName)
            moveEntry(executables + BundleLayout::engineName(oldExecutable), executables + BundleLayout::engineName(newName));
    } else {
        Logger::log(u"⚠️ changeAppName: launcher binary rename failed; keeping CFBundleExecutable=%1"_s.arg(oldExecutable));
    }
    plist.insert(u"SorvaneCreatorID"_s, context.bundleIdentifier());
    applyBrowserRegistration(app.appItem.registerAsBrowser, plist);
    if (app.appItem.passwordManagerCompatibility)
        plist.insert(u"SorvanePasswordManagerCompatibility"_s, true);
    else
        plist.remove(u"SorvanePasswordManagerCompatibility"_s);
    if (!PropertyList::writeFile(plistPath, plist, &reason))
        return Logger::fail(error, u"Could not write %1: %2"_s.arg(plistPath, reason));

    const QString resources = app.path + u"/Contents/Resources/"_s;
    for (const QString &inner : QStringList{oldFolderName, oldExecutable + u".app"_s}) {
        if (inner != newName + u".app"_s)
            moveEntry(resources + inner, resources + newName + u".app"_s);
    }

    // The bundle moves last, in one step that fails when the name was taken meanwhile.
    const QString newPath = QFileInfo(app.path).path() + u'/' + newName + u".app"_s;
    if (newPath != app.path) {
        bool taken = false;
        if (!ExclusiveRename::rename(app.path, newPath, &taken, &reason))
            return Logger::fail(error, taken ? u"Cannot rename %1: %2 already exists"_s.arg(app.path, newPath)
                                             : u"Cannot move %1 to %2: %3"_s.arg(app.path, newPath, reason));
    }
    app.path = newPath;
    if (!SNAppTracker(context).updateAppTracker(app.appId, newPath, &reason))
        return Logger::fail(error, reason);
    LaunchServices::refreshRegistration(app.path);
    app.appItem.appName = newName;
    return true;
}

void SNAppEditHelper::applyBrowserRegistration(bool registerAsBrowser, QVariantMap &plist)
{
    if (registerAsBrowser) {
        plist.insert(u"NSUserActivityTypes"_s, SNPlistHelper::activityTypes());
        plist.insert(u"CFBundleURLTypes"_s, SNPlistHelper::urlTypes());
        plist.insert(u"CFBundleDocumentTypes"_s, SNPlistHelper::documentTypes());
    } else {
        for (const QString &key : {u"NSUserActivityTypes"_s, u"CFBundleURLTypes"_s, u"CFBundleDocumentTypes"_s})
            plist.remove(key);
    }
}

std::optional<QString> SNAppEditHelper::replaceChromeWithAppName(const QString &directory, const SNEditorItem &app,
                                                                 const QString &newName)
{
    const QStringList entries = QDir(directory).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &entry : entries) {
        if (QFileInfo(entry).suffix() != u"lproj"_s)
            continue;
        const QString path = u"%1/%2/InfoPlist.strings"_s.arg(directory, entry);
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return u"Cannot read %1: %2"_s.arg(path, file.errorString());
        const QByteArray bytes = file.readAll();
        // Strings files are UTF-16 with a byte-order mark or UTF-8; the same encoding goes back.
        const QStringConverter::Encoding encoding =
            QStringConverter::encodingForData(bytes).value_or(QStringConverter::Utf8);
        QString text = QStringDecoder(encoding)(bytes);
        for (const QString &pattern : {u"CFBundleDisplayName = \"%1\""_s, u"CFBundleName = \"%1\""_s})
            text.replace(pattern.arg(app.appItem.appName), pattern.arg(newName));
        QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
        QByteArray encoded = encoder(text);
        if (encoding == QStringConverter::Utf8 && !bytes.startsWith("\xEF\xBB\xBF"))
            encoded = text.toUtf8();
        QString error;
        if (!AtomicWriter::write(path, encoded, &error))
            return error;
    }
    return std::nullopt;
}
