#include "core/SNAppTracker.h"

#include "core/NotificationCenter.h"
#include "core/PropertyList.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// The tracker as an independent reader (python's plistlib) sees it.
QJsonObject trackerAsJson(const SNAppTracker &tracker)
{
    return QJsonDocument::fromJson(plistAsJsonFromPython(tracker.trackerPath())).object();
}

QJsonObject record(const QString &id, const QString &path, const QString &lastActivity)
{
    return {{u"appID"_s, id}, {u"appPath"_s, path}, {u"lastActivity"_s, lastActivity}};
}

// Runs `fragment` with bash as a launcher does: from the bundle's Contents/Resources, with the
// bundle's stand-ins for macOS tools (plutil) first on PATH. Returns bash's exit code, or -1 if it
// did not finish.
int runFragment(const QString &fragment, const QString &resources)
{
    QProcessEnvironment environment = environmentWith(Context::locateResources() + u"/compat"_s);
    environment.insert(u"PWD"_s, resources);
    environment.insert(u"LC_ALL"_s, u"C"_s);
    return runProgram(u"/bin/bash"_s, {u"-c"_s, fragment}, environment, resources).exitCode;
}

} // namespace

TEST(SNAppTracker, AddsUpdatesAndDeletesWholeRecordsPostingOnlyOnAddAndUpdate)
{
    TestContext test;
    SNAppTracker tracker(test.context());
    QObject observer;
    int posts = 0;
    test.context().notifications().addObserver(u"AppUpdateNotification"_s, &observer,
                                               [&](const QVariantMap &) { ++posts; });
    test.setNow(QDateTime(QDate(2024, 3, 5), QTime(21, 7, 31)));
    const QVariantMap first = tracker.addAppTracker(u"/Apps/Mail.app"_s);
    const QVariantMap second = tracker.addAppTracker(u"/Apps/My Calendar.app"_s);
    const QString a = first.value(u"appID"_s).toString(), b = second.value(u"appID"_s).toString();
    const QString stamp = u"2024-03-05 09:07:31 PM"_s;
    EXPECT_EQ(trackerAsJson(tracker), (QJsonObject{{a, record(a, u"/Apps/Mail.app"_s, stamp)},
                                                   {b, record(b, u"/Apps/My Calendar.app"_s, stamp)}}));
    EXPECT_EQ(posts, 2);

    test.setNow(QDateTime(QDate(2024, 3, 7), QTime(12, 30, 0)));
    ASSERT_TRUE(tracker.updateAppTracker(a, u"/Apps/Post.app"_s));
    ASSERT_TRUE(tracker.updateAppTracker(u"NEW"_s, u"/Apps/New.app"_s));
    ASSERT_TRUE(tracker.deleteAppFromTracker(b));
    EXPECT_EQ(posts, 4);
    const QString later = u"2024-03-07 12:30:00 PM"_s;
    EXPECT_EQ(trackerAsJson(tracker), (QJsonObject{{a, record(a, u"/Apps/Post.app"_s, later)},
                                                   {u"NEW"_s, record(u"NEW"_s, u"/Apps/New.app"_s, later)}}));
    // Atomic writes leave no temporary files beside the tracker, only the lock they share.
    EXPECT_EQ(QDir(test.supportFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{u"tracker.plist"_s, u"tracker.plist.lock"_s}));
}

TEST(SNAppTracker, StampsWithTheTwelveHourClock)
{
    const std::pair<QTime, QString> table[] = {{QTime(0, 5, 9), u"12:05:09 AM"_s},
                                               {QTime(12, 0, 0), u"12:00:00 PM"_s},
                                               {QTime(9, 59, 59), u"09:59:59 AM"_s}};
    for (const auto &[time, stamp] : table)
        EXPECT_EQ(SNAppTracker::activityStamp(QDateTime(QDate(2024, 1, 2), time)), u"2024-01-02 "_s + stamp);
}

// The fragment's text is part of the reviewed launcher scripts (tests/generation/SNAppScriptHelperTest.cpp).
TEST(SNAppTracker, FragmentRunByBashStampsOnlyAnExistingTrackerAndRunsNothingFromItsPath)
{
    TestContext test;
    Context hostile({test.home(), test.root() + uR"(/App Support/it's "x" $(touch pwned)/Sorvane)"_s, {}},
                    std::make_unique<UserDefaults>(test.root() + u"/other-settings.ini"_s));
    SNAppTracker tracker(hostile);
    const QString fragment = tracker.shellUpdateCode(u"A"_s);
    const QString bundle = test.root() + u"/Apps/My App.app"_s, resources = bundle + u"/Contents/Resources"_s;
    writeFile(resources + u"/script"_s, "#!/bin/bash\n");

    EXPECT_EQ(runFragment(fragment, resources), 0);
    EXPECT_FALSE(QFileInfo::exists(tracker.trackerPath())) << "recorded without a tracker";

    const QJsonObject old{{u"A"_s, record(u"A"_s, u"/moved/away/My App.app"_s, u"old"_s)}};
    writeFile(tracker.trackerPath(), PropertyList::toXml(old.toVariantMap()));
    EXPECT_EQ(runFragment(fragment, resources), 0);
    const QJsonObject after = trackerAsJson(tracker).value(u"A"_s).toObject();
    const QString stamp = after.value(u"lastActivity"_s).toString();
    EXPECT_EQ(after, record(u"A"_s, bundle, stamp));
    EXPECT_THAT(stamp.toStdString(),
                testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [ 1][0-9]:[0-9]{2}:[0-9]{2} [AP]M"));
    EXPECT_FALSE(QFileInfo::exists(resources + u"/pwned"_s));
}

// Ids read from the file name the app's configuration, lock and menu entry: one that could reach
// another folder, or is no id at all, is ignored but kept in the file.
TEST(SNAppTracker, RecordsWhoseIdCouldNotNameAFileAreIgnoredButKept)
{
    TestContext test;
    SNAppTracker tracker(test.context());
    const QString good = u"5D7E4B1C-0000-4000-8000-000000000001"_s;
    const QStringList unusable{u"../outside"_s, u"a/b"_s, u".."_s, u"x y"_s, QString(65, u'A'), u"é"_s};
    QVariantMap stored{{good, QVariantMap{{u"appPath"_s, u"/Apps/Mail.app"_s}}}};
    for (const QString &id : unusable)
        stored.insert(id, QVariantMap{{u"appPath"_s, u"/Apps/Other.app"_s}});
    tracker.getAppBundle(); // makes the support folder
    ASSERT_TRUE(PropertyList::writeFile(tracker.trackerPath(), stored));

    EXPECT_EQ(tracker.getTracker().keys(), QStringList{good});
    EXPECT_EQ(tracker.records().keys(), QStringList{good});
    ASSERT_TRUE(tracker.updateAppTracker(good, u"/Apps/Post.app"_s));
    EXPECT_EQ(trackerAsJson(tracker).keys().size(), unusable.size() + 1);
}
