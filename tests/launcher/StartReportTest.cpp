// What a start leaves for its user: the script's and the engine's output in the app's log, nothing
// on standard output; for an engine that stops at once, its last words in the log and in a desktop
// notice, and the first-launch steps still to do at the next start.

#include "GeneratedApp.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

const QByteArray EngineComplaint =
    "Running as root without --no-sandbox is not supported. See https://crbug.com/638180.";

// An engine that refuses to start the way a real one does: some chatter, then its reason on
// standard error, then status 1.
QByteArray refusingEngine()
{
    return "#!/bin/sh\necho 'chatter on standard output'\necho 'early warning' >&2\n"
           "echo '[4242:4242:1127/045650.649262:ERROR:zygote_host_impl_linux.cc(103)] " +
           EngineComplaint + "' >&2\nexit 1\n";
}

// A notify-send in front of PATH: one line per notice, its arguments separated by '|'.
QString installNotifier(const TestContext &test, GeneratedApp &app)
{
    const QString folder = test.root() + u"/notifier"_s;
    const QString record = test.root() + u"/notices"_s;
    QDir().mkpath(folder);
    writeExecutable(folder + u"/notify-send"_s,
                    "#!/bin/sh\nIFS='|'\nprintf '%s\\n' \"$*\" >> '" + record.toUtf8() + "'\n");
    app.environment().insert(u"PATH"_s, folder + u':' + app.environment().value(u"PATH"_s));
    app.environment().insert(u"DISPLAY"_s, u":97"_s);
    return record;
}

// The notices about `app` that say it did not start (the helper may add its own).
QStringList startNotices(const QString &record, const QString &name)
{
    QStringList found;
    for (const QString &line : QString::fromUtf8(readAll(record)).split(u'\n', Qt::SkipEmptyParts)) {
        if (line.startsWith(u"--app-name=Sorvane|--|"_s + name + u'|') && line.contains(name + u" did not start"_s))
            found.append(line);
    }
    return found;
}

} // namespace

// Until the engine comes up once, the app's first start is still to come: the store page and the
// marker wait for the start that works.
TEST(StartReport, AnEngineThatStopsAtOnceIsReportedWithItsOwnWords)
{
    for (const bool tabbed : {false, true}) {
        SCOPED_TRACE(tabbed ? "tabbed" : "single window");
        TestContext test;
        const QString engine = test.root() + u"/engine/refusing"_s;
        writeExecutable(engine, refusingEngine());
        const QString name = u"Won't Start"_s;
        GeneratedApp app(test, {.name = name, .tabbed = tabbed, .tabs = {u"https://a.example.test/"_s},
                                .firstStart = true, .enginePath = engine});
        const QString notices = installNotifier(test, app);
        // The helper of a failed start must not outlive it: the next start would take the app
        // for running and do nothing.
        app.environment().insert(u"SORVANE_HELPER_GRACE_MS"_s, u"20000"_s);

        const Outcome failed = app.start();
        EXPECT_FALSE(app.helperRunning());

        EXPECT_EQ(failed.exitCode, 1) << failed.err.constData();
        EXPECT_EQ(failed.out, QByteArray());
        const QByteArray log = readAll(app.log());
        const QByteArray engineSaid =
            "early warning\n[4242:4242:1127/045650.649262:ERROR:zygote_host_impl_linux.cc(103)] " + EngineComplaint + "\n";
        EXPECT_TRUE(log.contains(engineSaid)) << log.constData();
        const QByteArray reported =
            "did not start: it stopped with status 1 within its first seconds; its last message: " + EngineComplaint;
        EXPECT_TRUE(log.contains(reported)) << log.constData();
        ASSERT_TRUE(waitFor([&] { return !startNotices(notices, name).isEmpty(); }));
        const QString notice = startNotices(notices, name).constFirst();
        EXPECT_TRUE(notice.endsWith(u"|"_s + name + u" did not start: "_s + QString::fromUtf8(EngineComplaint) +
                                    u" See "_s + app.log() +
                                    u"; if the engine asks for a switch, add it to the app's extra engine switches in Sorvane."_s))
            << qPrintable(notice);
        EXPECT_FALSE(QFile::exists(app.profile() + u"/First Launch Complete"_s));
        // The helper's own "did not start" stays in the log: one failure, one notice.
        EXPECT_TRUE(log.contains("cannot start: its engine \"Won't Start Engine\" did not start")) << log.constData();
        EXPECT_EQ(readAll(notices).count('\n'), 1) << readAll(notices).constData();

        // The browser works again: this start is the first one.
        writeExecutable(engine, "#!/bin/sh\nexec '" + QByteArray(SORVANE_FAKE_ENGINE) + "' \"$@\"\n");
        const Outcome worked = app.start();
        EXPECT_EQ(worked.exitCode, 0) << worked.err.constData();
        QList<EngineStart> starts = app.engineStarts();
        // A single window opens the store page in a second start six seconds later.
        starts.removeIf([](const EngineStart &start) { return start.arguments.contains(u"--new-window"_s); });
        ASSERT_EQ(starts.size(), 1);
        EXPECT_EQ(starts[0].arguments.contains(u"https://chromewebstore.google.com/"_s), tabbed);
        EXPECT_TRUE(QFile::exists(app.profile() + u"/First Launch Complete"_s));
        // ... and says once why the store opens.
        EXPECT_EQ(readAll(notices).count('\n'), 2) << readAll(notices).constData();
        EXPECT_TRUE(readAll(notices).contains(QByteArray(name.toUtf8() + " opened the extension store once, on its first start")))
            << readAll(notices).constData();
        ASSERT_EQ(app.start().exitCode, 0);
        EXPECT_EQ(readAll(notices).count('\n'), 2) << readAll(notices).constData();
    }
}

