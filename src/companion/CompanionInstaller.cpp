#include "companion/CompanionInstaller.h"

#include "core/AtomicWriter.h"
#include "core/Constants.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/TreeCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString ExtensionFolderName = u"Sorvane_Extension"_s;
const QString ShippedExtensionFolder = u"extension.bundle/Sorvane_Extension"_s;
const QString HostProgramName = u"sorvanemessaginghost"_s;
const QString NativeHostsFolderName = u"NativeMessagingHosts"_s;
const QString RoutingDataFileName = u"data.json"_s;

// Scripts ship with the suffix "000" and take their real one, ".js", in the bundle.
const QString ShippedScriptSuffix = u"000"_s;

void logFailure(const QString &what, const QString &path, const QString &reason)
{
    Logger::log(u"Warning: cannot %1 %2: %3"_s.arg(what, path, reason));
}

bool writeFile(const QString &path, const QByteArray &data)
{
    QString error;
    if (AtomicWriter::write(path, data, &error))
        return true;
    logFailure(u"write"_s, path, error);
    return false;
}

// Copies a companion file or folder. The extension is code the engine loads, so a link in it is
// left out rather than let the engine reach outside the bundle. What fails is logged and the rest
// still copied; false when anything failed.
bool copyTree(const QString &source, const QString &destination)
{
    const std::optional<QString> error = TreeCopy::copy(source, destination,
                                                        {.links = TreeCopy::Links::Skip,
                                                         .existing = TreeCopy::Existing::ReplaceNonFolder,
                                                         .errors = TreeCopy::Errors::KeepGoing});
    if (error)
        Logger::log(u"Warning: "_s + *error);
    return !error;
}

QString installedName(const QFileInfo &entry)
{
    if (entry.isFile() && entry.suffix() == ShippedScriptSuffix)
        return entry.completeBaseName() + u".js"_s;
    return entry.fileName();
}

// The path as the inside of a JSON string literal (without the quotes).
QString jsonStringContents(const QString &text)
{
    const QByteArray literal = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    // ["..."]: drop the bracket and quote on either side.
    return QString::fromUtf8(literal.mid(2, literal.size() - 4));
}

} // namespace

CompanionInstaller::CompanionInstaller(Context &context) : m_context(context) {}

void CompanionInstaller::copyExtensionFiles(const QString &resourceDirectory) const
{
    // Folders of earlier versions go; so does an existing copy, but only once the fresh one is
    // complete beside it, so that an engine starting meanwhile finds one whole extension or none.
    const QString legacy = resourceDirectory + u'/' + Constants::LegacyCompanionFolderName;
    if (QFileInfo(legacy).isDir() && !QFileInfo(legacy).isSymLink() && !QDir(legacy).removeRecursively())
        logFailure(u"remove"_s, legacy, u"removeRecursively failed"_s);
    const QString destination = resourceDirectory + u'/' + ExtensionFolderName;
    const QFileInfo existing(destination);
    const bool replacing = existing.exists() || existing.isSymLink();
    const QString building = replacing ? destination + u".new"_s : destination;
    QDir(building).removeRecursively();
    if (!QDir().mkpath(building)) {
        logFailure(u"create"_s, building, u"mkpath failed"_s);
        return;
    }

    const QString shipped = m_context.resourcesFolder() + u'/' + ShippedExtensionFolder;
    const QFileInfoList entries = QDir(shipped).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    if (entries.isEmpty())
        logFailure(u"find the extension files in"_s, shipped, u"missing or empty"_s);
    for (const QFileInfo &entry : entries) {
        if (entry.fileName().startsWith(u'.') || entry.isSymLink())
            continue;
        copyTree(entry.filePath(), building + u'/' + installedName(entry));
    }

    // Written per app, so that the shipped scripts never spell the host's name themselves.
    writeFile(building + u"/nativeHost.js"_s,
              (u"export var nativeHost = '"_s + Constants::NativeHostName + u"';"_s).toUtf8());
    if (!replacing)
        return;
    const QString old = destination + u".old"_s;
    QDir(old).removeRecursively();
    QFile::remove(old);
    const bool movedAway = existing.isDir() && !existing.isSymLink() ? QDir().rename(destination, old)
                                                                      : QFile::remove(destination);
    if (!movedAway || !QDir().rename(building, destination)) {
        logFailure(u"replace"_s, destination, u"rename failed"_s);
        return;
    }
    QDir(old).removeRecursively();
}

