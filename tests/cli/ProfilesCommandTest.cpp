// Apps that start from one of the user's browser profiles: `sorvane profiles`, `create --profile
// --extension` and `create --import-data`, on a fixture user-data folder in a temporary home.

#include "CliSandbox.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString StoreId = u"abcdefghijklmnopabcdefghijklmnop"_s;
const QString OtherId = u"ponmlkjihgfedcbaponmlkjihgfedcba"_s;

// The fixture user-data folder as chromium's, with both of its extensions from the store.
QString installChromiumProfiles(const Home &home)
{
    const QString folder = home.test.home() + u"/.config/chromium"_s;
    EXPECT_TRUE(copyTree(fixturePath(u"profiles/user-data"_s), folder));
    const QString record = uR"({"from_webstore": true, "manifest": {"name": "%1"}})"_s;
    QFile::remove(folder + u"/Default/Preferences"_s);
    writeFile(folder + u"/Default/Preferences"_s,
              uR"({"homepage": "https://example.org/", "extensions": {"settings": {"%1": %2, "%3": %4}}})"_s
                  .arg(StoreId, record.arg(u"Store extension"_s), OtherId, record.arg(u"Other extension"_s))
                  .toUtf8());
    QFile::remove(folder + u"/Local State"_s);
    writeFile(folder + u"/Local State"_s,
              R"({"profile": {"info_cache": {"Default": {"name": "Person 1"}, "Profile 1": {"name": "Work"}}}})");
    writeFile(folder + u"/Default/Bookmarks"_s, R"({"roots": {}})");
    writeFile(folder + u"/Default/History"_s, "history database");
    return folder;
}

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
}

} // namespace

// `sorvane profiles` offers the profiles and their store extensions; `create` takes over exactly
// the chosen one.
TEST(ProfilesCommand, OffersExtensionsAndCreateTakesOverExactlyTheChosenOne)
{
    Home home;
    installChromiumProfiles(home);
    const CliRun listed = home.sorvane({u"profiles"_s, u"chromium"_s, u"--json"_s});
    ASSERT_EQ(listed.exitCode, 0) << listed.err.constData();
    const QJsonArray profiles = QJsonDocument::fromJson(listed.out).array();
    ASSERT_EQ(profiles.size(), 2) << listed.out.constData();
    EXPECT_EQ(profiles[1][u"name"_s].toString(), u"Work"_s);
    const QJsonArray offered = profiles[0][u"extensions"_s].toArray();
    ASSERT_EQ(offered.size(), 2);
    EXPECT_EQ(offered[0].toObject(), (QJsonObject{{u"id"_s, StoreId}, {u"name"_s, u"Store extension"_s}}));
    EXPECT_EQ(home.sorvane({u"profiles"_s, u"netscape"_s}).exitCode, 1);

    const CliRun run = home.create(u"Mail"_s, {u"--profile"_s, u"Default"_s, u"--extension"_s, OtherId});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const QString profile = home.bundle(u"Mail"_s) + u"/Contents/Profile/Default/"_s;

    // What of an extension is copied: tests/generation/ProfileSeederTest.cpp.
    EXPECT_EQ(entries(profile + u"Extensions"_s), QStringList{OtherId});
    EXPECT_FALSE(QFileInfo::exists(profile + u"Bookmarks"_s)); // no data without --import-data

    // An extension the profile does not offer, or no id at all, is refused before anything is made.
    for (const QString &id : {QString(32, u'x'), QString(32, u'b'), u"../Default"_s}) {
        const CliRun refused = home.create(u"Other"_s, {u"--profile"_s, u"Default"_s, u"--extension"_s, id});
        EXPECT_EQ(refused.exitCode, 1);
        EXPECT_TRUE(refused.err.startsWith("sorvane create: extension:")) << refused.err.constData();
        EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Other"_s)));
    }
}

