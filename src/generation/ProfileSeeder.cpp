#include "generation/ProfileSeeder.h"

#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

#include <array>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

const QString SecurePreferencesName = QStringLiteral("Secure Preferences");
const QString LocalStateName = QStringLiteral("Local State");
const QString ExtensionsFolder = QStringLiteral("Extensions");

// Extension data the browser keeps outside the extension's own folder, shared by all extensions.
const std::array FollowUpEntries{
    QStringLiteral("Extension Rules"),
    QStringLiteral("Local Extension Settings"),
    QStringLiteral("Sync Extension Settings"),
    QStringLiteral("Extension State"),
    QStringLiteral("Shortcuts"),
};

const char *const InitialLocalState =
    R"({"profile" : {"info_cache" : {}}, "fre": {"has_user_seen_fre": true}})";

std::optional<SNError> failure(const QString &description)
{
    return SNError{1, description};
}

fs::path nativePath(const QString &path)
{
    return fs::path(QFile::encodeName(path).toStdString());
}

QString qtPath(const fs::path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

QString reason(const std::error_code &code)
{
    return QString::fromStdString(code.message());
}

// Profile keys and extension ids become folder names: anything that could leave the folder it is
// joined to is refused.
bool isPlainName(const QString &name)
{
    return !name.isEmpty() && name != u"." && name != u".." && !name.contains(u'/');
}

// Makes `linkPath` a link to `target`, replacing a file or link already there. The link is made
// beside its place and renamed over it, so a reader never sees the name missing; a real folder in
// the way makes the rename fail rather than being deleted.
std::optional<SNError> placeLink(const fs::path &target, const fs::path &linkPath)
{
    fs::path temporary = linkPath;
    temporary += ".sorvane-link";
    std::error_code code;
    fs::remove(temporary, code);
    fs::create_symlink(target, temporary, code);
    if (!code)
        fs::rename(temporary, linkPath, code);
    if (code) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        return failure(
            QStringLiteral("The link %1 could not be created: %2").arg(qtPath(linkPath), reason(code)));
    }
    return std::nullopt;
}

// One recursive copy. Links are copied as links with their target unchanged (never followed, so
// nothing outside the copied folder is pulled in), folders are walked, regular files are copied
// with their mode. Sockets and pipes (a running browser's lock and IPC files) are left out.
// A copy that keeps going records its first error and carries on with the next entry.
class TreeCopy
{
public:
    explicit TreeCopy(bool keepGoing) : m_keepGoing(keepGoing) {}

    // A missing source is nothing to copy.
    bool copy(const fs::path &source, const fs::path &destination)
    {
        std::error_code code;
        const fs::file_status status = fs::symlink_status(source, code);
        if (status.type() == fs::file_type::not_found)
            return true;
        if (code)
            return fail(QStringLiteral("%1 could not be read: %2").arg(qtPath(source), reason(code)));

        switch (status.type()) {
        case fs::file_type::symlink:
            return copyLink(source, destination);
        case fs::file_type::directory:
            return copyFolder(source, destination);
        case fs::file_type::regular:
            return copyFile(source, destination);
        default:
            return true;
        }
    }

    const std::optional<SNError> &firstError() const { return m_firstError; }

private:
    bool fail(const QString &description)
    {
        if (!m_firstError)
            m_firstError = SNError{1, description};
        return m_keepGoing;
    }

    // Anything but a real folder at the destination goes first: writing through a link left by an
    // earlier seeding would write into the browser's own profile.
    bool clearForFile(const fs::path &destination)
    {
        std::error_code code;
        const fs::file_status status = fs::symlink_status(destination, code);
        if (status.type() == fs::file_type::not_found || status.type() == fs::file_type::directory)
            return true;
        if (!code)
            fs::remove(destination, code);
        if (code)
            return fail(
                QStringLiteral("%1 could not be replaced: %2").arg(qtPath(destination), reason(code)));
        return true;
    }

    bool copyLink(const fs::path &source, const fs::path &destination)
    {
        std::error_code code;
        const fs::path target = fs::read_symlink(source, code);
        if (code)
            return fail(
                QStringLiteral("The link %1 could not be read: %2").arg(qtPath(source), reason(code)));
        if (const std::optional<SNError> error = placeLink(target, destination))
            return fail(error->description);
        return true;
    }

    bool copyFile(const fs::path &source, const fs::path &destination)
    {
        if (!clearForFile(destination))
            return false;
        std::error_code code;
        fs::copy_file(source, destination, code);
        if (code)
            return fail(QStringLiteral("%1 could not be copied to %2: %3")
                            .arg(qtPath(source), qtPath(destination), reason(code)));
        return true;
    }

    bool copyFolder(const fs::path &source, const fs::path &destination)
    {
        if (!clearForFile(destination))
            return false;
        std::error_code code;
        fs::create_directories(destination, code);
        if (code)
            return fail(QStringLiteral("The folder %1 could not be created: %2")
                            .arg(qtPath(destination), reason(code)));

        fs::directory_iterator entries(source, code);
        if (code)
            return fail(
                QStringLiteral("The folder %1 could not be read: %2").arg(qtPath(source), reason(code)));
        for (; entries != fs::directory_iterator(); entries.increment(code)) {
            const fs::path name = entries->path().filename();
            if (!copy(entries->path(), destination / name))
                return false;
        }
        if (code)
            return fail(
                QStringLiteral("The folder %1 could not be read: %2").arg(qtPath(source), reason(code)));
        return true;
    }

    bool m_keepGoing;
    std::optional<SNError> m_firstError;
};