void CompanionInstaller::configureNativeMessaging(const QString &profileDirectory,
                                                  const QString &resourceDirectory,
                                                  const QString &installedResourceDirectory) const
{
    const QString hostsFolder = profileDirectory + u'/' + NativeHostsFolderName;
    if (!QDir().mkpath(hostsFolder))
        logFailure(u"create"_s, hostsFolder, u"mkpath failed"_s);

    const QString hostPath = resourceDirectory + u'/' + HostProgramName;
    const QString templatePath =
        m_context.resourcesFolder() + u"/extension.bundle/"_s + Constants::NativeHostName + u".json"_s;
    QFile templateFile(templatePath);
    if (templateFile.open(QIODevice::ReadOnly)) {
        // A plain text substitution keeps the template's layout, which the app's start script
        // edits line by line. The bundle path may hold `"` or `\`, so it goes in JSON-escaped.
        QString manifest = QString::fromUtf8(templateFile.readAll());
        const QString installedFolder =
            installedResourceDirectory.isEmpty() ? resourceDirectory : installedResourceDirectory;
        manifest.replace(HostProgramName, jsonStringContents(installedFolder + u'/' + HostProgramName));
        const QString manifestPath = hostsFolder + u'/' + Constants::NativeHostName + u".json"_s;
        // The folder is the engine's own: a regeneration of an app that has not moved leaves
        // the manifest, and with it the whole profile, as it was. The app's start rewrites the
        // path line in its own layout, so the two are compared as JSON.
        QFile current(manifestPath);
        const bool unchanged =
            current.open(QIODevice::ReadOnly) &&
            QJsonDocument::fromJson(current.readAll()) == QJsonDocument::fromJson(manifest.toUtf8());
        if (unchanged || writeFile(manifestPath, manifest.toUtf8()))
            Logger::log(u"Native messaging host manifest: %1"_s.arg(manifestPath));
    } else {
        logFailure(u"read"_s, templatePath, templateFile.errorString());
    }

    const QString shippedHost = m_context.resourcesFolder() + u'/' + HostProgramName;
    if (!QFileInfo::exists(shippedHost)) {
        logFailure(u"find"_s, shippedHost, u"missing"_s);
        return;
    }
    // A folder left at that place goes first; a file or link there the copy replaces.
    if (QFileInfo(hostPath).isDir() && !QFileInfo(hostPath).isSymLink())
        QDir(hostPath).removeRecursively();
    if (copyTree(shippedHost, hostPath))
        Logger::log(u"Native messaging host program: %1"_s.arg(hostPath));
}

void CompanionInstaller::writeRoutingDataJSON(const QString &resourceDirectory, const QVariantMap &data) const
{
    writeFile(resourceDirectory + u'/' + RoutingDataFileName, jsonStringWithData(data));
}

QByteArray CompanionInstaller::jsonStringWithData(const QVariant &object)
{
    const QJsonValue value = QJsonValue::fromVariant(object);
    if (value.isObject())
        return QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact);
    if (value.isArray())
        return QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact);

    const char *typeName = object.typeName();
    const QString description =
        u"a %1 cannot be written as a JSON document; only dictionaries and arrays can"_s.arg(
            typeName ? QString::fromLatin1(typeName) : u"invalid value"_s);
    Logger::log(u"+[SNUpdaterHelper jsonStringWithData:]: error: "_s + description);
    return "[]";
}
