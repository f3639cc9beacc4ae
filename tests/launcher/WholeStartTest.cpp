// Generated apps started as a user starts them: through the launch program in the bundle, with
// the script building the engine (a link to the recording fake engine), seeding the profile,
// stamping the registry and finally exec'ing the engine or handing a link to the running one.

#include "GeneratedApp.h"

#include "core/DesktopEntries.h"
#include "core/UserDefaults.h"

#include "maintenance/SNUpdaterHelper.h"
#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

const QString Hostile = u"Q's \"Notes\" $(touch pwned) `touch pwned`; (x) & y|z"_s;
const QString Profile = u"--user-data-dir=./../Profile"_s;
const QString Extension = u"--load-extension=./../Resources/Sorvane_Extension"_s;
const QString Flags = u"--no-default-browser-check"_s;
const QStringList Dark{u"--force-dark-mode"_s, u"--enable-features=WebContentsForceDark"_s};
const QStringList Tabs{u"https://a.example.test/"_s, u"https://b.example.test/?q=$HOME&r=`id`"_s};

struct StartCase
{
    const char *label;
    AppTraits traits;
    QStringList given;    // the launch program's arguments
    QStringList expected; // the engine's arguments
};

void PrintTo(const StartCase &c, std::ostream *os) { *os << c.label; }

using WholeStart = testing::TestWithParam<StartCase>;

// Files that a value run as a command would have made.
QStringList strayFiles(const QString &root)
{
    QStringList found;
    QDirIterator it(root, {u"pwned*"_s}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        found.append(it.next());
    return found;
}

QStringList tabsFiles(const GeneratedApp &app)
{
    return QDir(app.resources()).entryList({u"tabs-*.json"_s}, QDir::Files);
}

// What the companion extension leaves in Resources when a tabbed app closes.
void writeLastTabs(const GeneratedApp &app, const QString &name, const QStringList &tabs)
{
    writeExecutable(app.resources() + u'/' + name,
                    "{\"tabs\":{\"urls\":[\"" + tabs.join(u"\",\""_s).toUtf8() + "\"]}}");
}

QJsonObject trackerRecord(const TestContext &test, const GeneratedApp &app)
{
    const QJsonDocument tracker = QJsonDocument::fromJson(plistAsJsonFromPython(test.supportFolder() + u"/tracker.plist"_s));
    return tracker.object().value(app.appId()).toObject();
}

} // namespace

TEST_P(WholeStart, ExecsTheEngineWithTheAppsSwitches)
{
    const StartCase &c = GetParam();
    TestContext test;
    GeneratedApp app(test, c.traits);
    if (!c.traits.tabbed) // tabbed apps restore these; their own test covers that
        writeLastTabs(app, u"tabs-1.json"_s, {u"https://stale.example.test/"_s});

    const Outcome result = app.start(c.given);

    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    const QList<EngineStart> starts = app.engineStarts();
    ASSERT_EQ(starts.size(), 1) << result.err.constData();
    EXPECT_EQ(QDir::cleanPath(starts[0].program), app.bundle() + u"/Contents/MacOS/"_s + c.traits.name + u" Engine"_s);
    EXPECT_EQ(starts[0].workingFolder, app.resources());
    EXPECT_EQ(starts[0].arguments, c.expected);
    EXPECT_EQ(starts[0].windowClass, DesktopEntries::windowClass(app.appId()));
    EXPECT_TRUE(QFileInfo(app.bundle() + u"/Contents/MacOS/"_s + c.traits.name + u" Engine"_s).isSymLink());
    EXPECT_EQ(tabsFiles(app), QStringList());
    EXPECT_EQ(strayFiles(test.root()), QStringList());
    EXPECT_FALSE(app.helperRunning());
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, WholeStart,
    testing::Values(
        StartCase{"chrome_single", {.name = u"Mail"_s, .typeKey = u"chrome"_s, .url = u"https://mail.example.test/inbox"_s},
                  {},
                  {u"--args"_s, Profile, u"--app=https://mail.example.test/inbox"_s, Flags}},
        StartCase{"brave_tabbed_dark_routing",
                  {.name = u"Team Chat"_s, .typeKey = u"brave"_s, .tabbed = true, .tabs = Tabs, .dark = true, .routing = true},
                  {},
                  QStringList{u"https://a.example.test/"_s, u"https://b.example.test/?q=$HOME&r=%60id%60"_s, u"--args"_s} +
                      Dark + QStringList{Extension, Profile, Flags, u"--disable-brave-update"_s}},
        StartCase{"opera_hostile_name_dark", {.name = Hostile, .typeKey = u"opera"_s, .url = u"https://x.test/a b\"c"_s, .dark = true},
                  {},
                  QStringList{u"--args"_s, Profile, u"--app=https://x.test/a%20b%22c"_s} + Dark + QStringList{Flags}},
        StartCase{"chromium_non_latin_routing",
                  {.name = u"Почта 日本語"_s, .typeKey = u"chromium"_s, .url = u"https://почта.example.test/ящик"_s, .routing = true},
                  {},
                  {u"--args"_s, Profile, u"--app=https://почта.example.test/ящик"_s, Extension, Flags}},
        StartCase{"vivaldi_tabbed_parentheses",
                  {.name = u"C++ Notes (beta)"_s, .typeKey = u"vivaldi"_s, .tabbed = true, .tabs = {u"https://n.example.test/"_s}},
                  {},
                  {u"https://n.example.test/"_s, u"--args"_s, Profile, Flags}},
        StartCase{"helium_always_routes", {.name = u"Team; rm -rf ~"_s, .typeKey = u"helium"_s, .incognito = true},
                  {u"-psn_0_4711"_s},
                  {u"--args"_s, Profile, u"--app=https://app.example.test/"_s, u"--incognito"_s, Extension, Flags}}),
    [](const testing::TestParamInfo<StartCase> &p) { return std::string(p.param.label); });

