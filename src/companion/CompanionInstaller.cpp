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
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString ExtensionFolderName = u"Sorvane_Extension"_s;
const QString ShippedExtensionFolder = u"extension.bundle/Sorvane_Extension"_s;
const QString HostProgramName = u"sorvanemessaginghost"_s;
const QString NativeHostsFolderName = u"NativeMessagingHosts"_s;
const QString RoutingDataFileName = u"data.json"_s;

// Scripts ship with the suffix "000" and take their real one, ".js", in the bundle.
const QString ShippedScriptSuffix = u"000"_s;

// The steps after a failed one still run; what failed is logged and collected for the caller.
class Failures
{
public:
    void add(const QString &reason)
    {
        Logger::log(u"Warning: "_s + reason);
        m_reasons.append(reason);
    }
    void add(const QString &what, const QString &path, const QString &reason)
    {
        add(u"cannot %1 %2: %3"_s.arg(what, path, reason));
    }
    bool report(QString *error) const
    {
        if (error && !m_reasons.isEmpty())
            *error = u"The companion files could not be installed: "_s + m_reasons.join(u"; "_s);
        return m_reasons.isEmpty();
    }

private:
    QStringList m_reasons;
};

bool writeFile(const QString &path, const QByteArray &data, Failures &failures)
{
    QString error;
    if (AtomicWriter::write(path, data, &error))
        return true;
    failures.add(error);
    return false;
}

// Copies a companion file or folder. The extension is code the engine loads, so a link in it is
// left out rather than let the engine reach outside the bundle. What fails is collected and the
// rest still copied; false when anything failed.
bool copyTree(const QString &source, const QString &destination, Failures &failures)
{
    const std::optional<QString> error = TreeCopy::copy(source, destination,
                                                        {.links = TreeCopy::Links::Skip,
                                                         .existing = TreeCopy::Existing::ReplaceNonFolder,
                                                         .errors = TreeCopy::Errors::KeepGoing});
    if (error)
        failures.add(*error);
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

bool CompanionInstaller::copyExtensionFiles(const QString &resourceDirectory, QString *error) const
{
    Failures failures;
    // Folders of earlier versions go; so does an existing copy, but only once the fresh one is
    // complete beside it, so that an engine starting meanwhile finds one whole extension or none.
    const QString legacy = resourceDirectory + u'/' + Constants::LegacyCompanionFolderName;
    if (QFileInfo(legacy).isDir() && !QFileInfo(legacy).isSymLink() && !QDir(legacy).removeRecursively())
        failures.add(u"remove"_s, legacy, u"removeRecursively failed"_s);
    const QString destination = resourceDirectory + u'/' + ExtensionFolderName;
    const QFileInfo existing(destination);
    const bool replacing = existing.exists() || existing.isSymLink();
    const QString building = replacing ? destination + u".new"_s : destination;
    QDir(building).removeRecursively();
    if (!QDir().mkpath(building)) {
        failures.add(u"create"_s, building, u"mkpath failed"_s);
        return failures.report(error);
    }

    const QString shipped = m_context.resourcesFolder() + u'/' + ShippedExtensionFolder;
    const QFileInfoList entries = QDir(shipped).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    if (entries.isEmpty())
        failures.add(u"find the extension files in"_s, shipped, u"missing or empty"_s);
    for (const QFileInfo &entry : entries) {
        if (entry.fileName().startsWith(u'.') || entry.isSymLink())
            continue;
        copyTree(entry.filePath(), building + u'/' + installedName(entry), failures);
    }

    // Written per app, so that the shipped scripts never spell the host's name themselves.
    writeFile(building + u"/nativeHost.js"_s,
              (u"export var nativeHost = '"_s + Constants::NativeHostName + u"';"_s).toUtf8(), failures);
    if (!replacing)
        return failures.report(error);
    // A copy that is not whole never replaces the one in place.
    if (!failures.report(nullptr)) {
        QDir(building).removeRecursively();
        return failures.report(error);
    }
    const QString old = destination + u".old"_s;
    QDir(old).removeRecursively();
    QFile::remove(old);
    const bool movedAway = existing.isDir() && !existing.isSymLink() ? QDir().rename(destination, old)
                                                                      : QFile::remove(destination);
    if (!movedAway || !QDir().rename(building, destination)) {
        failures.add(u"replace"_s, destination, u"rename failed"_s);
        return failures.report(error);
    }
    QDir(old).removeRecursively();
    return true;
}

bool CompanionInstaller::configureNativeMessaging(const QString &profileDirectory,
                                                  const QString &resourceDirectory,
                                                  const QString &installedResourceDirectory, QString *error) const
{
    Failures failures;
    const QString hostsFolder = profileDirectory + u'/' + NativeHostsFolderName;
    if (!QDir().mkpath(hostsFolder))
        failures.add(u"create"_s, hostsFolder, u"mkpath failed"_s);

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
        if (unchanged || writeFile(manifestPath, manifest.toUtf8(), failures))
            Logger::log(u"Native messaging host manifest: %1"_s.arg(manifestPath));
    } else {
        failures.add(u"read"_s, templatePath, templateFile.errorString());
    }

    const QString shippedHost = m_context.programsFolder() + u'/' + HostProgramName;
    if (!QFileInfo::exists(shippedHost)) {
        failures.add(u"find"_s, shippedHost, u"missing"_s);
        return failures.report(error);
    }
    // A folder left at that place goes first; a file or link there the copy replaces.
    if (QFileInfo(hostPath).isDir() && !QFileInfo(hostPath).isSymLink())
        QDir(hostPath).removeRecursively();
    if (copyTree(shippedHost, hostPath, failures))
        Logger::log(u"Native messaging host program: %1"_s.arg(hostPath));
    return failures.report(error);
}

bool CompanionInstaller::writeRoutingDataJSON(const QString &resourceDirectory, const QVariantMap &data,
                                              QString *error) const
{
    Failures failures;
    writeFile(resourceDirectory + u'/' + RoutingDataFileName, jsonStringWithData(data), failures);
    return failures.report(error);
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
