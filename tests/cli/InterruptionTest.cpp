// Kills at random instants, and two operations on one app at once. After the next start of
// `sorvane` every registered app is whole and listed once, the data in its profile survives, and
// no hidden working folder, journal entry or reservation is left behind. Seeds are fixed; the
// number of runs per case is SORVANE_INTERRUPTION_RUNS (default 10).

#include "CliSandbox.h"

#include "core/PropertyList.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <random>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString MarkerName = u"marker-that-must-survive"_s;

int runsPerCase()
{
    const int runs = qEnvironmentVariableIntValue("SORVANE_INTERRUPTION_RUNS");
    return runs > 0 ? runs : 10;
}

class Interrupted : public Home
{
public:
    Interrupted()
    {
        // A second engine, so that apps can switch between two.
        writeSettings(u"chromiumPath=" SORVANE_FAKE_ENGINE "\nbravePath=" SORVANE_FAKE_ENGINE "\n"_s);
    }

    QString make(const QString &name)
    {
        const CliRun made = create(name);
        EXPECT_EQ(made.exitCode, 0) << made.err.constData();
        const QString id = QJsonDocument::fromJson(made.out).object().value(u"appID"_s).toString();
        QDir().mkpath(bundle(name) + u"/Contents/Profile/Default"_s);
        QFile marker(bundle(name) + u"/Contents/Profile/Default/"_s + MarkerName);
        EXPECT_TRUE(marker.open(QIODevice::WriteOnly) && marker.write("kept") == 4);
        marked.insert(id);
        lastMade = name;
        return id;
    }

    QProcess *start(const QStringList &arguments) const
    {
        auto *process = new QProcess;
        process->setProcessEnvironment(environment);
        process->setStandardInputFile(QProcess::nullDevice());
        process->start(QStringLiteral(SORVANE_CLI), arguments);
        process->waitForStarted();
        return process;
    }

    // How long the command takes when left alone, in microseconds.
    qint64 timed(const QStringList &arguments) const
    {
        QElapsedTimer timer;
        timer.start();
        const CliRun run = sorvane(arguments);
        EXPECT_EQ(run.exitCode, 0) << qPrintable(arguments.join(u' ')) << run.err.constData();
        return timer.nsecsElapsed() / 1000;
    }

    // Runs the command and kills it (SIGKILL) after `micros`; true when the kill landed.
    bool killedAfter(const QStringList &arguments, qint64 micros) const
    {
        std::unique_ptr<QProcess> process(start(arguments));
        QThread::usleep(static_cast<unsigned long>(micros));
        const bool running = process->state() == QProcess::Running;
        ::kill(static_cast<pid_t>(process->processId()), SIGKILL);
        process->waitForFinished(60000);
        return running && process->exitStatus() == QProcess::CrashExit;
    }

    // The registry's records as {id: path}.
    QMap<QString, QString> records() const
    {
        QMap<QString, QString> paths;
        const QJsonObject all = tracker();
        for (auto it = all.begin(); it != all.end(); ++it)
            paths.insert(it.key(), it.value().toObject().value(u"appPath"_s).toString());
        return paths;
    }