// A link is a value from anywhere: it reaches the engine as one intact address or not at all,
// never as a switch, a file pattern or two words.
TEST(WholeStartLinks, ReachTheEngineAsOneAddressOrNotAtAll)
{
    const QString home = u"https://app.example.test/"_s;
    // The link given, and what reaches the engine (empty: dropped).
    const std::pair<QString, QString> links[] = {
        {u"*"_s, {}},
        {u"https://x/a b?$(touch pwned)"_s, u"https://x/a%20b?$(touch%20pwned)"_s},
        {u"--flag=x"_s, {}},
        {u"--renderer-cmd-prefix=/tmp/evil.sh"_s, {}},
        {u"javascript:alert(1)"_s, {}},
        {u"https://example.com/p?q=a*b[1]"_s, u"https://example.com/p?q=a%2Ab%5B1%5D"_s},
    };
    for (const bool tabbed : {false, true}) {
        for (const auto &[given, passed] : links) {
            SCOPED_TRACE(qPrintable((tabbed ? u"tabbed: "_s : u"single window: "_s) + given));
            TestContext test;
            // The tab "*" would match every file in Resources, were it read as a file pattern.
            GeneratedApp app(test,
                             {.name = u"Links"_s, .url = home, .tabbed = tabbed, .tabs = {home, u"*"_s}});

            const Outcome result = app.start({given});

            ASSERT_EQ(result.exitCode, 0) << result.err.constData();
            ASSERT_EQ(app.engineStarts().size(), 1) << result.err.constData();
            const QStringList arguments = app.engineStarts()[0].arguments;
            QStringList expected = tabbed ? QStringList{home, u"*"_s, u"--args"_s, Profile, Flags}
                                          : QStringList{u"--args"_s, Profile, u"--app="_s + home, Flags};
            if (passed.isEmpty())
                EXPECT_TRUE(result.err.contains(QByteArray("not a web or mail link: " + given.toUtf8())))
                    << result.err.constData();
            else if (tabbed)
                expected.prepend(passed);
            else
                expected[2] = u"--app="_s + passed;
            // The exact list also rules out switches made from the link; a glob would show as file names.
            EXPECT_EQ(arguments, expected);
            for (const QString &argument : arguments)
                EXPECT_FALSE(QFile::exists(app.resources() + u'/' + argument)) << qPrintable(argument);
            EXPECT_EQ(strayFiles(test.root()), QStringList());
        }
    }
}

