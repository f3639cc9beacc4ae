#include "editing/BrowserDataImporter.h"

#include "core/AtomicWriter.h"
#include "core/Logger.h"
#include "core/TreeCopy.h"
#include "editing/SNProfileDiscovery.h"
#include "generation/ProfileSeeder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSysInfo>

#include <array>
#include <cerrno>
#include <filesystem>
#include <limits>
#include <signal.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const std::array HistoryDatabases{u"History"_s, u"Favicons"_s, u"Top Sites"_s};
const std::array PasswordDatabases{u"Login Data"_s, u"Login Data For Account"_s};
// SQLite keeps the not yet merged part of a database beside it; "-shm" is rebuilt on opening.
const std::array JournalSuffixes{u"-journal"_s, u"-wal"_s};
// Folders with one leveldb store per extension, written while the browser runs.
const std::array ExtensionSettingsFolders{u"Local Extension Settings"_s, u"Sync Extension Settings"_s,
                                          u"Managed Extension Settings"_s};

bool present(const QString &root, const QString &relative)
{
    return TreeCopy::kindBelow(root, relative) != TreeCopy::Kind::Absent;
}

} // namespace

BrowserDataImporter::BrowserDataImporter(const QString &userDataFolder) : m_userDataFolder(userDataFolder)
{
}

bool BrowserDataImporter::sourceInUse() const
{
    // The browser's lock is a link whose target is "<host name>-<process id>".
    std::error_code code;
    const std::filesystem::path lock = QFile::encodeName(m_userDataFolder + u"/SingletonLock"_s).toStdString();
    const std::filesystem::path target = std::filesystem::read_symlink(lock, code);
    if (code)
        return false;
    const QString holder = QFile::decodeName(QByteArray::fromStdString(target.native()));
    const qsizetype dash = holder.lastIndexOf(u'-');
    bool isNumber = false;
    const qint64 pid = holder.mid(dash + 1).toLongLong(&isNumber);
    if (dash <= 0 || !isNumber || pid <= 0 || pid > std::numeric_limits<pid_t>::max())
        return false;
    if (holder.left(dash) != QSysInfo::machineHostName())
        return true; // a browser on another machine sharing this home
    return ::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}

bool BrowserDataImporter::needsClosedBrowser(const QList<ImportCategory> &categories,
                                             const QList<ImportableExtension> &extensions)
{
    return categories.contains(ImportCategory::History) || categories.contains(ImportCategory::Passwords) ||
           (categories.contains(ImportCategory::Extensions) && !extensions.isEmpty());
}

bool BrowserDataImporter::copyTree(const QString &source, const QString &target) const
{
    // A link in the profile could point anywhere; what the browser writes there is never one.
    if (TreeCopy::kindBelow(m_userDataFolder, source) == TreeCopy::Kind::Link) {
        Logger::log(u"⚠️ Browser data import: %1 is a link and was not followed"_s.arg(m_userDataFolder + u'/' + source));
        return false;
    }
    QDir().mkpath(QFileInfo(target).path());
    if (const std::optional<QString> error = TreeCopy::copyBelow(m_userDataFolder, source, target,
                                                                 TreeCopy::Existing::ReplaceNonFolder,
                                                                 TreeCopy::Errors::Stop)) {
        Logger::log(u"⚠️ Browser data import: %1"_s.arg(*error));
        return false;
    }
    return true;
}

ImportSummary BrowserDataImporter::importData(const QString &profileKey, const QList<ImportCategory> &categories,
                                              const QList<ImportableExtension> &extensions,
                                              const QString &targetProfileFolder) const
{
    ImportSummary summary;
    const QString &source = profileKey;
    if (!ProfileSeeder::isProfileKey(profileKey) ||
        TreeCopy::kindBelow(m_userDataFolder, profileKey) != TreeCopy::Kind::Folder) {
        summary.missingSource = true;
        return summary;
    }
    if (!QDir().mkpath(targetProfileFolder)) {
        summary.failedItems = {targetProfileFolder};
        return summary;
    }
    const auto record = [&](Outcome outcome, const QString &item) {
        if (outcome == Outcome::Copied)
            ++summary.copiedItemCount;
        if (outcome == Outcome::Failed || outcome == Outcome::InUse)
            summary.failedItems.append(item);
        summary.sourceInUse = summary.sourceInUse || outcome == Outcome::InUse;
    };
    const auto inFolder = [](const QString &folder, const QString &name) -> QString { return folder + u'/' + name; };

    for (const ImportCategory category : ImportCategories::all()) {
        if (!categories.contains(category))
            continue;
        switch (category) {
        case ImportCategory::Bookmarks:
            record(copyFile(inFolder(source, u"Bookmarks"_s), inFolder(targetProfileFolder, u"Bookmarks"_s)),
                   u"Bookmarks"_s);
            break;
        case ImportCategory::Settings:
            record(copySettings(inFolder(source, u"Preferences"_s), inFolder(targetProfileFolder, u"Preferences"_s),
                                extensions),
                   u"Preferences"_s);
            break;
        case ImportCategory::History:
            for (const QString &database : HistoryDatabases)
                record(copyDatabase(inFolder(source, database), inFolder(targetProfileFolder, database)), database);
            break;
        case ImportCategory::Passwords:
            for (const QString &database : PasswordDatabases)
                record(copyDatabase(inFolder(source, database), inFolder(targetProfileFolder, database)), database);
            break;
        case ImportCategory::Extensions:
            for (const ImportableExtension &extension : extensions)
                record(copyExtension(source, targetProfileFolder, extension.id),
                       extension.name.isEmpty() ? extension.id : extension.name);
            break;
        }
    }
    return summary;
}

