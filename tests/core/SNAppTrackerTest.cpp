#include "core/SNAppTracker.h"

#include "core/NotificationCenter.h"
#include "core/PropertyList.h"
#include "core/ShellEscaping.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace {

QJsonObject trackerAsJson(const QString &path)
{
    return QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
}

QJsonObject recordJson(const QString &id, const QString &path, const QString &lastActivity)
{
    return {{QStringLiteral("appID"), id}, {QStringLiteral("appPath"), path}, {QStringLiteral("lastActivity"), lastActivity}};
}

QDateTime localTime(int year, int month, int day, int hour, int minute, int second)
{
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second));
}

bool writeText(const QString &path, const QByteArray &data, bool executable = false)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size())
        return false;
    file.close();
    return !executable || file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
}

// A stand-in for the platform's property-list editor: `plutil -replace KEYPATH -string VALUE FILE`.
const QByteArray fakePlutil = "#!" SORVANE_PYTHON3 R"PY(
import plistlib, sys
args = sys.argv[1:]
if len(args) != 5 or args[0] != "-replace" or args[2] != "-string":
    sys.exit("usage: plutil -replace KEYPATH -string VALUE FILE")
keys, value, path = args[1].split("."), args[3], args[4]
with open(path, "rb") as f:
    root = plistlib.load(f)
node = root
for key in keys[:-1]:
    node = node[key]
node[keys[-1]] = value
with open(path, "wb") as f:
    plistlib.dump(root, f)
)PY";

// A context whose support folder is `folder` below the test's root, for paths that need escaping.
std::unique_ptr<Context> contextWithSupportFolder(TestContext &test, const QString &folder)
{
    return std::make_unique<Context>(
        Context::Folders{test.home(), test.root() + u'/' + folder, Context::locateResources()},
        std::make_unique<UserDefaults>(test.root() + QStringLiteral("/other-settings.ini")));
}

} // namespace

