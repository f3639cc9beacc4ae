// The menu entries of generated apps as the desktop sees them: `sorvane desktop-entries` putting
// them back in step with the registry, and, under Xvfb with Debian's chromium, the window class
// the app's engine really gives its windows against the entry's StartupWMClass.

#include "CliSandbox.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QTimeZone>
#include <QDirIterator>
#include <QImageReader>
#include <QJsonArray>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <csignal>
#include <iostream>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString dataHome(const CliSandbox &sandbox)
{
    return sandbox.environment.value(u"XDG_DATA_HOME"_s) + u'/';
}

// The files of an app's menu entry under the data home, sorted: its entry and its icons.
QStringList menuFilesOf(const CliSandbox &sandbox, const QString &appId)
{
    QStringList files;
    const QStringList names{u"sorvane-"_s + appId + u".desktop"_s, u"sorvane-"_s + appId + u".png"_s};
    for (QDirIterator it(dataHome(sandbox), names, QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
        files << it.next().mid(dataHome(sandbox).size());
    files.sort();
    return files;
}

// What an app with icons of these pixel sizes should have, sorted as menuFilesOf.
QStringList expectedMenuFiles(const QString &appId, const QList<int> &sizes)
{
    QStringList files{u"applications/sorvane-"_s + appId + u".desktop"_s};
    for (const int size : sizes)
        files << u"icons/hicolor/%1x%1/apps/sorvane-%2.png"_s.arg(size).arg(appId);
    files.sort();
    return files;
}

// The entry's key lines (values as written; the keys read here need no unescaping).
QMap<QString, QString> entryKeys(const CliSandbox &sandbox, const QString &appId)
{
    QMap<QString, QString> keys;
    for (const QString &line : QString::fromUtf8(readAll(dataHome(sandbox) + expectedMenuFiles(appId, {}).first())).split(u'\n')) {
        if (line.indexOf(u'=') > 0)
            keys.insert(line.section(u'=', 0, 0), line.section(u'=', 1));
    }
    return keys;
}

// Every pixel size icon.icns holds, read with Qt's own ICNS reader.
QList<int> icnsSizes(const QString &path)
{
    QList<int> sizes;
    QImageReader reader(path, "icns");
    for (int i = 0; i < reader.imageCount() && reader.jumpToImage(i); ++i) {
        if (const int size = reader.read().width(); size > 0 && !sizes.contains(size))
            sizes << size;
    }
    return sizes;
}

const QString Icon = fixturePath(u"images/sizes-16-32.ico"_s);

} // namespace

TEST(DesktopEntries, CreationWritesTheEntrySyncRepairsAndRemovesOrphansAndDeleteRemovesIt)
{
    Home home;
    const CliRun created = home.create(u"Mail"_s, {u"--icon"_s, Icon});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    const QString appId = json(created)[u"appID"_s].toString();
    const QString bundle = home.bundle(u"Mail"_s);

    // Creation wrote the entry and icons; its window class is the switch the engine gets.
    const QMap<QString, QString> keys = entryKeys(home, appId);
    EXPECT_EQ(keys.value(u"Exec"_s), u"\"%1/Contents/MacOS/Mail\""_s.arg(bundle));
    EXPECT_EQ(keys.value(u"StartupWMClass"_s), u"sorvane-"_s + appId);
    EXPECT_EQ(keys.value(u"Icon"_s), u"sorvane-"_s + appId);
    EXPECT_TRUE(readAll(bundle + u"/Contents/Resources/script"_s).contains((u"--class=sorvane-"_s + appId).toUtf8()));
    const QStringList files = menuFilesOf(home, appId);
    EXPECT_EQ(files, expectedMenuFiles(appId, icnsSizes(bundle + u"/Contents/Resources/icon.icns"_s)));

    // The entry goes missing, and an app that is no longer registered left its entry and icon
    // behind; files that are not ours stay. (What a sync rewrites: SyncRewritesOnlyWhatDiffersAndSaysWhat.)
    ASSERT_TRUE(QFile::remove(dataHome(home) + files.first()));
    for (const QString &file : expectedMenuFiles(u"GONE-1"_s, {48}))
        writeFile(dataHome(home) + file, "[Desktop Entry]\n");
    const QStringList others{u"applications/other.desktop"_s, u"applications/sorvane-not ours.desktop"_s};
    for (const QString &file : others)
        writeFile(dataHome(home) + file, "[Desktop Entry]\n");

    const CliRun check = home.sorvane({u"desktop-entries"_s, u"--json"_s});
    EXPECT_EQ(check.exitCode, 1) << check.err.toStdString();
    EXPECT_EQ(json(check)[u"missing"_s].toArray().at(0)[u"appId"_s].toString(), appId);
    EXPECT_EQ(json(check)[u"orphans"_s].toArray(), QJsonArray{u"GONE-1"_s});
    EXPECT_EQ(menuFilesOf(home, u"GONE-1"_s).size(), 2) << "a check changes nothing";

    const CliRun sync = home.sorvane({u"desktop-entries"_s, u"--sync"_s, u"--json"_s});
    ASSERT_EQ(sync.exitCode, 0) << sync.err.toStdString();
    EXPECT_EQ(json(sync)[u"removed"_s].toArray(), QJsonArray{u"GONE-1"_s});
    EXPECT_EQ(menuFilesOf(home, u"GONE-1"_s), QStringList());
    for (const QString &file : others)
        EXPECT_TRUE(QFileInfo::exists(dataHome(home) + file)) << file.toStdString();
    EXPECT_EQ(home.sorvane({u"desktop-entries"_s}).exitCode, 0);

    // Regeneration writes a lost entry again; a rename points it at the renamed bundle.
    ASSERT_TRUE(QFile::remove(dataHome(home) + files.first()));
    EXPECT_EQ(home.sorvane({u"update"_s, appId}).exitCode, 0);
    EXPECT_EQ(entryKeys(home, appId), keys);
    EXPECT_EQ(home.sorvane({u"edit"_s, appId, u"--name"_s, u"Post"_s}).exitCode, 0);
    EXPECT_EQ(entryKeys(home, appId).value(u"Exec"_s), u"\"%1/Contents/MacOS/Post\""_s.arg(home.bundle(u"Post"_s)));
    EXPECT_EQ(entryKeys(home, appId).value(u"Name"_s), u"Post"_s);

    const CliRun deleted = home.sorvane({u"delete"_s, u"--yes"_s, appId});
    ASSERT_EQ(deleted.exitCode, 0) << deleted.err.toStdString();
    EXPECT_EQ(menuFilesOf(home, appId), QStringList());
}

// A sync rewrites only the files that differ from what it would write, leaves the others as they
// are (their times too), and prints each change, or "nothing to change".
TEST(DesktopEntries, SyncRewritesOnlyWhatDiffersAndSaysWhat)
{
    Home home;
    const CliRun created = home.create(u"Mail"_s, {u"--icon"_s, Icon});
    ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
    const QString appId = json(created)[u"appID"_s].toString();
    const QString entry = u"sorvane-"_s + appId + u".desktop"_s;
    const QString entryPath = dataHome(home) + u"applications/"_s + entry;
    const QStringList files = menuFilesOf(home, appId);
    const QString icon = dataHome(home) + files.last();
    const QString iconSize = files.last().section(u'/', 2, 2);
    const QByteArray text = readAll(entryPath);

    const struct
    {
        const char *damage;
        std::function<void()> make;
        QString says;
    } cases[] = {
        {"none", [] {}, u"nothing to change"_s},
        {"name", [&] { writeFile(entryPath, QByteArray(text).replace("Name=Mail", "Name=Old")); },
         u"updated %1 (Name changed)"_s.arg(entry)},
        {"keys", [&] { writeFile(entryPath, QByteArray(text).replace("Terminal=false\n", "X-Extra=1\n")); },
         u"updated %1 (Terminal changed, X-Extra removed)"_s.arg(entry)},
        {"icon", [&] { writeFile(icon, "not a picture"); }, u"updated %1 (icon %2 changed)"_s.arg(entry, iconSize)},
        {"stale size", [&] { writeFile(dataHome(home) + expectedMenuFiles(appId, {999}).last(), "stale"); },
         u"updated %1 (icon 999x999 removed)"_s.arg(entry)},
        {"no entry", [&] { QFile::remove(entryPath); }, u"created %1 (for %2)"_s.arg(entry, home.bundle(u"Mail"_s))},
        {"orphan", [&] { writeFile(dataHome(home) + u"applications/sorvane-GONE-1.desktop"_s, "[Desktop Entry]\n"); },
         u"removed sorvane-GONE-1.desktop (no registered app has the id GONE-1)"_s},
    };
    const QDateTime old(QDate(2001, 2, 3), QTime(4, 5, 6), QTimeZone::utc());
    for (const auto &c : cases) {
        for (const QString &file : menuFilesOf(home, appId)) {
            QFile touched(dataHome(home) + file);
            ASSERT_TRUE(touched.open(QIODevice::ReadWrite) && touched.setFileTime(old, QFileDevice::FileModificationTime));
        }
        c.make();
        const CliRun sync = home.sorvane({u"desktop-entries"_s, u"--sync"_s});
        ASSERT_EQ(sync.exitCode, 0) << c.damage << ": " << sync.err.toStdString();
        EXPECT_EQ(QString::fromUtf8(sync.out).trimmed(), c.says) << c.damage;
        EXPECT_EQ(readAll(entryPath), text) << c.damage;
        EXPECT_EQ(menuFilesOf(home, appId), files) << c.damage;
        // Only the damaged file was written.
        const bool entryDamaged = c.says.startsWith(u"created"_s) || c.says.contains(u"Name"_s) ||
                                  c.says.contains(u"X-Extra"_s);
        EXPECT_EQ(QFileInfo(entryPath).lastModified() == old, !entryDamaged) << c.damage;
        EXPECT_EQ(QFileInfo(icon).lastModified() == old, !c.says.contains(u"icon "_s + iconSize)) << c.damage;
    }
}

namespace {

struct HostileName
{
    const char *what;
    QString name;
    QStringList options;
};

// The records the fake engine left, once there is one (within half a minute).
QStringList engineStarts(const Home &home)
{
    for (const QDeadlineTimer deadline(30000); !deadline.hasExpired(); QThread::msleep(100)) {
        const QStringList records = QDir(home.records).entryList({u"*.args"_s}, QDir::Files, QDir::Name);
        if (!records.isEmpty()) {
            QStringList started = QString::fromUtf8(readAll(home.records + u'/' + records.first())).split(QChar(0));
            started.removeAll(QString());
            return started;
        }
    }
    return {};
}

} // namespace

// An app made without an icon, whatever its name, has an entry the platform's validator takes,
// whose icon is installed, and which the platform's launcher starts: the app's engine runs.
TEST(DesktopEntries, EveryNameGivesAnEntryThePlatformValidatesAndLaunches)
{
    const QString validator = QStandardPaths::findExecutable(u"desktop-file-validate"_s);
    const QString gio = QStandardPaths::findExecutable(u"gio"_s);
    if (validator.isEmpty() || gio.isEmpty())
        GTEST_SKIP() << "needs desktop-file-validate and gio (packages desktop-file-utils, libglib2.0-bin)";
    const HostileName names[] = {
        {"percent, quotes, dollar, backslash, backquote, non-ASCII", u"Café ☕ 100% \"x\" $HOME \\ `id`"_s, {}},
        {"apostrophes and runs of blanks", u"It's  a 'quoted'   name"_s, {}},
        {"field codes", u"%u %f %% %"_s, {}},
        {"a command, registered as a browser", u"$(touch pwned) %U"_s, {u"--register-as-browser"_s}},
    };
    for (const HostileName &test : names) {
        SCOPED_TRACE(test.what);
        Home home;
        const CliRun created = home.create(test.name, QStringList{u"--no-icon-search"_s} + test.options);
        ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
        const QString appId = json(created)[u"appID"_s].toString();
        const QString bundle = home.bundle(test.name);
        const QString entry = dataHome(home) + expectedMenuFiles(appId, {}).first();

        const CliRun checked = CliSandbox::run(validator, {entry}, home.environment);
        EXPECT_EQ(checked.exitCode, 0) << QByteArray(checked.out + checked.err).toStdString() << readAll(entry).toStdString();
        EXPECT_FALSE(checked.out.contains("error:") || checked.out.contains("warning:")) << checked.out.toStdString();

        // The icon it names is the bundle's own, drawn for it (the drawing: tests/core/LetterIconTest.cpp).
        const QList<int> sizes = icnsSizes(bundle + u"/Contents/Resources/icon.icns"_s);
        EXPECT_FALSE(sizes.isEmpty()) << "no icon.icns";
        EXPECT_EQ(menuFilesOf(home, appId), expectedMenuFiles(appId, sizes));

        // The app writes to its standard output: a file, which outlives gio as a desktop's would.
        QProcess launch;
        launch.setProcessEnvironment(home.environment);
        launch.setStandardOutputFile(home.test.root() + u"/launched.out"_s);
        launch.setStandardErrorFile(home.test.root() + u"/launched.out"_s, QIODevice::Append);
        launch.start(gio, {u"launch"_s, entry});
        ASSERT_TRUE(launch.waitForFinished(30000));
        ASSERT_EQ(launch.exitCode(), 0) << readAll(home.test.root() + u"/launched.out"_s).toStdString()
                                        << readAll(entry).toStdString();
        const QStringList started = engineStarts(home);
        ASSERT_GE(started.size(), 2) << "the engine did not start: "
                                     << readAll(home.test.root() + u"/launched.out"_s).toStdString();
        EXPECT_EQ(QFileInfo(started[1]).canonicalFilePath(), QFileInfo(bundle + u"/Contents/Resources"_s).canonicalFilePath())
            << started.join(u' ').toStdString();
    }
}

namespace {

const QString Chromium = u"/usr/lib/chromium/chromium"_s;

// A program in a process group of its own (the app's engine and what it starts), ended whole.
class ProcessGroup final
{
public:
    ProcessGroup(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
    {
        m_process.setProcessEnvironment(environment);
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.setChildProcessModifier([] { ::setsid(); });
        m_process.start(program, arguments);
        m_process.waitForStarted();
    }
    ~ProcessGroup()
    {
        const auto group = pid_t(m_process.processId());
        for (int i = 0; group > 0 && i < 50 && ::kill(-group, i == 0 ? SIGTERM : 0) == 0; ++i)
            QThread::msleep(100);
        if (group > 0)
            ::kill(-group, SIGKILL);
        m_process.waitForFinished(5000);
    }
    QProcess &process() { return m_process; }

private:
    QProcess m_process;
};

// The engine's main process: its command line (which Chromium rewrites, blanks for NULs) names
// the engine's program ".../MacOS/<Name> Engine" and, unlike its helpers', no --type= switch.
// 0 while there is none.
qint64 enginePid(const QString &engineName)
{
    for (const QString &pid : QDir(u"/proc"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(u"/proc/"_s + pid + u"/cmdline"_s);
        if (!pid.front().isDigit() || !file.open(QIODevice::ReadOnly))
            continue;
        const QByteArray commandLine = file.readAll();
        if (commandLine.contains(QFile::encodeName(u"/MacOS/"_s + engineName)) && !commandLine.contains("--type="))
            return pid.toLongLong();
    }
    return 0;
}

// WM_CLASS (instance, class) of every top-level window of the engine called `program`, once one
// is not the hidden leader window named after it; waits up to a minute.
QList<QStringList> windowClassesOf(const QProcessEnvironment &display, const QString &program)
{
    static const QRegularExpression windowId(u"0x[0-9a-f]+"_s);
    static const QRegularExpression wmClass(
        u"WM_CLASS\\(STRING\\) = \"([^\"]*)\", \"([^\"]*)\"\\s*_NET_WM_PID\\(CARDINAL\\) = (\\d+)"_s);
    for (const QDeadlineTimer deadline(60000); !deadline.hasExpired(); QThread::msleep(300)) {
        QList<QStringList> found;
        const qint64 pid = enginePid(program);
        const QString tree = QString::fromUtf8(runProgram(u"xwininfo"_s, {u"-root"_s, u"-children"_s}, display).out);
        for (auto it = windowId.globalMatch(tree); it.hasNext();) {
            const QByteArray properties =
                runProgram(u"xprop"_s, {u"-id"_s, it.next().captured(), u"WM_CLASS"_s, u"_NET_WM_PID"_s}, display).out;
            const QRegularExpressionMatch match = wmClass.match(QString::fromUtf8(properties));
            if (match.hasMatch() && match.captured(3).toLongLong() == pid)
                found.append({match.captured(1), match.captured(2)});
        }
        if (std::any_of(found.cbegin(), found.cend(), [&](const QStringList &w) { return w.first() != program; }))
            return found;
    }
    return {};
}

} // namespace

TEST(DesktopEntries, TheEngineWindowsCarryTheEntrysWindowClassUnderXvfb)
{
    const QString xvfb = QStandardPaths::findExecutable(u"Xvfb"_s);
    if (xvfb.isEmpty() || !QFileInfo(Chromium).isExecutable() || QStandardPaths::findExecutable(u"xprop"_s).isEmpty() ||
        QStandardPaths::findExecutable(u"xwininfo"_s).isEmpty())
        GTEST_SKIP() << "needs Xvfb, xprop and xwininfo (packages xvfb, x11-utils) and Debian's chromium at "
                     << Chromium.toStdString();
    // Xvfb picks a free display and writes its number once it accepts clients.
    ProcessGroup server(xvfb, {u"-displayfd"_s, u"1"_s, u"-screen"_s, u"0"_s, u"1280x800x24"_s, u"-nolisten"_s, u"tcp"_s},
                        QProcessEnvironment::systemEnvironment());
    ASSERT_TRUE(server.process().waitForReadyRead(20000)) << "Xvfb did not start";
    const QString display = u':' + QString::fromUtf8(server.process().readAllStandardOutput()).trimmed();

    Home home;
    // Chromium refuses to start as root without --no-sandbox; otherwise it is the engine as it is.
    QString engine = Chromium;
    if (::geteuid() == 0) {
        engine = home.test.root() + u"/chromium-as-root"_s;
        writeFile(engine, "#!/bin/bash\nexec -a \"$0\" /usr/lib/chromium/chromium --no-sandbox \"$@\"\n",
                  QFileDevice::ExeOwner);
    }
    home.writeSettings(u"chromiumPath="_s + engine + u'\n');
    home.environment.insert(u"DISPLAY"_s, display);
    home.environment.remove(u"SORVANE_HELPER_GRACE_MS"_s);

    // Two apps on one address: only their own class keeps them apart in a task bar.
    const QList<std::pair<QString, QStringList>> apps{
        {u"Standard"_s, {u"--url"_s, u"https://mail.example.org/"_s, u"--register-as-browser"_s}},
        {u"Tabbed"_s, {u"--tab"_s, u"https://mail.example.org/"_s, u"--tab"_s, u"http://127.0.0.1:9/"_s}}};
    for (const auto &[name, options] : apps) {
        SCOPED_TRACE(name.toStdString());
        const CliRun created = home.sorvane(QStringList{u"create"_s, u"--name"_s, name, u"--browser"_s, u"chromium"_s,
                                                        u"--into"_s, home.apps, u"--icon"_s, Icon, u"--json"_s} +
                                            options);
        ASSERT_EQ(created.exitCode, 0) << created.err.toStdString();
        const QString appId = json(created)[u"appID"_s].toString();
        const QString bundle = home.bundle(name);
        const QMap<QString, QString> keys = entryKeys(home, appId);

        QList<QStringList> windows;
        {
            // The launch program runs the script, which becomes the engine, in its process group.
            ProcessGroup app(bundle + u"/Contents/MacOS/"_s + name, {}, home.environment);
            windows = windowClassesOf(home.environment, name + u" Engine"_s);
        }
        ASSERT_FALSE(windows.isEmpty()) << "no window of the app's engine appeared";
        // A dock matches StartupWMClass against the instance, then the class; the instance is
        // Chromium's (from the address or the profile), the class is the app's.
        for (const QStringList &window : std::as_const(windows)) {
            std::cout << name.toStdString() << " window WM_CLASS: \"" << window.join(u"\", \""_s).toStdString() << "\"\n";
            EXPECT_EQ(window.at(1), keys.value(u"StartupWMClass"_s));
        }
        if (name == u"Standard"_s) {
            EXPECT_EQ(keys.value(u"MimeType"_s), u"x-scheme-handler/http;x-scheme-handler/https;text/html;"_s);
            EXPECT_TRUE(keys.value(u"Exec"_s).endsWith(u"\" %u"_s));
        }
    }
}
