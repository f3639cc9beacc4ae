#include "editing/BrowserDataImporter.h"

#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Chosen(32, u'c');
const QString Other(32, u'o');

// A source profile with one file or database of each kind, and two store extensions.
QString sourceUserData(const TestContext &test)
{
    const QString profile = test.root() + u"/user-data/Default/"_s;
    const QString record = uR"({"from_webstore": true, "manifest": {"name": "%1"}})"_s;
    writeFile(profile + u"Preferences"_s, uR"({"homepage": "https://example.org/", "extensions": {"settings":
                                              {"%1": %2, "%3": %4}}})"_s
                                              .arg(Chosen, record.arg(u"Chosen"_s), Other, record.arg(u"Other"_s))
                                              .toUtf8());
    writeFile(profile + u"Bookmarks"_s, R"({"roots": {"bookmark_bar": {"children": []}}})");
    writeFile(profile + u"History"_s, "SQLite format 3\0history");
    writeFile(profile + u"History-journal"_s, "journal of history");
    writeFile(profile + u"Favicons"_s, "SQLite format 3\0icons");
    writeFile(profile + u"Login Data"_s, "SQLite format 3\0logins");
    for (const QString &id : {Chosen, Other}) {
        writeFile(profile + u"Extensions/%1/1.0_0/manifest.json"_s.arg(id), "{}");
        writeFile(profile + u"Local Extension Settings/%1/000003.log"_s.arg(id), id.toUtf8());
    }
    return test.root() + u"/user-data"_s;
}

void holdLock(const QString &userData, qint64 pid)
{
    const QString holder = u"%1-%2"_s.arg(QSysInfo::machineHostName()).arg(pid);
    QFile::remove(userData + u"/SingletonLock"_s);
    ASSERT_TRUE(QFile::link(holder, userData + u"/SingletonLock"_s));
}

} // namespace