TEST(CreateCommand, ImportedDataLandsInTheProfile)
{
    Home home;
    const QString userData = installChromiumProfiles(home);
    const QStringList importing{u"--profile"_s, u"Default"_s, u"--extension"_s, StoreId, u"--import-data"_s,
                                u"bookmarks,history,settings,extensions"_s};

    // While the browser runs on the profile its databases are not copied, and nothing is made.
    ASSERT_TRUE(QFile::link(u"%1-%2"_s.arg(QSysInfo::machineHostName()).arg(getpid()), userData + u"/SingletonLock"_s));
    const CliRun busy = home.create(u"Mail"_s, importing);
    EXPECT_EQ(busy.exitCode, 1);
    EXPECT_TRUE(busy.err.contains("Chromium is running")) << busy.err.constData();
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Mail"_s)));
    QFile::remove(userData + u"/SingletonLock"_s);

    const CliRun run = home.create(u"Mail"_s, importing);
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const QJsonObject summary = QJsonDocument::fromJson(run.out).object()[u"import"_s].toObject();
    EXPECT_EQ(summary[u"copiedItemCount"_s].toInt(), 4) << run.out.constData();
    EXPECT_TRUE(summary[u"failedItems"_s].toArray().isEmpty());
    EXPECT_FALSE(summary[u"missingSource"_s].toBool());
    // What each category copies: tests/editing/BrowserDataImporterTest.cpp.
    EXPECT_TRUE(QFileInfo::exists(home.bundle(u"Mail"_s) + u"/Contents/Profile/Default/History"_s));
}

// A profile that is not there costs the import alone: the app is made on a fresh profile, and the
// user reads why nothing was imported, on standard error and in the JSON's import summary. A
// profile that is there but cannot be read still stops the creation.
TEST(CreateCommand, AMissingProfileSkipsTheImportButNotTheApp)
{
    Home home;
    const QString userData = installChromiumProfiles(home);
    const QString missing = u"Nothing imported — the selected profile wasn't found."_s;
    for (const bool json : {true, false}) {
        SCOPED_TRACE(json ? "--json" : "plain");
        const QString name = json ? u"Mail"_s : u"Post"_s;
        QStringList options{u"--profile"_s, u"Profile 7"_s, u"--import-data"_s, u"bookmarks,history"_s};
        const CliRun run = json ? home.create(name, options)
                          : home.sorvane(QStringList{u"create"_s, u"--name"_s, name, u"--url"_s,
                                                     u"https://mail.example.org/"_s, u"--browser"_s, u"chromium"_s,
                                                     u"--into"_s, home.apps} + options);
        EXPECT_EQ(run.exitCode, 1) << "the import asked for did not happen";
        EXPECT_TRUE(QFileInfo(home.bundle(name) + u"/Contents/Info.plist"_s).isFile()) << run.err.constData();
        EXPECT_TRUE(QString::fromUtf8(run.err).trimmed().endsWith(missing)) << run.err.constData();
        EXPECT_FALSE(run.err.contains("cannot read the preferences")) << run.err.constData();
        EXPECT_FALSE(QFileInfo::exists(home.bundle(name) + u"/Contents/Profile/Default/Bookmarks"_s));
        if (json) {
            const QJsonObject summary = QJsonDocument::fromJson(run.out).object()[u"import"_s].toObject();
            EXPECT_TRUE(summary[u"missingSource"_s].toBool()) << run.out.constData();
            EXPECT_EQ(summary[u"messages"_s].toArray(), QJsonArray{missing}) << run.out.constData();
        }
    }

    // There, but unreadable: refused before anything is made.
    QFile::remove(userData + u"/Profile 1/Preferences"_s);
    writeFile(userData + u"/Profile 1/Preferences"_s, "{not json");
    const CliRun broken = home.create(u"News"_s, {u"--profile"_s, u"Profile 1"_s, u"--import-data"_s, u"bookmarks"_s});
    EXPECT_EQ(broken.exitCode, 1);
    EXPECT_TRUE(broken.err.contains("cannot read the preferences")) << broken.err.constData();
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"News"_s)));
}

// The bulk list's checks run over the whole list before anything is written.
TEST(BulkCommand, ListTheBulkChecksRefuseMakesNothing)
{
    Home home;
    const QString file = home.test.root() + u"/apps.json"_s;
    writeFile(file, R"([{"appName": "Mail", "appURL": "https://mail.example.org/"}, {"appName": "News %2", "appURL": "a.b.c"}])");
    const CliRun run = home.sorvane({u"bulk"_s, file, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.startsWith("sorvane bulk: entry 2 ('News %2'): appURL: an address needs at least 6 characters"))
        << run.err.constData();
    EXPECT_TRUE(entries(home.apps).isEmpty());
}
