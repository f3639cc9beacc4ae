#include "generation/EngineBuilder.h"

#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "core/ProcessRunner.h"
#include "core/PropertyList.h"
#include "core/TreeCopy.h"
#include "core/UserDefaults.h"
#include "generation/BundleWriter.h"
#include "generation/IconConverter.h"
#include "generation/SNAppScriptHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringConverter>

#include <array>
#include <utility>

namespace {

// Keys that would let the browser's updater find the copy, or make the copy claim links and
// documents.
constexpr std::array removedKeys{
    "CFBundleURLTypes", "NSUserActivityTypes", "CFBundleDocumentTypes", "DTSDKBuild",  "DTSDKName", "DTXcode",
    "DTXcodeBuild",     "KSChannelID-full",    "KSProductID",           "KSUpdateURL", "KSVersion"};
// Icon keys that would win over CFBundleIconFile.
constexpr std::array iconKeys{"CFBundleIcons", "CFBundleIcons~mac", "CFBundleIconName", "CFBundleIconFiles"};

QString withSlash(const QString &path)
{
    return path.endsWith(u'/') ? path : path + u'/';
}

std::optional<QString> failure(const QString &description)
{
    return description;
}

// The executable's name in the inner bundle. Chromium's engine path is Google Chrome's (see
// BrowserCatalogue::enginePathForGenerator), so its link carries that name too.
QString executableLinkName(int applicationType)
{
    if (applicationType == BrowserCatalogue::Chromium)
        return BrowserCatalogue::byNumber(BrowserCatalogue::Chrome).browserName;
    return BrowserCatalogue::byNumber(applicationType).browserName;
}

// The display-name and name values the browser's strings carry. Canary and Chromium search for
// Google Chrome's.
std::pair<QString, QString> searchedNames(int applicationType)
{
    switch (applicationType) {
    case BrowserCatalogue::Brave:
        return {QStringLiteral("Brave Browser"), QStringLiteral("Brave")};
    case BrowserCatalogue::Edge:
        return {QStringLiteral("Microsoft Edge"), QStringLiteral("Microsoft Edge")};
    case BrowserCatalogue::Opera:
        return {QStringLiteral("Opera"), QStringLiteral("Opera")};
    case BrowserCatalogue::Vivaldi:
        return {QStringLiteral("Vivaldi"), QStringLiteral("Vivaldi")};
    case BrowserCatalogue::Helium:
        return {QStringLiteral("Helium"), QStringLiteral("Helium")};
    default:
        return {QStringLiteral("Google Chrome"), QStringLiteral("Chrome")};
    }
}

QString displayNameLine(const QString &value)
{
    return QStringLiteral("CFBundleDisplayName = \"%1\"").arg(value);
}

QString nameLine(const QString &value)
{
    return QStringLiteral("CFBundleName = \"%1\"").arg(value);
}

// A value between the double quotes of a strings file.
QString stringsQuoted(QString value)
{
    return value.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
}

} // namespace

EngineBuilder::EngineBuilder(Context &context, const AppDefinition &definition, const QString &resourceDirectory)
    : m_context(context), m_definition(definition), m_resourceDirectory(resourceDirectory)
{
}

std::optional<QString> EngineBuilder::createInternalApplication()
{
    const QString browserName =
        BrowserCatalogue::byNumber(m_definition.applicationType).browserName;
    const QString bundle = QStringLiteral("%1/%2.app").arg(m_resourceDirectory, browserName);
    const QString newContents = bundle + QStringLiteral("/Contents/");
    QString error;
    if (!BundleWriter::makeDirectories(
            {bundle, newContents, newContents + QStringLiteral("MacOS/")}, &error))
        return error;

    const QString chromePath = BrowserCatalogue::enginePathForGenerator(m_definition.applicationType, m_context.defaults());
    const QString chromeContents = withSlash(QFileInfo(QFileInfo(chromePath).path()).path());
    Logger::log(QStringLiteral("chromePath:") + chromePath);
    Logger::log(QStringLiteral("chromeContentPath:") + chromeContents);

    Logger::log(QStringLiteral("0:") + chromeContents);
    if (auto linkError = createSymlinkFromGoogleChrome(chromeContents, newContents))
        return linkError;
    Logger::log(QStringLiteral("1:") + chromeContents);
    Logger::log(QStringLiteral("2:") + chromeContents);
    auto copyError = copyFilesFromChrome(chromeContents, newContents);
    Logger::log(QStringLiteral("3:") + chromeContents);
    return copyError;
}

std::optional<QString> EngineBuilder::createSymlinkFromGoogleChrome(const QString &chromeContentsPath,
                                                                    const QString &newContentsPath)
{
    const QString from = withSlash(chromeContentsPath);
    const QString to = withSlash(newContentsPath);
    const QString executable =
        QStringLiteral("MacOS/") + executableLinkName(m_definition.applicationType);
    for (const QString &entry : {QStringLiteral("Versions"), QStringLiteral("PkgInfo"),
                                 QStringLiteral("Helpers"), QStringLiteral("_CodeSignature"), executable}) {
        if (!QFile::link(from + entry, to + entry))
            return failure(QStringLiteral("The link %1 could not be created.").arg(to + entry));
    }
    return std::nullopt;
}