TEST(BrowserDataImporter, CopiesEachCategoryIntoTheNewProfileAndCountsIt)
{
    // clang-format off
    const struct { ImportCategory category; int count; QStringList copied; QStringList notCopied; } rows[] = {
        {ImportCategory::Bookmarks, 1, {u"Bookmarks"_s}, {u"History"_s, u"Preferences"_s}},
        {ImportCategory::Settings, 1, {}, {u"Bookmarks"_s}},
        {ImportCategory::History, 2, {u"History"_s, u"History-journal"_s, u"Favicons"_s}, {u"Login Data"_s, u"History-wal"_s}},
        {ImportCategory::Passwords, 1, {u"Login Data"_s}, {u"History"_s}},
        {ImportCategory::Extensions, 1, {u"Extensions/%1/1.0_0/manifest.json"_s.arg(Chosen), u"Local Extension Settings/%1/000003.log"_s.arg(Chosen)},
         {u"Extensions/"_s + Other, u"Local Extension Settings/"_s + Other}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(ImportCategories::rawValue(row.category).toStdString());
        TestContext test;
        const QString userData = sourceUserData(test);
        const QString target = test.root() + u"/App.app/Contents/Profile/Default"_s;
        writeFile(target + u"/History-wal"_s, "left from an earlier run");

        const ImportSummary summary = BrowserDataImporter(userData).importData(
            u"Default"_s, {row.category}, {{Chosen, u"Chosen"_s}}, target);

        EXPECT_EQ(summary.copiedItemCount, row.count);
        EXPECT_TRUE(summary.failedItems.isEmpty()) << summary.failedItems.join(u", "_s).toStdString();
        EXPECT_FALSE(summary.missingSource);
        EXPECT_TRUE(summary.messages().isEmpty());
        for (const QString &path : row.copied)
            EXPECT_EQ(readAll(target + u'/' + path), readAll(userData + u"/Default/"_s + path)) << path.toStdString();
        for (const QString &path : row.notCopied) {
            if (path != u"History-wal"_s || row.category == ImportCategory::History) {
                EXPECT_FALSE(QFileInfo::exists(target + u'/' + path)) << path.toStdString();
            }
        }
        if (row.category == ImportCategory::Settings) {
            // Only the chosen extension's record comes along.
            const QJsonObject preferences = QJsonDocument::fromJson(readAll(target + u"/Preferences"_s)).object();
            EXPECT_EQ(preferences[u"homepage"_s].toString(), u"https://example.org/"_s);
            EXPECT_EQ(preferences[u"extensions"_s][u"settings"_s].toObject().keys(), QStringList{Chosen});
        }
    }
}

TEST(BrowserDataImporter, ReportsMissingProfilesEmptyProfilesAndARunningBrowser)
{
    const qint64 gonePid = std::numeric_limits<pid_t>::max();
    // clang-format off
    const struct { const char *name; QString key; qint64 lockPid; bool missing; int copied; QStringList failed; QStringList messages; } rows[] = {
        {"missing profile", u"Profile 9"_s, 0, true, 0, {}, {u"Nothing imported — the selected profile wasn't found."_s}},
        {"key leaving the folder", u".."_s, 0, true, 0, {}, {u"Nothing imported — the selected profile wasn't found."_s}},
        {"empty profile", u"Empty"_s, 0, false, 0, {}, {u"No matching data was found to import."_s}},
        {"browser running", u"Default"_s, getpid(), false, 1, {u"History"_s, u"Favicons"_s},
         {ImportSummary::SourceInUseMessage, u"History couldn't be copied."_s, u"Favicons couldn't be copied."_s}},
        {"stale lock", u"Default"_s, gonePid, false, 3, {}, {}},
        {"link out of the profile", u"Linked"_s, 0, false, 0, {u"Bookmarks"_s}, {u"Bookmarks couldn't be copied."_s}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const QString userData = sourceUserData(test);
        QDir().mkpath(userData + u"/Empty"_s);
        writeFile(test.root() + u"/elsewhere"_s, "not the browser's");
        QDir().mkpath(userData + u"/Linked"_s);
        QFile::link(test.root() + u"/elsewhere"_s, userData + u"/Linked/Bookmarks"_s);
        if (row.lockPid)
            holdLock(userData, row.lockPid);
        const QString target = test.root() + u"/App.app/Contents/Profile/Default"_s;

        const ImportSummary summary = BrowserDataImporter(userData).importData(
            row.key, {ImportCategory::Bookmarks, ImportCategory::History}, {}, target);

        EXPECT_EQ(summary.missingSource, row.missing);
        EXPECT_EQ(summary.copiedItemCount, row.copied);
        EXPECT_EQ(summary.failedItems, row.failed);
        EXPECT_EQ(summary.messages(), row.messages);
        // Nothing of a database the browser holds open is left in the new profile.
        if (!row.failed.isEmpty()) {
            EXPECT_FALSE(QFileInfo::exists(target + u'/' + row.failed.first()));
        }
    }
}

// A link in the browser's profile, at the item, on its way or below it, is never followed: what it
// leads to never reaches the new profile, and the item it stands for is reported as not copied.
TEST(BrowserDataImporter, NeverFollowsALinkOutOfTheProfile)
{
    // clang-format off
    const struct { const char *name; ImportCategory category; QString link; QStringList failed; int copied; } rows[] = {
        {"Preferences", ImportCategory::Settings, u"Preferences"_s, {u"Preferences"_s}, 0},
        {"Bookmarks", ImportCategory::Bookmarks, u"Bookmarks"_s, {u"Bookmarks"_s}, 0},
        {"a database", ImportCategory::History, u"History"_s, {u"History"_s}, 1},
        {"a journal", ImportCategory::History, u"History-journal"_s, {u"History"_s}, 1},
        {"the extension", ImportCategory::Extensions, u"Extensions/"_s + Chosen, {u"Chosen"_s}, 0},
        {"Extensions on the way", ImportCategory::Extensions, u"Extensions"_s, {u"Chosen"_s}, 0},
        {"extension settings", ImportCategory::Extensions, u"Local Extension Settings/"_s + Chosen, {u"Chosen"_s}, 0},
        {"a file in the extension", ImportCategory::Extensions, u"Extensions/%1/1.0_0/extra.js"_s.arg(Chosen), {}, 1},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const QString userData = sourceUserData(test);
        const QString profile = userData + u"/Default/"_s, outside = test.root() + u"/outside/"_s;
        // Outside: the same names, every file saying "SECRET".
        ASSERT_TRUE(copyTree(profile, outside));
        writeFile(outside + u"Extensions/%1/1.0_0/extra.js"_s.arg(Chosen), {});
        QDirIterator files(outside, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            writeFile(files.next(), "SECRET");
        if (QFileInfo(profile + row.link).isDir()) {
            ASSERT_TRUE(QDir(profile + row.link).removeRecursively());
        }
        QFile::remove(profile + row.link);
        ASSERT_TRUE(QFile::link(outside + row.link, profile + row.link));
        const QString target = test.root() + u"/App.app/Contents/Profile/Default"_s;

        const ImportSummary summary =
            BrowserDataImporter(userData).importData(u"Default"_s, {row.category}, {{Chosen, u"Chosen"_s}}, target);

        EXPECT_EQ(summary.failedItems, row.failed);
        EXPECT_EQ(summary.copiedItemCount, row.copied);
        QDirIterator copied(target, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::System,
                            QDirIterator::Subdirectories | QDirIterator::FollowSymlinks);
        while (copied.hasNext()) {
            const QString path = copied.next();
            EXPECT_FALSE(copied.fileInfo().isSymLink()) << path.toStdString();
            EXPECT_FALSE(readAll(path).contains("SECRET")) << path.toStdString();
        }
    }

    // A profile folder that is itself a link is not a profile to import from.
    TestContext test;
    const QString userData = sourceUserData(test);
    ASSERT_TRUE(QFile::link(userData + u"/Default"_s, userData + u"/Linked"_s));
    const ImportSummary summary = BrowserDataImporter(userData).importData(
        u"Linked"_s, {ImportCategory::Bookmarks}, {}, test.root() + u"/App.app/Contents/Profile/Default"_s);
    EXPECT_TRUE(summary.missingSource);
    EXPECT_EQ(summary.copiedItemCount, 0);
}
