#include "generation/ProfileSeeder.h"

#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/UserDefaults.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/TreeCopy.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

const QString SecurePreferencesName = QStringLiteral("Secure Preferences");
const QString LocalStateName = QStringLiteral("Local State");
const QString ExtensionsFolder = QStringLiteral("Extensions");

// Extension data the browser keeps outside the extension's own folder: folders with one entry per
// extension, and stores shared by all extensions, which cannot be split and are taken whole.
const std::array PerExtensionFolders{
    QStringLiteral("Local Extension Settings"),
    QStringLiteral("Sync Extension Settings"),
};
const std::array SharedEntries{
    QStringLiteral("Extension Rules"),
    QStringLiteral("Extension State"),
    QStringLiteral("Shortcuts"),
};

const char *const InitialLocalState =
    R"({"profile" : {"info_cache" : {}}, "fre": {"has_user_seen_fre": true}})";

std::optional<QString> failure(const QString &description)
{
    return description;
}

// Nothing is read through a link in the browser's folder: one there could lead anywhere (another
// user's files, the whole disk), and the app's own engine would follow a copied one later. Such
// links are left out with a log line; the browser recreates or does without what they stood for.
// What an earlier seeding left is replaced, never written through (that would write into the
// browser's own profile).
std::optional<QString> copyProfileData(const QString &browserFolder, const QString &relative,
                                       const QString &destination, TreeCopy::Errors errors)
{
    if (const std::optional<QString> error = TreeCopy::copyBelow(browserFolder, relative, destination,
                                                                 TreeCopy::Existing::ReplaceNonFolder, errors))
        return failure(*error);
    return std::nullopt;
}

QString describeUsers(const QList<SNProfileEntry> &usersArray)
{
    QJsonArray users;
    for (const SNProfileEntry &entry : usersArray)
        users.append(QJsonObject{{QStringLiteral("profileKey"), entry.profileKey},
                                 {QStringLiteral("shouldImport"), entry.shouldImport}});
    return QString::fromUtf8(QJsonDocument(users).toJson(QJsonDocument::Compact));
}

} // namespace

ProfileSeeder::ProfileSeeder(Context &context, const QString &typeKey)
    : m_context(context), m_typeKey(typeKey)
{
}

QString ProfileSeeder::sourceBrowserFolder() const
{
    return BrowserLocator::installedUserDataFolder(BrowserCatalogue::byTypeKey(m_typeKey), m_context.homeFolder(),
                                                   m_context.defaults()) +
           u'/';
}

QString ProfileSeeder::sourceProfileFolder(const QString &profileKey) const
{
    return sourceBrowserFolder() + profileKey + u'/';
}

std::optional<QString> ProfileSeeder::copyExtensions(const QJsonObject &preferenceJson,
                                                      const QStringList &selectedExtensions,
                                                      const QString &currentProfileKey,
                                                      const QString &defaultUserDirectory) const
{
    if (!QDir().mkpath(defaultUserDirectory))
        return failure(
            QStringLiteral("The profile folder %1 could not be created.").arg(defaultUserDirectory));
    const QString preferencesPath = defaultUserDirectory + u'/' + SecurePreferencesName;
    QString detail;
    if (!AtomicWriter::write(preferencesPath, QJsonDocument(preferenceJson).toJson(QJsonDocument::Compact),
                             &detail))
        return failure(
            QStringLiteral("The preferences could not be written to %1: %2").arg(preferencesPath, detail));

    // An empty or dotted key would make the browser's whole user-data folder (or more) the source.
    if (!isProfileKey(currentProfileKey))
        return failure(QStringLiteral("\"%1\" is not a profile folder name.").arg(currentProfileKey));
    const QString browserFolder = sourceBrowserFolder();
    const QString sourceProfile = currentProfileKey + u'/';

    const QJsonObject settings = preferenceJson.value(QStringLiteral("extensions"))
                                     .toObject()
                                     .value(QStringLiteral("settings"))
                                     .toObject();
    bool copiedAny = false;
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        const QString &extensionId = it.key();
        // Extensions the user loaded unpacked or that came with the browser stay behind, and so
        // does every extension the user did not choose.
        if (it.value().toObject().value(QStringLiteral("from_webstore")) != QJsonValue(true) ||
            !selectedExtensions.contains(extensionId))
            continue;
        if (!isExtensionId(extensionId)) {
            Logger::log(QStringLiteral("extension id refused:%1 ").arg(extensionId));
            continue;
        }
        const QString relative = ExtensionsFolder + u'/' + extensionId;
        if (auto error = copyProfileData(browserFolder, sourceProfile + relative, defaultUserDirectory + u'/' + relative,
                                         TreeCopy::Errors::Stop))
            return error;
        if (auto error = copyFromFolder(QStringLiteral("Local Storage"), extensionId, currentProfileKey,
                                        defaultUserDirectory))
            return error;
        if (auto error = copyFromFolder(QStringLiteral("IndexedDB"), extensionId, currentProfileKey,
                                        defaultUserDirectory))
            return error;
        for (const QString &folder : PerExtensionFolders) {
            const QString own = folder + u'/' + extensionId;
            if (auto error = copyProfileData(browserFolder, sourceProfile + own, defaultUserDirectory + u'/' + own,
                                             TreeCopy::Errors::Stop))
                return error;
        }
        copiedAny = true;
    }

    if (!copiedAny)
        return std::nullopt;
    for (const QString &entry : SharedEntries) {
        if (auto error = copyProfileData(browserFolder, sourceProfile + entry, defaultUserDirectory + u'/' + entry,
                                         TreeCopy::Errors::Stop))
            return error;
    }
    return std::nullopt;
}