std::optional<SNError> copyStrictly(const QString &source, const QString &destination)
{
    TreeCopy copy(false);
    copy.copy(nativePath(source), nativePath(destination));
    return copy.firstError();
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
    const BrowserInfo &browser = BrowserCatalogue::byTypeKey(m_typeKey);
    if (Platform::isMac())
        return m_context.homeFolder() + QStringLiteral("/Library/Application Support/") +
               browser.macUserDataFolder + u'/';
    return m_context.homeFolder() + QStringLiteral("/.config/") + browser.linuxUserDataFolder + u'/';
}

QString ProfileSeeder::sourceProfileFolder(const QString &profileKey) const
{
    return sourceBrowserFolder() + profileKey + u'/';
}

std::optional<SNError> ProfileSeeder::copyExctentions(const QJsonObject &preferenceJson,
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
    if (!isPlainName(currentProfileKey))
        return failure(QStringLiteral("\"%1\" is not a profile folder name.").arg(currentProfileKey));
    const QString sourceProfile = sourceProfileFolder(currentProfileKey);

    const QJsonObject settings = preferenceJson.value(QStringLiteral("extensions"))
                                     .toObject()
                                     .value(QStringLiteral("settings"))
                                     .toObject();
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        const QString &extensionId = it.key();
        // Extensions the user loaded unpacked or that came with the browser stay behind.
        if (it.value().toObject().value(QStringLiteral("from_webstore")) != QJsonValue(true))
            continue;
        if (!isPlainName(extensionId)) {
            Logger::log(QStringLiteral("extension id refused:%1 ").arg(extensionId));
            continue;
        }
        const QString relative = ExtensionsFolder + u'/' + extensionId;
        if (auto error = copyStrictly(sourceProfile + relative, defaultUserDirectory + u'/' + relative))
            return error;
        if (auto error = copyFromFolder(QStringLiteral("Local Storage"), extensionId, currentProfileKey,
                                        defaultUserDirectory))
            return error;
        if (auto error = copyFromFolder(QStringLiteral("IndexedDB"), extensionId, currentProfileKey,
                                        defaultUserDirectory))
            return error;
    }

    // Profiles often lack some of these (no extension ever synced, no rules): a missing source is
    // nothing to copy, not an error.
    for (const QString &entry : FollowUpEntries) {
        if (auto error = copyStrictly(sourceProfile + entry, defaultUserDirectory + u'/' + entry))
            return error;
    }
    return std::nullopt;
}

std::optional<SNError> ProfileSeeder::copyFromFolder(const QString &folder, const QString &extensionId,
                                                     const QString &currentProfileKey,
                                                     const QString &defaultUserDirectory) const
{
    // Every name contains the empty id.
    if (extensionId.isEmpty() || !isPlainName(currentProfileKey))
        return std::nullopt;
    // Links point at absolute paths, so they hold wherever the app is moved.
    const fs::path source = nativePath(
        QDir::cleanPath(QFileInfo(sourceProfileFolder(currentProfileKey) + folder).absoluteFilePath()));
    std::error_code code;
    if (fs::symlink_status(source, code).type() == fs::file_type::not_found)
        return std::nullopt;

    const QString destination = defaultUserDirectory + u'/' + folder;
    const auto unreadable = [&] {
        return failure(
            QStringLiteral("The folder %1 could not be read: %2").arg(qtPath(source), reason(code)));
    };
    fs::directory_iterator entries(source, code);
    if (code)
        return unreadable();
    for (; entries != fs::directory_iterator(); entries.increment(code)) {
        const QString name = qtPath(entries->path().filename());
        if (!name.contains(extensionId))
            continue;
        if (!QDir().mkpath(destination))
            return failure(QStringLiteral("The folder %1 could not be created.").arg(destination));
        // Linked, not copied: the app and the browser keep using one storage.
        if (auto error = placeLink(entries->path(), nativePath(destination + u'/' + name)))
            return error;
    }
    if (code)
        return unreadable();
    return std::nullopt;
}

void ProfileSeeder::createProfiles(const QList<SNProfileEntry> &usersArray,
                                   const QString &profileDirectory) const
{
    Logger::log(QStringLiteral("usersArray:%1").arg(describeUsers(usersArray)));

    for (const SNProfileEntry &entry : usersArray) {
        if (!entry.shouldImport)
            continue;
        if (!isPlainName(entry.profileKey)) {
            Logger::log(QStringLiteral("profile key refused:%1 ").arg(entry.profileKey));
            continue;
        }
        const QString profileToCopyPath = QDir::cleanPath(sourceBrowserFolder() + entry.profileKey);
        Logger::log(QStringLiteral("profileToCopyPath:%1 ").arg(profileToCopyPath));
        // Whatever cannot be copied (locked or unreadable files) the browser rebuilds or does without.
        TreeCopy copy(true);
        copy.copy(nativePath(profileToCopyPath), nativePath(profileDirectory + u'/' + entry.profileKey));
    }

    QJsonObject localState = QJsonDocument::fromJson(InitialLocalState).object();
    QJsonObject profile = localState.value(QStringLiteral("profile")).toObject();
    QJsonObject infoCache = profile.value(QStringLiteral("info_cache")).toObject();
    for (const SNProfileEntry &entry : usersArray) {
        Logger::log(QStringLiteral("profile:%1 ").arg(entry.profileKey));
        if (!entry.shouldImport || !isPlainName(entry.profileKey))
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
    if (!QDir().mkpath(profileDirectory) ||
        !AtomicWriter::write(path, document.toJson(QJsonDocument::Indented), &detail))
        Logger::log(QStringLiteral("%1 could not be written: %2").arg(path, detail));
}