TEST(SNAppTracker, AddsUpdatesAndDeletesWholeRecords)
{
    TestContext test;
    SNAppTracker tracker(test.context());
    QObject observer;
    int posts = 0;
    test.context().notifications().addObserver(QStringLiteral("AppUpdateNotification"), &observer,
                                               [&](const QVariantMap &) { ++posts; });
    test.setNow(localTime(2024, 3, 5, 21, 7, 31));
    const QVariantMap first = tracker.addAppTracker(QStringLiteral("/Apps/Mail.app"));
    test.setNow(localTime(2024, 3, 6, 8, 0, 0));
    const QVariantMap second = tracker.addAppTracker(QStringLiteral("/Apps/My Calendar.app"));
    const QString a = first.value(QStringLiteral("appID")).toString();
    const QString b = second.value(QStringLiteral("appID")).toString();
    EXPECT_EQ(a.size(), 36);
    EXPECT_NE(a, b);
    EXPECT_EQ(trackerAsJson(tracker.trackerPath()),
              (QJsonObject{{a, recordJson(a, QStringLiteral("/Apps/Mail.app"), QStringLiteral("2024-03-05 09:07:31 PM"))},
                           {b, recordJson(b, QStringLiteral("/Apps/My Calendar.app"),
                                          QStringLiteral("2024-03-06 08:00:00 AM"))}}));
    EXPECT_EQ(tracker.getTracker(), (QVariantMap{{a, first}, {b, second}}));
    EXPECT_EQ(posts, 2);

    test.setNow(localTime(2024, 3, 7, 12, 30, 0));
    tracker.updateAppTracker(a, QStringLiteral("/Apps/Post.app"));
    tracker.updateAppTracker(QStringLiteral("NEW"), QStringLiteral("/Apps/New.app"));
    tracker.deleteAppFromTracker(b);
    tracker.deleteAppFromTracker(QStringLiteral("UNKNOWN"));
    EXPECT_EQ(posts, 4); // deleting posts nothing
    EXPECT_EQ(trackerAsJson(tracker.trackerPath()),
              (QJsonObject{{a, recordJson(a, QStringLiteral("/Apps/Post.app"), QStringLiteral("2024-03-07 12:30:00 PM"))},
                           {QStringLiteral("NEW"), recordJson(QStringLiteral("NEW"), QStringLiteral("/Apps/New.app"),
                                                              QStringLiteral("2024-03-07 12:30:00 PM"))}}));
    // Atomic writes leave no temporary files beside the tracker.
    EXPECT_EQ(QDir(test.supportFolder()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{QStringLiteral("tracker.plist")});
}

struct StampCase
{
    QDateTime time;
    QString stamp;
};

void PrintTo(const StampCase &c, std::ostream *os)
{
    *os << c.time.toString(Qt::ISODate).toStdString();
}

class SNAppTrackerStamp : public ::testing::TestWithParam<StampCase>
{
};

TEST_P(SNAppTrackerStamp, UsesTheTwelveHourClock)
{
    TestContext test;
    test.setNow(GetParam().time);
    SNAppTracker tracker(test.context());
    EXPECT_EQ(tracker.addAppTracker(QStringLiteral("/a.app")).value(QStringLiteral("lastActivity")), GetParam().stamp);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SNAppTrackerStamp,
    ::testing::Values(StampCase{localTime(2024, 3, 5, 21, 7, 31), QStringLiteral("2024-03-05 09:07:31 PM")},
                      StampCase{localTime(2024, 1, 1, 0, 5, 9), QStringLiteral("2024-01-01 12:05:09 AM")},
                      StampCase{localTime(2023, 12, 31, 12, 0, 0), QStringLiteral("2023-12-31 12:00:00 PM")},
                      StampCase{localTime(1999, 7, 4, 9, 59, 59), QStringLiteral("1999-07-04 09:59:59 AM")}));

TEST(SNAppTracker, MissingTrackerReadsEmptyAndDeletingCreatesNothing)
{
    TestContext test;
    SNAppTracker tracker(test.context());
    EXPECT_EQ(tracker.getTracker(), QVariantMap());
    EXPECT_FALSE(tracker.hasTrackedSorvaneApps());
    tracker.deleteAppFromTracker(QStringLiteral("A"));
    EXPECT_FALSE(QFileInfo::exists(tracker.trackerPath()));
    EXPECT_TRUE(QFileInfo(tracker.getAppBundle()).isDir());
    EXPECT_EQ(tracker.getAppBundle(), test.supportFolder());
}

class SNAppTrackerCorrupt : public ::testing::TestWithParam<QByteArray>
{
};

TEST_P(SNAppTrackerCorrupt, ReadsEmptyAndIsReplacedByTheNextWrite)
{
    TestContext test;
    SNAppTracker tracker(test.context());
    ASSERT_TRUE(writeText(tracker.trackerPath(), GetParam()));
    EXPECT_EQ(tracker.getTracker(), QVariantMap());
    const QString id = tracker.addAppTracker(QStringLiteral("/a.app")).value(QStringLiteral("appID")).toString();
    EXPECT_EQ(trackerAsJson(tracker.trackerPath()).keys(), QStringList{id});
}

INSTANTIATE_TEST_SUITE_P(
    Contents, SNAppTrackerCorrupt,
    ::testing::Values(QByteArray(), QByteArray("not a property list"), QByteArray("bplist00\x01\x02\x03"),
                      QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>A</key>"),
                      QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><array><string>A</string>"
                                 "</array></plist>"),
                      QByteArray("<?xml version=\"1.0\"?><plist version=\"1.0\"><string>A</string></plist>")));

struct TrackedCase
{
    const char *name;
    QVariantMap tracker; // "HERE" and "GONE" stand for a bundle path that exists and one that does not
    bool expected;
};

void PrintTo(const TrackedCase &c, std::ostream *os)
{
    *os << c.name;
}

class SNAppTrackerHasTracked : public ::testing::TestWithParam<TrackedCase>
{
};

namespace {

QVariant withPaths(const QVariant &value, const QString &here)
{
    if (value.typeId() == QMetaType::QVariantMap) {
        QVariantMap map = value.toMap();
        for (auto it = map.begin(); it != map.end(); ++it)
            it.value() = withPaths(it.value(), here);
        return map;
    }
    if (value.typeId() == QMetaType::QVariantList) {
        QVariantList list = value.toList();
        for (QVariant &item : list)
            item = withPaths(item, here);
        return list;
    }
    if (value == QStringLiteral("HERE"))
        return here;
    if (value == QStringLiteral("GONE"))
        return QString(here + QStringLiteral("/gone.app"));
    return value;
}

QVariantMap record(const QVariant &path)
{
    return {{QStringLiteral("appID"), QStringLiteral("A")}, {QStringLiteral("appPath"), path}};
}

} // namespace