std::optional<QString> EngineBuilder::copyFilesFromChrome(const QString &chromeContentsPath,
                                                          const QString &newContentsPath)
{
    const QString from = withSlash(chromeContentsPath);
    const QString to = withSlash(newContentsPath);
    const QString resourcesPath = from + QStringLiteral("Resources");
    const QString resourcesCopyPath = to + QStringLiteral("Resources");
    Logger::log(QStringLiteral("resourcesPath:") + resourcesPath);
    Logger::log(QStringLiteral("resourcesCopyPath:") + resourcesCopyPath);
    // Like a file manager's copy: links stay links, and an existing copy is never merged into.
    if (const std::optional<QString> reason = TreeCopy::copy(resourcesPath, resourcesCopyPath,
                                                             {.links = TreeCopy::Links::Keep,
                                                              .existing = TreeCopy::Existing::Fail,
                                                              .errors = TreeCopy::Errors::Stop}))
        return failure(*reason);
    Logger::log(QStringLiteral("copyFilesFromChrome 1.5"));

    const QString browserInfo = from + QStringLiteral("Info.plist");
    const QVariant loaded = PropertyList::readFile(browserInfo);
    // An unreadable property list is not rewritten: the copy below takes it as it is.
    const bool readable = loaded.typeId() == QMetaType::QVariantMap;
    QVariantMap info = loaded.toMap();

    const SNImage &icon = m_definition.appIcon;
    if (!icon.isNull()) {
        info.insert(QStringLiteral("CFBundleIconFile"), QStringLiteral("icon.icns"));
        for (const char *key : iconKeys)
            info.remove(QLatin1String(key));
        QString iconError;
        if (!IconConverter::convertImagesWithSourceImage(icon, resourcesCopyPath, &iconError))
            return iconError;
        Logger::log(QStringLiteral("Images successfully converted."));
    }
    Logger::log(QStringLiteral("copyFilesFromChrome 2"));
    for (const char *key : removedKeys)
        info.remove(QLatin1String(key));
    Logger::log(QStringLiteral("copyFilesFromChrome 3"));
    const QString newInfo = to + QStringLiteral("Info.plist");
    if (!readable || !PropertyList::writeFile(newInfo, info)) {
        QFile::remove(newInfo);
        if (!QFile::copy(browserInfo, newInfo))
            return failure(QStringLiteral("The property list %1 could not be written.").arg(newInfo));
    }
    Logger::log(QStringLiteral("copyFilesFromChrome 4"));
    return replaceChromeWithAppName(resourcesCopyPath);
}

std::optional<QString> EngineBuilder::replaceChromeWithAppName(const QString &resourcesPath)
{
    const auto [displayName, name] = searchedNames(m_definition.applicationType);
    const QString appName = stringsQuoted(m_definition.appName);
    const QStringList entries =
        QDir(resourcesPath).entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &entry : entries) {
        if (QFileInfo(entry).suffix() != QLatin1String("lproj"))
            continue;
        const QString path = QStringLiteral("%1/%2/InfoPlist.strings").arg(resourcesPath, entry);
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return failure(QStringLiteral("%1 could not be read.").arg(path));
        const QByteArray data = file.readAll();
        file.close();

        // Strings files are often UTF-16; they go back in the encoding and byte order they came in.
        const std::optional<QStringConverter::Encoding> marked = QStringConverter::encodingForData(data);
        const QStringConverter::Encoding encoding = marked.value_or(QStringConverter::Utf8);
        QStringDecoder decoder(encoding);
        QString text = decoder.decode(data);
        if (decoder.hasError())
            return failure(QStringLiteral("%1 could not be read.").arg(path));
        text.replace(displayNameLine(displayName), displayNameLine(appName));
        text.replace(nameLine(name), nameLine(appName));
        QStringEncoder encoder(encoding,
                               marked ? QStringConverter::Flag::WriteBom : QStringConverter::Flag::Default);
        QString reason;
        if (!AtomicWriter::write(path, encoder.encode(text), &reason))
            return failure(reason);
    }
    return std::nullopt;
}

QStringList EngineBuilder::engineScriptArguments(const QString &resourcesFolder, const QString &appName,
                                                 const BrowserInfo &browser, const QString &enginePath,
                                                 bool forMac)
{
    return {resourcesFolder + QStringLiteral("/createEngine.sh"),
            appName,
            resourcesFolder,
            SNAppScriptHelper::browserPathArgument(enginePath, forMac),
            browser.browserName,
            browser.browserShortName,
            browser.frameworkFolder};
}

const QString EngineBuilder::DefaultFailureLine =
    QStringLiteral("Warning: engine creation exited with status %1 (will retry at first launch)");

bool EngineBuilder::runEngineScript(Context &context, const QString &resourcesFolder, const QString &appName,
                                    const QString &typeKey, const QString &failureLine)
{
    const BrowserInfo &browser = BrowserCatalogue::byTypeKey(typeKey);
    const QString enginePath = BrowserCatalogue::enginePathForScript(typeKey, context.defaults());
    const ProcessRunner::Result result = context.processes().run(
        QStringLiteral("/bin/sh"),
        engineScriptArguments(resourcesFolder, appName, browser, enginePath, Platform::isMac()),
        resourcesFolder);
    if (!result.succeeded()) {
        Logger::log(failureLine.arg(result.exitCode));
        return false;
    }
    Logger::log(QStringLiteral("Engine cloned into root bundle."));
    return true;
}