std::optional<QString> ProfileSeeder::copyFromFolder(const QString &folder, const QString &extensionId,
                                                     const QString &currentProfileKey,
                                                     const QString &defaultUserDirectory) const
{
    // Storage entries are found by name: anything but a real id would match others' entries.
    if (!isExtensionId(extensionId) || !isProfileKey(currentProfileKey))
        return std::nullopt;
    // Links point at absolute paths, so they hold wherever the app is moved.
    const QString source =
        QDir::cleanPath(QFileInfo(sourceProfileFolder(currentProfileKey) + folder).absoluteFilePath());
    switch (TreeCopy::kindBelow(sourceBrowserFolder(), currentProfileKey + u'/' + folder)) {
    case TreeCopy::Kind::Absent:
        return std::nullopt;
    case TreeCopy::Kind::Link:
        // The app's links would lead wherever this one does.
        Logger::log(QStringLiteral("%1 leads through a link and was left out").arg(source));
        return std::nullopt;
    default:
        break;
    }
    std::error_code code;

    const QString destination = defaultUserDirectory + u'/' + folder;
    const auto unreadable = [&] {
        return failure(QStringLiteral("The folder %1 could not be read: %2")
                           .arg(source, QString::fromStdString(code.message())));
    };
    fs::directory_iterator entries(QFile::encodeName(source).toStdString(), code);
    if (code)
        return unreadable();
    for (; entries != fs::directory_iterator(); entries.increment(code)) {
        const QString name =
            QFile::decodeName(QByteArray::fromStdString(entries->path().filename().native()));
        if (!name.contains(extensionId))
            continue;
        std::error_code typeCode;
        if (entries->symlink_status(typeCode).type() == fs::file_type::symlink) {
            Logger::log(QStringLiteral("%1/%2 is a link and was left out").arg(source, name));
            continue;
        }
        if (!QDir().mkpath(destination))
            return failure(QStringLiteral("The folder %1 could not be created.").arg(destination));
        // Linked, not copied: the app and the browser keep using one storage.
        if (auto error = TreeCopy::placeLink(source + u'/' + name, destination + u'/' + name))
            return failure(*error);
    }
    if (code)
        return unreadable();
    return std::nullopt;
}

bool ProfileSeeder::isProfileKey(const QString &key)
{
    return !key.isEmpty() && key != u"." && key != u".." && !key.contains(u'/') && !key.contains(QChar(0));
}

bool ProfileSeeder::isExtensionId(const QString &id)
{
    return id.size() == 32 && std::all_of(id.begin(), id.end(), [](QChar c) { return c >= u'a' && c <= u'p'; });
}

std::optional<QString> ProfileSeeder::createProfiles(const QList<SNProfileEntry> &usersArray,
                                                     const QString &profileDirectory) const
{
    Logger::log(QStringLiteral("usersArray:%1").arg(describeUsers(usersArray)));

    for (const SNProfileEntry &entry : usersArray) {
        if (!entry.shouldImport)
            continue;
        if (!isProfileKey(entry.profileKey)) {
            Logger::log(QStringLiteral("profile key refused:%1 ").arg(entry.profileKey));
            continue;
        }
        const QString profileToCopyPath = QDir::cleanPath(sourceBrowserFolder() + entry.profileKey);
        Logger::log(QStringLiteral("profileToCopyPath:%1 ").arg(profileToCopyPath));
        // Whatever cannot be copied (locked or unreadable files) the browser rebuilds or does without.
        copyProfileData(sourceBrowserFolder(), entry.profileKey, profileDirectory + u'/' + entry.profileKey,
                        TreeCopy::Errors::KeepGoing);
    }

    QJsonObject localState = QJsonDocument::fromJson(InitialLocalState).object();
    QJsonObject profile = localState.value(QStringLiteral("profile")).toObject();
    QJsonObject infoCache = profile.value(QStringLiteral("info_cache")).toObject();
    for (const SNProfileEntry &entry : usersArray) {
        Logger::log(QStringLiteral("profile:%1 ").arg(entry.profileKey));
        if (!entry.shouldImport || !isProfileKey(entry.profileKey))
            continue;
        Logger::log(QStringLiteral("profile IMPORT:%1 ").arg(entry.profileKey));
        infoCache.insert(entry.profileKey, QJsonObject::fromVariantMap(entry.userDict));
    }
    profile.insert(QStringLiteral("info_cache"), infoCache);
    localState.insert(QStringLiteral("profile"), profile);

    const QJsonDocument document(localState);
    Logger::log(
        QStringLiteral("localState:%1 ").arg(QString::fromUtf8(document.toJson(QJsonDocument::Compact))));
    const QString path = profileDirectory + u'/' + LocalStateName;
    QString detail;
    if (!QDir().mkpath(profileDirectory))
        detail = QStringLiteral("the folder %1 could not be created").arg(profileDirectory);
    else if (AtomicWriter::write(path, document.toJson(QJsonDocument::Indented), &detail))
        return std::nullopt;
    Logger::log(QStringLiteral("%1 could not be written: %2").arg(path, detail));
    return failure(detail);
}