// A second start finds the running engine: without a link it brings the engine forward and
// starts nothing; with a link it hands the link over through a second engine start, which a real
// engine forwards to the running one.
TEST(WholeStartWhileRunning, BringsForwardOrHandsTheLinkOver)
{
    for (const bool tabbed : {false, true}) {
        SCOPED_TRACE(tabbed ? "tabbed" : "single window");
        TestContext test;
        GeneratedApp app(test, {.name = u"Chat $x"_s, .tabbed = tabbed, .tabs = Tabs, .incognito = true});
        const QString standIns = test.root() + u"/bin"_s;
        QDir().mkpath(standIns);
        writeExecutable(standIns + u"/xdotool"_s, recordingScript(test.root() + u"/xdotool.args"_s));
        app.environment().insert(u"PATH"_s, standIns + u':' + app.environment().value(u"PATH"_s));
        app.environment().insert(u"DISPLAY"_s, u":97"_s);

        ASSERT_TRUE(app.startAndKeepRunning());
        const qint64 engine = app.engineStarts().at(0).pid;

        const Outcome again = app.start();
        EXPECT_EQ(again.exitCode, 0) << again.err.constData();
        EXPECT_EQ(app.engineStarts().size(), 1);
        EXPECT_EQ(recorded(test.root() + u"/xdotool.args"_s).mid(1),
                  (QStringList{u"search"_s, u"--pid"_s, QString::number(engine), u"windowactivate"_s}));

        const Outcome handOff = app.start({u"https://chat.example.test/room?id=7&q=$(touch pwned)"_s});
        EXPECT_EQ(handOff.exitCode, 0) << handOff.err.constData();
        const QList<EngineStart> starts = app.engineStarts();
        ASSERT_EQ(starts.size(), 2);
        const QString link = u"https://chat.example.test/room?id=7&q=$(touch%20pwned)"_s;
        EXPECT_EQ(starts[1].arguments, QStringList({link, u"--args"_s, Profile, u"--incognito"_s, Flags}));
        EXPECT_TRUE(app.stop());
        EXPECT_EQ(strayFiles(test.root()), QStringList());
    }
}

// Restoring the last tabs, or not, is proved with a real engine in tests/e2e/tabs.test.js; saved
// tabs are consumed whichever way the app starts.
TEST(WholeStartTabs, EmptyTabListStartsInTheNoTabsMode)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"No Tabs"_s, .tabbed = true, .tabs = {}});
    EXPECT_TRUE(app.scriptText().contains(u"\nNEEDTAB=0\n"_s));
    writeLastTabs(app, u"tabs-1.json"_s, {u"https://x.example.test/"_s});

    EXPECT_EQ(app.start().exitCode, 0);
    EXPECT_EQ(app.engineStarts().size(), 0);
    EXPECT_EQ(tabsFiles(app), QStringList());
}

// The first start's store page, tabbed or not, is shown with a real engine in tests/e2e/routing.test.js;
// here, that the first start marks the profile and later starts never show it.
TEST(WholeStartFirstLaunch, LaterStartsDoNotOpenTheStorePage)
{
    const QString store = u"https://chromewebstore.google.com/"_s;
    for (const bool tabbed : {true, false}) {
        SCOPED_TRACE(tabbed ? "tabbed" : "single window");
        TestContext test;
        GeneratedApp app(test, {.name = u"Fresh"_s, .tabbed = tabbed, .tabs = Tabs, .firstStart = true});

        ASSERT_EQ(app.start().exitCode, 0);
        const qsizetype before = tabbed ? 1 : 2; // a single window opens the store six seconds in
        ASSERT_TRUE(waitFor([&] { return app.engineStarts().size() == before; }, 10000));
        EXPECT_TRUE(app.engineStarts().constLast().arguments.contains(store));
        EXPECT_TRUE(QFile::exists(app.profile() + u"/First Launch Complete"_s));

        ASSERT_EQ(app.start().exitCode, 0);
        const QList<EngineStart> starts = app.engineStarts();
        ASSERT_EQ(starts.size(), before + 1);
        EXPECT_FALSE(starts.last().arguments.contains(store));
    }
}

// With the store window turned off in the settings, an app is made with its first start done: a
// tabbed app's engine never gets the store page (a single window's would come six seconds in).
TEST(WholeStartFirstLaunch, TheStorePageCanBeTurnedOffForNewApps)
{
    TestContext test;
    test.context().defaults().setValue(u"openExtensionStoreOnFirstStart"_s, u"NO"_s);
    GeneratedApp app(test, {.name = u"No Store"_s, .tabbed = true, .tabs = Tabs, .firstStart = true});
    EXPECT_TRUE(QFile::exists(app.profile() + u"/First Launch Complete"_s));

    ASSERT_EQ(app.start().exitCode, 0);
    ASSERT_EQ(app.engineStarts().size(), 1);
    EXPECT_FALSE(app.engineStarts()[0].arguments.contains(u"https://chromewebstore.google.com/"_s));
}