BrowserDataImporter::Outcome BrowserDataImporter::copyFile(const QString &source, const QString &target) const
{
    const TreeCopy::Kind kind = TreeCopy::kindBelow(m_userDataFolder, source);
    if (kind != TreeCopy::Kind::File && kind != TreeCopy::Kind::Link)
        return Outcome::Absent;
    return copyTree(source, target) ? Outcome::Copied : Outcome::Failed;
}

BrowserDataImporter::Outcome BrowserDataImporter::copySettings(const QString &source, const QString &target,
                                                               const QList<ImportableExtension> &extensions) const
{
    const TreeCopy::Kind kind = TreeCopy::kindBelow(m_userDataFolder, source);
    if (kind != TreeCopy::Kind::File && kind != TreeCopy::Kind::Link)
        return Outcome::Absent;
    QString readError;
    const std::optional<QByteArray> data =
        TreeCopy::readFileBelow(m_userDataFolder, source, SNProfileDiscovery::MaximumFileSize, &readError);
    if (!data) {
        Logger::log(u"⚠️ Browser data import: %1"_s.arg(readError));
        return Outcome::Failed;
    }
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(*data, &parseError);
    if (!document.isObject()) {
        Logger::log(u"⚠️ Browser data import: %1/%2 is not a preferences file"_s.arg(m_userDataFolder, source));
        return Outcome::Failed;
    }
    // Records of extensions that are not brought along would make the app's engine look for them.
    QJsonObject preferences = document.object();
    QStringList chosen;
    for (const ImportableExtension &extension : extensions)
        chosen.append(extension.id);
    SNExtensionDiscovery::getExtensions(preferences, chosen);
    QString error;
    if (!AtomicWriter::write(target, QJsonDocument(preferences).toJson(QJsonDocument::Compact), &error)) {
        Logger::log(u"⚠️ Browser data import: %1 could not be written: %2"_s.arg(target, error));
        return Outcome::Failed;
    }
    return Outcome::Copied;
}

BrowserDataImporter::Outcome BrowserDataImporter::copyDatabase(const QString &source, const QString &target) const
{
    const TreeCopy::Kind kind = TreeCopy::kindBelow(m_userDataFolder, source);
    if (kind != TreeCopy::Kind::File && kind != TreeCopy::Kind::Link)
        return Outcome::Absent;
    if (sourceInUse())
        return Outcome::InUse;
    QStringList written;
    const auto undo = [&] {
        for (const QString &path : std::as_const(written))
            QFile::remove(path);
    };
    bool copied = copyTree(source, target);
    written.append(target);
    for (const QString &suffix : JournalSuffixes) {
        // A journal the source does not have must not be left beside the copy: it would be
        // replayed into a database it does not belong to.
        if (present(m_userDataFolder, source + suffix)) {
            copied = copied && copyTree(source + suffix, target + suffix);
            written.append(target + suffix);
        } else {
            QFile::remove(target + suffix);
        }
    }
    QFile::remove(target + u"-shm"_s);
    // A browser that started meanwhile may have changed the files halfway through.
    if (copied && sourceInUse()) {
        undo();
        return Outcome::InUse;
    }
    if (!copied) {
        undo();
        return Outcome::Failed;
    }
    return Outcome::Copied;
}

BrowserDataImporter::Outcome BrowserDataImporter::copyExtension(const QString &sourceProfile,
                                                                const QString &targetProfile,
                                                                const QString &id) const
{
    if (!ProfileSeeder::isExtensionId(id))
        return Outcome::Failed;
    const QString folder = u"Extensions/"_s + id;
    const TreeCopy::Kind kind = TreeCopy::kindBelow(m_userDataFolder, sourceProfile + u'/' + folder);
    if (kind != TreeCopy::Kind::Folder && kind != TreeCopy::Kind::Link)
        return Outcome::Absent;
    if (sourceInUse())
        return Outcome::InUse;
    if (!copyTree(sourceProfile + u'/' + folder, targetProfile + u'/' + folder))
        return Outcome::Failed;
    for (const QString &settings : ExtensionSettingsFolders) {
        const QString own = settings + u'/' + id;
        if (present(m_userDataFolder, sourceProfile + u'/' + own) && !copyTree(sourceProfile + u'/' + own, targetProfile + u'/' + own))
            return Outcome::Failed;
    }
    return sourceInUse() ? Outcome::InUse : Outcome::Copied;
}