    // The next start's recovery runs, then everything is held against the disk.
    void expectAllWhole(const QString &when) const
    {
        const CliRun listed = sorvane({u"list"_s, u"--json"_s});
        ASSERT_EQ(listed.exitCode, 0) << qPrintable(when) << listed.err.constData();
        const QMap<QString, QString> byId = records();
        QStringList paths = byId.values();
        paths.removeDuplicates();
        EXPECT_EQ(paths.size(), byId.size()) << qPrintable(when) << ": a bundle has two records";
        EXPECT_EQ(QJsonDocument::fromJson(listed.out).array().size(), byId.size()) << qPrintable(when);
        for (auto it = byId.cbegin(); it != byId.cend(); ++it) {
            const QString &path = it.value();
            SCOPED_TRACE(qPrintable(when + u": "_s + path));
            const QVariantMap plist = PropertyList::readFile(path + u"/Contents/Info.plist"_s).toMap();
            ASSERT_FALSE(plist.isEmpty()) << "no readable Info.plist";
            const QString executable = plist.value(u"CFBundleExecutable"_s).toString();
            EXPECT_EQ(executable + u".app"_s, QFileInfo(path).fileName());
            EXPECT_TRUE(QFileInfo(path + u"/Contents/MacOS/"_s + executable).isFile()) << "launch program missing";
            EXPECT_TRUE(QFileInfo(path + u"/Contents/Resources/script"_s).isFile());
            if (marked.contains(it.key())) {
                EXPECT_TRUE(QFileInfo::exists(path + u"/Contents/Profile/Default/"_s + MarkerName)) << "profile lost";
            }
            EXPECT_EQ(QDir(path + u"/Contents"_s).entryList({u".*"_s}, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                      QStringList())
                << "hidden leftovers in Contents";
            const CliRun info = sorvane({u"info"_s, it.key(), u"--json"_s});
            EXPECT_EQ(info.exitCode, 0) << info.err.constData();
        }
        EXPECT_EQ(QDir(apps).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                      .filter(QRegularExpression(u"^\\."_s)),
                  QStringList())
            << qPrintable(when) << ": hidden leftovers in the applications folder";
        EXPECT_TRUE(QDir(test.home() + u"/.local/share/Sorvane/journal"_s).entryList({u"*.plist"_s}).isEmpty())
            << qPrintable(when) << ": journal entries left";
    }

    QString trashed(const QString &name) const
    {
        return test.home() + u"/.local/share/Trash/files/"_s + name + u".app"_s;
    }

    // The apps whose profile holds the marker (imported copies start with a profile of their own).
    QSet<QString> marked;
    QString lastMade;
};

// One kind of change, killed at random points of its run.
struct KillCase
{
    const char *label;
    // Makes what the change works on; returns nothing.
    std::function<void(Interrupted &)> prepare;
    // The command of run `run` (changes alternate, so that each run has work to do).
    std::function<QStringList(Interrupted &, int run)> command;
    // What else must hold after the next start (none: only the checks every change has).
    std::function<void(Interrupted &)> check = {};
};

class KillAtRandom : public testing::TestWithParam<KillCase>
{
};

TEST_P(KillAtRandom, TheNextStartLeavesEveryAppWhole)
{
    Interrupted home;
    const KillCase &kill = GetParam();
    kill.prepare(home);
    // The change's own length: the shorter of two runs, so that a busy moment while measuring
    // does not put most kills after the change's end.
    const qint64 length = std::min(home.timed(kill.command(home, 0)), home.timed(kill.command(home, 1)));
    ASSERT_NO_FATAL_FAILURE(home.expectAllWhole(u"after uninterrupted runs"_s));

    std::mt19937 random(20261126);
    std::uniform_int_distribution<qint64> instant(0, length);
    int landed = 0;
    const int runs = runsPerCase();
    for (int run = 0; run < runs; ++run) {
        const qint64 at = instant(random);
        landed += home.killedAfter(kill.command(home, run), at) ? 1 : 0;
        ASSERT_NO_FATAL_FAILURE(home.expectAllWhole(u"run %1, killed after %2 us"_s.arg(run).arg(at)));
        if (kill.check) {
            SCOPED_TRACE(qPrintable(u"run %1, killed after %2 us"_s.arg(run).arg(at)));
            ASSERT_NO_FATAL_FAILURE(kill.check(home));
        }
    }
    // Kills must land inside the change, or the test proves nothing.
    EXPECT_GE(landed, runs / 3);
    std::printf("%s: %d runs, %d killed the change (run length %lld us)\n", kill.label, runs, landed,
                static_cast<long long>(length));
}

QStringList renameCommand(Interrupted &home, int run)
{
    // Whichever name the app has now, it gets the other one.
    const bool first = QFileInfo::exists(home.bundle(u"Notes"_s));
    Q_UNUSED(run);
    return {u"edit"_s, home.bundle(first ? u"Notes"_s : u"Notes Renamed"_s), u"--name"_s,
            first ? u"Notes Renamed"_s : u"Notes"_s};
}

QString onlyApp(Interrupted &home)
{
    const QMap<QString, QString> byId = home.records();
    return byId.isEmpty() ? QString() : byId.firstKey();
}

QStringList switchCommand(Interrupted &home, int)
{
    const QString id = onlyApp(home);
    const CliRun info = home.sorvane({u"info"_s, id, u"--json"_s});
    const bool onChromium = QString::fromUtf8(info.out).contains(u"\"chromium\""_s);
    return {u"edit"_s, id, u"--browser"_s, onChromium ? u"brave"_s : u"chromium"_s, u"--restore-backup"_s, u"--yes"_s};
}

QStringList deleteCommand(Interrupted &home, int run)
{
    // A deleted app is whole in the Trash, and is made again under a new name, so the Trash never
    // holds two of one name.
    if (home.records().isEmpty()) {
        // A kill between the Trash's info file and the move makes the next delete take a
        // numbered name there.
        const QString trash = QFileInfo(home.trashed(home.lastMade)).path();
        const QStringList candidates = QDir(trash).entryList({home.lastMade + u".app*"_s}, QDir::Dirs);
        EXPECT_TRUE(std::any_of(candidates.cbegin(), candidates.cend(), [&](const QString &name) {
            return QFileInfo(trash + u'/' + name + u"/Contents/Info.plist"_s).isFile();
        })) << "trashed half an app: " << qPrintable(candidates.join(u", "_s));
        home.make(u"Gone %1"_s.arg(run));
    }
    return {u"delete"_s, onlyApp(home), u"--yes"_s};
}

// Before each update the app is made to look older: another version in its Info.plist and a
// line in its script that regeneration does not write. Afterwards both are old or both are new.
const QByteArray StaleLine = "# written by an older version\n";

QString appPlist(Interrupted &home)
{
    return home.records().value(onlyApp(home)) + u"/Contents/Info.plist"_s;
}

QStringList updateCommand(Interrupted &home, int)
{
    const QString plistPath = appPlist(home);
    QVariantMap plist = PropertyList::readFile(plistPath).toMap();
    plist.insert(u"CFBundleShortVersionString"_s, u"0.0.1"_s);
    EXPECT_TRUE(PropertyList::writeFile(plistPath, plist));
    QFile script(QFileInfo(plistPath).path() + u"/Resources/script"_s);
    EXPECT_TRUE(script.open(QIODevice::Append) && script.write(StaleLine) == StaleLine.size());
    return {u"update"_s, onlyApp(home)};
}

void expectOldOrNew(Interrupted &home)
{
    const QString plistPath = appPlist(home);
    const bool oldVersion =
        PropertyList::readFile(plistPath).toMap().value(u"CFBundleShortVersionString"_s) == u"0.0.1"_s;
    QFile script(QFileInfo(plistPath).path() + u"/Resources/script"_s);
    ASSERT_TRUE(script.open(QIODevice::ReadOnly));
    EXPECT_EQ(script.readAll().endsWith(StaleLine), oldVersion) << "half of an update";
}

QStringList importCommand(Interrupted &home, int)
{
    return {u"import"_s, home.test.root() + u"/set.sorvane"_s, u"--into"_s, home.apps, u"--keep-both"_s};
}

INSTANTIATE_TEST_SUITE_P(
    Changes, KillAtRandom,
    testing::Values(
        KillCase{"rename", [](Interrupted &home) { home.make(u"Notes"_s); }, renameCommand},
        KillCase{"engine switch and restore", [](Interrupted &home) { home.make(u"Mail"_s); }, switchCommand},
        KillCase{"delete", [](Interrupted &home) { home.make(u"Gone"_s); }, deleteCommand},
        KillCase{"update", [](Interrupted &home) { home.make(u"Planner"_s); }, updateCommand, expectOldOrNew},
        KillCase{"import",
                 [](Interrupted &home) {
                     home.make(u"Planner"_s);
                     const CliRun exported = home.sorvane(
                         {u"export"_s, u"--all"_s, u"--output"_s, home.test.root() + u"/set.sorvane"_s});
                     ASSERT_EQ(exported.exitCode, 0) << exported.err.constData();
                 },
                 importCommand}),
    [](const testing::TestParamInfo<KillCase> &param) {
        return QString::fromLatin1(param.param.label).replace(u' ', u'_').toStdString();
    });

TEST(Races, UpdateAgainstDeleteNeverLeavesHalfAnApp)
{
    Interrupted home;
    int deleted = 0;
    const int runs = runsPerCase();
    for (int run = 0; run < runs; ++run) {
        const QString name = u"Raced %1"_s.arg(run);
        const QString id = home.make(name);
        std::unique_ptr<QProcess> update(home.start({u"update"_s, id}));
        std::unique_ptr<QProcess> remove(home.start({u"delete"_s, id, u"--yes"_s}));
        update->waitForFinished(60000);
        remove->waitForFinished(60000);
        EXPECT_EQ(remove->exitCode(), 0) << remove->readAllStandardError().constData();
        const bool gone = !QFileInfo::exists(home.bundle(name));
        deleted += gone ? 1 : 0;
        if (gone) {
            EXPECT_TRUE(QFileInfo(home.trashed(name) + u"/Contents/Info.plist"_s).isFile()) << "trashed half an app";
            EXPECT_FALSE(home.records().contains(id));
        }
        ASSERT_NO_FATAL_FAILURE(home.expectAllWhole(u"run %1"_s.arg(run)));
    }
    EXPECT_EQ(deleted, runs);
}

TEST(Races, TwoRenamesToOneNameLeaveTheLoserAsItWas)
{
    Interrupted home;
    home.make(u"Left"_s);
    home.make(u"Right"_s);
    const int runs = runsPerCase();
    for (int run = 0; run < runs; ++run) {
        const QString taken = u"Taken %1"_s.arg(run);
        std::unique_ptr<QProcess> left(home.start({u"edit"_s, home.bundle(u"Left"_s), u"--name"_s, taken}));
        std::unique_ptr<QProcess> right(home.start({u"edit"_s, home.bundle(u"Right"_s), u"--name"_s, taken}));
        left->waitForFinished(60000);
        right->waitForFinished(60000);
        const bool leftWon = left->exitCode() == 0;
        EXPECT_NE(leftWon, right->exitCode() == 0) << "exactly one rename wins";
        ASSERT_NO_FATAL_FAILURE(home.expectAllWhole(u"run %1"_s.arg(run)));
        EXPECT_TRUE(QFileInfo::exists(home.bundle(leftWon ? u"Right"_s : u"Left"_s))) << "the loser keeps its name";
        // The winner takes its name back for the next run.
        const CliRun back = home.sorvane({u"edit"_s, home.bundle(taken), u"--name"_s, leftWon ? u"Left"_s : u"Right"_s});
        ASSERT_EQ(back.exitCode, 0) << back.err.constData();
    }
}

} // namespace