// Every start stamps the app's registry record with the time and where the bundle now is, and
// points the host manifest at the bundle's host program, whatever the folder is called.
TEST(WholeStartMoved, RecordAndManifestFollowTheBundle)
{
    TestContext test;
    test.setNow(QDateTime(QDate(2001, 2, 3), QTime(4, 5, 6)));
    GeneratedApp app(test, {.name = u"Moving \"App\""_s, .routing = true});
    const QString created = trackerRecord(test, app).value(u"lastActivity"_s).toString();
    const QString firstPlace = app.bundle();

    ASSERT_EQ(app.start().exitCode, 0);
    QJsonObject record = trackerRecord(test, app);
    EXPECT_EQ(record.value(u"appPath"_s).toString(), firstPlace);
    const QString stamped = record.value(u"lastActivity"_s).toString();
    EXPECT_NE(stamped, created);
    const QDateTime parsed = QDateTime::fromString(stamped.simplified(), u"yyyy-MM-dd h:mm:ss AP"_s);
    EXPECT_LT(qAbs(parsed.secsTo(QDateTime::currentDateTime())), 120) << qPrintable(stamped);

    for (const QString &folder : {u"/Elsewhere/Sub folder"_s, u"/A&B \"q\" \\1\\&2 #3\t4"_s}) {
        ASSERT_TRUE(app.moveInto(test.root() + folder));
        const Outcome result = app.start();
        ASSERT_EQ(result.exitCode, 0) << result.err.constData();
        record = trackerRecord(test, app);
        EXPECT_EQ(record.value(u"appPath"_s).toString(), app.bundle());
        EXPECT_EQ(record.value(u"appID"_s).toString(), app.appId());
        const QByteArray manifest = readAll(app.profile() + u"/NativeMessagingHosts/com.ondrel.sorvane.helper.json"_s);
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(manifest, &error);
        ASSERT_EQ(error.error, QJsonParseError::NoError) << manifest.constData();
        EXPECT_EQ(document.object().value(u"path"_s).toString(), app.resources() + u"/sorvanemessaginghost"_s);
    }
    EXPECT_EQ(app.engineStarts().size(), 3);
}

// An engine that ignores --load-extension (a Chrome that says it is 140) gets exactly one command
// over the DevTools pipe, which loads the bundle's own companion; a refused load is written into
// the app's log. The switches are the script's (tests/fixtures/scripts), the pipe holder's life
// and the companion at work are tests/e2e/pipe.test.js's.
TEST(WholeStartPipe, TheCompanionOfAnEngineThatIgnoresTheSwitchComesOverThePipe)
{
    for (const bool refused : {false, true}) {
        SCOPED_TRACE(refused ? "refused" : "loaded");
        TestContext test;
        qputenv("SORVANE_FAKE_ENGINE_VERSION", "Google Chrome 140.0.7339.80");
        GeneratedApp app(test, {.name = u"Pipe \"Q\" \\ $x"_s, .typeKey = u"chrome"_s, .routing = true});
        qunsetenv("SORVANE_FAKE_ENGINE_VERSION");
        EXPECT_EQ(SNUpdaterHelper::appInfo(app.bundle()).value_or(QVariantMap{}).value(u"shouldIncludeWLExt"_s), true);
        app.environment().insert(u"XDG_STATE_HOME"_s, test.root() + u"/state"_s);
        if (refused)
            app.environment().insert(u"SORVANE_FAKE_ENGINE_PIPE_ERROR"_s, u"Could not load manifest."_s);

        ASSERT_TRUE(app.startAndKeepRunning());
        EXPECT_TRUE(app.engineStarts().at(0).arguments.contains(u"--remote-debugging-pipe"_s));
        const QString command = test.root() + u"/engine-starts/"_s +
                                QString::number(app.engineStarts().at(0).pid) + u".pipe"_s;
        ASSERT_TRUE(waitFor([&] { return QFile::exists(command); }, 10000));
        const QJsonObject sent = QJsonDocument::fromJson(readAll(command)).object();
        const QJsonObject params{{u"path"_s, QString(app.resources() + u"/Sorvane_Extension"_s)}};
        const QJsonObject expected{{u"id"_s, QJsonValue(1)}, {u"method"_s, u"Extensions.loadUnpacked"_s}, {u"params"_s, params}};
        EXPECT_EQ(sent, expected) << readAll(command).constData();
        const QString log = test.root() + u"/state/Sorvane/apps/Pipe \"Q\" \\ $x.log"_s;
        if (refused) {
            EXPECT_TRUE(waitFor([&] { return readAll(log).contains("did not load through the DevTools pipe"); }, 10000))
                << readAll(log).constData();
        }
        EXPECT_TRUE(app.stop());
        if (!refused) {
            EXPECT_FALSE(readAll(log).contains("DevTools pipe")) << readAll(log).constData();
        }
    }
}