TEST_P(SNAppTrackerHasTracked, NeedsOneRecordWithAnExistingPath)
{
    TestContext test;
    SNAppTracker tracker(test.context());
    const QString here = test.applicationsFolder() + QStringLiteral("/Here.app");
    ASSERT_TRUE(QDir().mkpath(here));
    tracker.getAppBundle();
    ASSERT_TRUE(PropertyList::writeFile(tracker.trackerPath(), withPaths(GetParam().tracker, here)));
    EXPECT_EQ(tracker.hasTrackedSorvaneApps(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SNAppTrackerHasTracked,
    ::testing::Values(
        TrackedCase{"Empty", {}, false},
        TrackedCase{"EmptyPath", {{QStringLiteral("A"), record(QString())}}, false},
        TrackedCase{"MissingPath", {{QStringLiteral("A"), record(QStringLiteral("GONE"))}}, false},
        TrackedCase{"PathNotAString",
                    {{QStringLiteral("A"), record(QVariantList{QStringLiteral("HERE")})}, {QStringLiteral("B"), record(7)}},
                    false},
        TrackedCase{"RecordNotADictionary", {{QStringLiteral("A"), QStringLiteral("HERE")}}, false},
        TrackedCase{"OneOfSeveral",
                    {{QStringLiteral("A"), record(QStringLiteral("GONE"))},
                     {QStringLiteral("B"), QStringLiteral("junk")},
                     {QStringLiteral("C"), record(QStringLiteral("HERE"))}},
                    true}),
    [](const ::testing::TestParamInfo<TrackedCase> &param) { return std::string(param.param.name); });

struct FragmentCase
{
    const char *name;
    QString supportFolder;        // below the test's root
    QString escapedTrackerPath;   // the same, as the fragment must spell it
};

void PrintTo(const FragmentCase &c, std::ostream *os)
{
    *os << c.name;
}

class SNAppTrackerFragment : public ::testing::TestWithParam<FragmentCase>
{
};

TEST_P(SNAppTrackerFragment, IsTheFixedText)
{
    TestContext test;
    ASSERT_EQ(ShellEscaping::unquoted(test.root()), test.root()) << "the temporary root itself needs escaping";
    const auto support = contextWithSupportFolder(test, GetParam().supportFolder);
    const QString file = test.root() + u'/' + GetParam().escapedTrackerPath;
    const QString id = QStringLiteral("0C9F1A52-3B7E-4D2A-9E61-7F4B8C2D1E03");
    EXPECT_EQ(SNAppTracker(*support).shellUpdateCode(id),
              QStringLiteral("\n\nFILE=") + file + QStringLiteral("\nif test -f \"$FILE\"; then\nplutil -replace ")
                  + id + QStringLiteral(".lastActivity -string \"$(date +'%Y-%m-%d %l:%M:%S %p')\" ") + file
                  + QStringLiteral("\nTRACKER_APP_ROOT=\"$(dirname \"$(dirname \"$PWD\")\")\"\n"
                                   "if [ -f \"$TRACKER_APP_ROOT/Contents/Resources/script\" ]; then\n"
                                   "plutil -replace ")
                  + id + QStringLiteral(".appPath -string \"$TRACKER_APP_ROOT\" ") + file
                  + QStringLiteral("\nfi\nfi\n"));
}

namespace {

struct FragmentRun
{
    int exitCode = -1;
    QString errors;
};

// Runs `fragment` with bash the way a launcher does: from the bundle's Contents/Resources, with
// the stand-in plutil first on PATH.
FragmentRun runFragment(const QString &fragment, const QString &bundle, const QString &bin)
{
    const QString resources = bundle + QStringLiteral("/Contents/Resources");
    QDir().mkpath(resources);
    QProcess bash;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PATH"), bin + u':' + environment.value(QStringLiteral("PATH")));
    environment.insert(QStringLiteral("PWD"), resources);
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    bash.setProcessEnvironment(environment);
    bash.setWorkingDirectory(resources);
    bash.start(QStringLiteral("/bin/bash"), {QStringLiteral("-c"), fragment});
    FragmentRun run;
    if (bash.waitForFinished(30000) && bash.exitStatus() == QProcess::NormalExit)
        run.exitCode = bash.exitCode();
    run.errors = QString::fromUtf8(bash.readAllStandardError());
    return run;
}

const QRegularExpression scriptStamp(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d [ 1]\\d:\\d\\d:\\d\\d [AP]M$"));

} // namespace

TEST_P(SNAppTrackerFragment, StampsTheRecordWhenRunByBash)
{
    TestContext test;
    const auto support = contextWithSupportFolder(test, GetParam().supportFolder);
    const QString bin = test.root() + QStringLiteral("/bin");
    ASSERT_TRUE(writeText(bin + QStringLiteral("/plutil"), fakePlutil, true));
    const QString bundle = test.root() + QStringLiteral("/Apps/My App.app");
    ASSERT_TRUE(writeText(bundle + QStringLiteral("/Contents/Resources/script"), "#!/bin/bash\n"));

    SNAppTracker tracker(*support);
    const QString id = tracker.addAppTracker(QStringLiteral("/moved/away/My App.app")).value(QStringLiteral("appID")).toString();
    const QString before = tracker.getTracker().value(id).toMap().value(QStringLiteral("lastActivity")).toString();

    const FragmentRun run = runFragment(tracker.shellUpdateCode(id), bundle, bin);
    EXPECT_EQ(run.exitCode, 0) << run.errors.toStdString();
    const QJsonObject record = trackerAsJson(tracker.trackerPath()).value(id).toObject();
    EXPECT_EQ(record.keys(), (QStringList{QStringLiteral("appID"), QStringLiteral("appPath"), QStringLiteral("lastActivity")}));
    EXPECT_EQ(record.value(QStringLiteral("appID")).toString(), id);
    EXPECT_EQ(record.value(QStringLiteral("appPath")).toString(), bundle);
    const QString stamp = record.value(QStringLiteral("lastActivity")).toString();
    EXPECT_TRUE(scriptStamp.match(stamp).hasMatch()) << stamp.toStdString();
    EXPECT_NE(stamp, before);
    EXPECT_FALSE(QFileInfo::exists(bundle + QStringLiteral("/Contents/Resources/pwned")));
}

INSTANTIATE_TEST_SUITE_P(
    Paths, SNAppTrackerFragment,
    ::testing::Values(
        FragmentCase{"Ordinary", QStringLiteral("home/.local/share/Sorvane"),
                     QStringLiteral("home/.local/share/Sorvane/tracker.plist")},
        FragmentCase{"Blanks", QStringLiteral("Library/Application Support/Sorvane"),
                     QStringLiteral("Library/Application\\ Support/Sorvane/tracker.plist")},
        FragmentCase{"QuoteAndDollar", QStringLiteral("Say \"hi\" $USER/Sorvane"),
                     QStringLiteral("Say\\ \\\"hi\\\"\\ \\$USER/Sorvane/tracker.plist")},
        FragmentCase{"CommandSubstitution", QStringLiteral("$(touch pwned);'x'/Sorvane"),
                     QStringLiteral("\\$\\(touch\\ pwned\\)\\;\\'x\\'/Sorvane/tracker.plist")}),
    [](const ::testing::TestParamInfo<FragmentCase> &param) { return std::string(param.param.name); });

TEST(SNAppTracker, FragmentRecordsNothingWithoutTrackerAndKeepsThePathWithoutScript)
{
    TestContext test;
    const QString bin = test.root() + QStringLiteral("/bin");
    ASSERT_TRUE(writeText(bin + QStringLiteral("/plutil"), fakePlutil, true));
    SNAppTracker tracker(test.context());

    // No tracker: nothing is recorded and the launch goes on.
    const FragmentRun untracked = runFragment(tracker.shellUpdateCode(QStringLiteral("A")),
                                              test.root() + QStringLiteral("/Apps/One.app"), bin);
    EXPECT_EQ(untracked.exitCode, 0) << untracked.errors.toStdString();
    EXPECT_FALSE(QFileInfo::exists(tracker.trackerPath()));

    // A folder that is not a generated bundle: only the time is stamped.
    test.setNow(localTime(2001, 1, 1, 1, 1, 1));
    const QString id = tracker.addAppTracker(QStringLiteral("/elsewhere/Two.app")).value(QStringLiteral("appID")).toString();
    const FragmentRun run = runFragment(tracker.shellUpdateCode(id), test.root() + QStringLiteral("/Apps/Two.app"), bin);
    EXPECT_EQ(run.exitCode, 0) << run.errors.toStdString();
    const QJsonObject record = trackerAsJson(tracker.trackerPath()).value(id).toObject();
    EXPECT_EQ(record.value(QStringLiteral("appPath")).toString(), QStringLiteral("/elsewhere/Two.app"));
    EXPECT_TRUE(scriptStamp.match(record.value(QStringLiteral("lastActivity")).toString()).hasMatch());
}