// The script's output goes to the app's log, not to standard output; the log keeps what the
// engines said, but not without end: a log of 1 MB moves aside first.
TEST(StartReport, TheScriptsOutputGoesToTheAppsLogWhichIsRotatedAtOneMegabyte)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"Quiet \"One\""_s, .firstStart = true});
    const QByteArray old = QByteArray(1024 * 1024, 'x') + '\n';
    writeFile(app.log(), old);

    const Outcome result = app.start();

    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, QByteArray());
    EXPECT_EQ(app.engineStarts().size(), 1);
    EXPECT_EQ(readAll(app.log() + u".1"_s), old);
    const QByteArray log = readAll(app.log());
    EXPECT_TRUE(log.startsWith("Checking first launch status...\n")) << log.left(200).constData();
    EXPECT_TRUE(log.contains("First launch marker created\n")) << log.constData();
    EXPECT_LT(log.size(), 64 * 1024);
}

// The real engine, run as root (as in a container), refuses without --no-sandbox and says so;
// with that switch among the app's own it gets past that check (and, without a display, stops at
// the next one).
TEST(StartReport, RealChromiumAsRootSaysWhyAndTheAppsSwitchGetsItPast)
{
    const QString chromium = u"/usr/lib/chromium/chromium"_s;
    if (geteuid() != 0 || !QFileInfo(chromium).isExecutable())
        GTEST_SKIP() << "needs Debian's chromium and a run as root";
    for (const bool withSwitch : {false, true}) {
        SCOPED_TRACE(withSwitch ? "--no-sandbox" : "no switch");
        TestContext test;
        GeneratedApp app(test, {.name = u"Real"_s, .enginePath = chromium,
                                .engineSwitches = withSwitch ? QStringList{u"--no-sandbox"_s} : QStringList{}});
        app.environment().remove(u"WAYLAND_DISPLAY"_s);

        const Outcome result = app.start();

        EXPECT_NE(result.exitCode, 0) << result.err.constData();
        const QByteArray log = readAll(app.log());
        EXPECT_EQ(log.contains("its last message: Running as root without --no-sandbox is not supported"), !withSwitch)
            << log.constData();
        if (withSwitch) {
            EXPECT_TRUE(log.contains("Missing X server or $DISPLAY")) << log.constData();
        }
    }
}
