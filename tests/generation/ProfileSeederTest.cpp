#include "generation/ProfileSeeder.h"

#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#ifdef Q_OS_LINUX
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

using namespace Qt::Literals::StringLiterals;

namespace {

const QString StoreId = u"abcdefghijklmnopabcdefghijklmnop"_s;
const QString UnpackedId = u"ponmlkjihgfedcbaponmlkjihgfedcba"_s;

// Puts the fixture user-data folder where the installed browser keeps its own; returns that folder.
QString installBrowserFolder(const ProfileSeeder &seeder)
{
    EXPECT_TRUE(copyTree(fixturePath(u"profiles/user-data"_s), seeder.sourceBrowserFolder()));
    return seeder.sourceBrowserFolder();
}

QJsonObject preferences()
{
    const QString text = uR"({"extensions": {"settings": {"%1": {"from_webstore": true},
                          "%2": {"from_webstore": false}}}, "v": 2})"_s;
    return QJsonDocument::fromJson(text.arg(StoreId, UnpackedId).toUtf8()).object();
}

QString rawLinkTarget(const QString &path)
{
    return QString::fromStdString(std::filesystem::read_symlink(path.toStdString()).string());
}

// Takes the permissions of `path` away while it lives. Root ignores them, so the test thread also
// gives up that override meanwhile (Linux keeps capabilities per thread).
class Locked
{
public:
    Locked(const QString &path, QFile::Permissions mode) : m_path(path)
    {
        QFile::setPermissions(m_path, mode);
#ifdef Q_OS_LINUX
        __user_cap_data_struct lowered[2];
        m_lowered = syscall(SYS_capget, &m_header, m_saved) == 0;
        std::copy(std::begin(m_saved), std::end(m_saved), lowered);
        lowered[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        m_lowered = m_lowered && syscall(SYS_capset, &m_header, lowered) == 0;
#endif
    }
    ~Locked()
    {
#ifdef Q_OS_LINUX
        if (m_lowered)
            syscall(SYS_capset, &m_header, m_saved);
#endif
        QFile::setPermissions(m_path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

private:
    QString m_path;
#ifdef Q_OS_LINUX
    __user_cap_header_struct m_header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct m_saved[2]{};
    bool m_lowered = false;
#endif
};

} // namespace

// Only store extensions the user chose come along, each with its own storage; the stores shared by
// all extensions only when one did.
TEST(ProfileSeeder, CopiesExactlyTheChosenStoreExtensionsAndTheirStorage)
{
    const auto storeEntry = [](bool fromStore) { return QJsonObject{{u"from_webstore"_s, fromStore}}; };
    const auto withSecondFromStore = [&] {
        QJsonObject json = preferences();
        json[u"extensions"_s] = QJsonObject{{u"settings"_s, QJsonObject{{StoreId, storeEntry(true)},
                                                                        {UnpackedId, storeEntry(true)}}}};
        return json;
    };
    // clang-format off
    const struct { const char *name; QJsonObject preferences; QStringList chosen; QStringList copied; } cases[] = {
        {"unpacked one chosen too", preferences(), {StoreId, UnpackedId}, {StoreId}},
        {"second store one chosen", withSecondFromStore(), {UnpackedId}, {UnpackedId}},
        {"none chosen", withSecondFromStore(), {}, {}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        const ProfileSeeder seeder(test.context(), u"vivaldi"_s);
        const QString source = installBrowserFolder(seeder) + u"Default/"_s;
        const QString target = test.root() + u"/App.app/Contents/Profile/Default/"_s;
        for (int seeding = 0; seeding < 2; ++seeding) { // the second replaces what the first left
            const std::optional<QString> error = seeder.copyExtensions(c.preferences, c.chosen, u"Default"_s, target);
            ASSERT_FALSE(error) << error->toStdString();
        }

        enum Kind { File, Link, Absent };
        struct Row { QString path; Kind kind; };
        QList<Row> rows;
        for (const QString &id : {StoreId, UnpackedId}) {
            const bool copied = c.copied.contains(id);
            const QString version = id == StoreId ? u"1.0_0"_s : u"2.1_0"_s;
            rows.append({u"Extensions/%1/%2/manifest.json"_s.arg(id, version), copied ? File : Absent});
            rows.append({u"Local Storage/chrome-extension_%1_0.localstorage"_s.arg(id), copied ? Link : Absent});
            rows.append({u"IndexedDB/chrome-extension_%1_0.indexeddb.leveldb"_s.arg(id), copied ? Link : Absent});
            rows.append({u"Local Extension Settings/%1/000003.log"_s.arg(id), copied ? File : Absent});
        }
        const Kind shared = c.copied.isEmpty() ? Absent : File;
        rows.append({{u"Local Storage/leveldb"_s, Absent},
                     {u"IndexedDB/https_example.test_0.indexeddb.leveldb"_s, Absent},
                     {u"Extension State/CURRENT"_s, shared},
                     {u"Shortcuts"_s, shared},
                     {u"Extension Rules"_s, Absent}});
        for (const Row &row : rows) {
            const QFileInfo copy(target + row.path);
            const QFileInfo original(source + row.path);
            SCOPED_TRACE(row.path.toStdString());
            ASSERT_EQ(copy.exists() || copy.isSymLink(), row.kind != Absent);
            EXPECT_EQ(copy.isSymLink(), row.kind == Link);
            if (row.kind == File) {
                EXPECT_EQ(contentsOrMarker(copy.filePath()), contentsOrMarker(original.filePath()));
            } else if (row.kind == Link) {
                // Storage is linked to its absolute place.
                EXPECT_EQ(rawLinkTarget(copy.filePath()), original.filePath());
            }
        }
        const QByteArray written = contentsOrMarker(target + u"Secure Preferences"_s);
        EXPECT_FALSE(written.contains('\n'));
        EXPECT_EQ(QJsonDocument::fromJson(written).object(), c.preferences);
    }
}

// Ids and keys come from the browser's files: one that is not an extension id is never joined to
// a path or matched against storage names.
TEST(ProfileSeeder, RefusesIdsThatAreNotExtensionIds)
{
    TestContext test;
    const ProfileSeeder seeder(test.context(), u"chrome"_s);
    const QString source = installBrowserFolder(seeder) + u"Default/"_s;
    const QString target = test.root() + u"/App.app/Contents/Profile/Default/"_s;
    QJsonObject settings;
    for (const QString &id : {u"../Default"_s, u"chrome-extension"_s, u"abcdefghijklmnopabcdefghijklmnoz"_s})
        settings.insert(id, QJsonObject{{u"from_webstore"_s, true}});
    const QJsonObject json{{u"extensions"_s, QJsonObject{{u"settings"_s, settings}}}};

    ASSERT_FALSE(seeder.copyExtensions(json, settings.keys(), u"Default"_s, target));
    EXPECT_EQ(QDir(target).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{u"Secure Preferences"_s});
    EXPECT_FALSE(seeder.copyFromFolder(u"Local Storage"_s, u"chrome-extension"_s, u"Default"_s, target));
    EXPECT_FALSE(QFileInfo::exists(target + u"Local Storage"_s));
}

TEST(ProfileSeeder, ImportsChosenProfilesAndListsThemInLocalState)
{
    const QVariantMap person{{u"name"_s, u"Person 1"_s}};
    const QString fre = uR"("fre":{"has_user_seen_fre":true})"_s;
    // clang-format off
    const struct { const char *name; QList<SNProfileEntry> users; QString infoCache; QStringList copied; } rows[] = {
        {"no import", {{false, u"Default"_s, person}}, u"{}"_s, {}},
        {"two imports", {{true, u"Default"_s, person}, {true, u"Profile 1"_s, {{u"name"_s, u"Work"_s}}}},
         uR"({"Default":{"name":"Person 1"},"Profile 1":{"name":"Work"}})"_s, {u"Default"_s, u"Profile 1"_s}},
        {"hostile key", {{true, u"../x"_s, person}, {true, u"Default"_s, {}}}, uR"({"Default":{}})"_s, {u"Default"_s}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const ProfileSeeder seeder(test.context(), u"chrome"_s);
        const QString browserFolder = installBrowserFolder(seeder);
        QDir().mkpath(browserFolder + u"../x"_s); // what "../x" would bring along
        QFile::copy(browserFolder + u"Default/Preferences"_s, browserFolder + u"../x/Preferences"_s);
        const QString profileDirectory = test.root() + u"/App.app/Contents/Profile"_s;

        seeder.createProfiles(row.users, profileDirectory);

        const QByteArray localState = contentsOrMarker(profileDirectory + u"/Local State"_s);
        const QString expected = uR"({"profile":{"info_cache":%1},%2})"_s.arg(row.infoCache, fre);
        EXPECT_EQ(QJsonDocument::fromJson(localState), QJsonDocument::fromJson(expected.toUtf8()));
        for (const SNProfileEntry &user : row.users) {
            const bool copied = row.copied.contains(user.profileKey);
            const QString copy = profileDirectory + u'/' + user.profileKey + u"/Preferences"_s;
            EXPECT_EQ(contentsOrMarker(copy), copied ? contentsOrMarker(browserFolder + user.profileKey + u"/Preferences"_s)
                                             : QByteArray("<unreadable>"));
        }
    }
}

TEST(ProfileSeeder, ReportsWhatItCouldNotWriteOrRead)
{
    TestContext test;
    const ProfileSeeder seeder(test.context(), u"chrome"_s);
    const QString source = installBrowserFolder(seeder) + u"Default/"_s;
    const QString manifest = source + u"Extensions/"_s + StoreId + u"/1.0_0/manifest.json"_s;
    const QString root = test.root();
    QDir().mkpath(root + u"/p2/Extensions"_s);
    QFile(root + u"/file"_s).open(QIODevice::WriteOnly);
    const QFile::Permissions readOnly = QFile::ReadOwner | QFile::ExeOwner;

    // clang-format off
    const struct { const char *name; QString target, locked; QFile::Permissions mode; QString named; } rows[] = {
        {"read-only profile folder", root + u"/p2"_s, root + u"/p2"_s, readOnly, root + u"/p2/Secure Preferences"_s},
        {"read-only Extensions folder", root + u"/p2"_s, root + u"/p2/Extensions"_s, readOnly, root + u"/p2/Extensions/"_s + StoreId},
        {"unreadable extension file", root + u"/p3"_s, manifest, {}, manifest},
        {"unreadable storage folder", root + u"/p4"_s, source + u"Local Storage"_s, {}, source + u"Local Storage"_s},
        {"profile beneath a file", root + u"/file/Default"_s, root + u"/file"_s, readOnly, root + u"/file/Default"_s},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        std::optional<QString> error;
        {
            const Locked locked(row.locked, row.mode);
            error = seeder.copyExtensions(preferences(), {StoreId}, u"Default"_s, row.target);
        }
        ASSERT_TRUE(error);
        EXPECT_TRUE(error->contains(row.named)) << error->toStdString();
    }
}

namespace {

// Every file reachable from `folder`, links followed, whose bytes hold `marker`; and every link
// there that resolves outside `allowed`.
QStringList leaksBelow(const QString &folder, const QByteArray &marker, const QString &allowed)
{
    QStringList leaks;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories | QDirIterator::FollowSymlinks);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info = it.fileInfo();
        if (info.isSymLink() && !info.canonicalFilePath().startsWith(allowed + u'/'))
            leaks << path + u" -> "_s + info.canonicalFilePath();
        if (info.isFile() && readAll(path).contains(marker))
            leaks << path;
    }
    return leaks;
}

} // namespace

// A link anywhere in the browser's folder, even at the item being copied or on its way, is never
// followed: nothing of what it leads to reaches the app, and seeding still succeeds with the rest.
TEST(ProfileSeeder, NeverFollowsALinkOutOfTheBrowserProfile)
{
    const QString manifest = u"Extensions/%1/1.0_0/manifest.json"_s.arg(StoreId);
    const QString settings = u"Local Extension Settings/%1/000003.log"_s.arg(StoreId);
    // `link` (below Default/, empty for Default itself) is made a link to the same place in a
    // look-alike profile outside; `kept` is still copied.
    // clang-format off
    const struct { const char *name; QString link; QString kept; } rows[] = {
        {"the extension folder", u"Extensions/"_s + StoreId, settings},
        {"Extensions on the way", u"Extensions"_s, settings},
        {"a file in the extension", u"Extensions/%1/1.0_0/extra.js"_s.arg(StoreId), manifest},
        {"a folder in the extension", u"Extensions/%1/1.0_0/_locales"_s.arg(StoreId), manifest},
        {"extension settings", u"Local Extension Settings/"_s + StoreId, manifest},
        {"a file in extension settings", u"Local Extension Settings/%1/000004.log"_s.arg(StoreId), settings},
        {"Extension Rules", u"Extension Rules"_s, manifest},
        {"a file in Extension Rules", u"Extension Rules/CURRENT"_s, manifest},
        {"a shared file", u"Shortcuts"_s, manifest},
        {"a storage entry", u"Local Storage/chrome-extension_%1_0.localstorage"_s.arg(StoreId), manifest},
        {"a storage folder", u"IndexedDB"_s, manifest},
        {"Preferences", u"Preferences"_s, manifest},
        {"the profile itself", u""_s, {}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const ProfileSeeder seeder(test.context(), u"chrome"_s);
        const QString browserFolder = installBrowserFolder(seeder);
        const QString source = browserFolder + u"Default"_s;
        writeFile(source + u"/Extension Rules/CURRENT"_s, "rules");
        // Outside: the same names, every file saying "SECRET".
        const QString outside = test.root() + u"/outside"_s;
        ASSERT_TRUE(copyTree(source, outside));
        writeFile(outside + u"/Extensions/%1/1.0_0/extra.js"_s.arg(StoreId), "SECRET");
        writeFile(outside + u"/Extensions/%1/1.0_0/_locales/en/messages.json"_s.arg(StoreId), "SECRET");
        writeFile(outside + u"/Local Extension Settings/%1/000004.log"_s.arg(StoreId), "SECRET");
        QDirIterator files(outside, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext())
            writeFile(files.next(), "SECRET");
        const QString linkPath = row.link.isEmpty() ? source : source + u'/' + row.link;
        if (QFileInfo(linkPath).isDir()) {
            ASSERT_TRUE(QDir(linkPath).removeRecursively());
        }
        QFile::remove(linkPath);
        ASSERT_TRUE(QFile::link(row.link.isEmpty() ? outside : outside + u'/' + row.link, linkPath));

        const QString profileDirectory = test.root() + u"/App.app/Contents/Profile"_s;
        const std::optional<QString> error =
            seeder.copyExtensions(preferences(), {StoreId}, u"Default"_s, profileDirectory + u"/Default"_s);
        ASSERT_FALSE(error) << error->toStdString();
        if (!row.kept.isEmpty()) {
            EXPECT_EQ(contentsOrMarker(profileDirectory + u"/Default/"_s + row.kept), readAll(source + u'/' + row.kept));
        }
        seeder.createProfiles({{true, u"Default"_s, {}}}, profileDirectory);
        const bool preferencesKept = !row.link.isEmpty() && row.link != u"Preferences"_s;
        EXPECT_EQ(contentsOrMarker(profileDirectory + u"/Default/Preferences"_s),
                  preferencesKept ? readAll(source + u"/Preferences"_s) : QByteArray("<unreadable>"));

        EXPECT_EQ(leaksBelow(profileDirectory, "SECRET", QFileInfo(browserFolder).canonicalFilePath()), QStringList());
        EXPECT_TRUE(std::any_of(test.log().cbegin(), test.log().cend(),
                                [](const QString &line) { return line.contains(u"left out"_s); }))
            << test.log().join(u'\n').toStdString();
    }
}
