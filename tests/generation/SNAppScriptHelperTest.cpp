#include "generation/SNAppScriptHelper.h"
#include "maintenance/AppScriptReader.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/SNAppTracker.h"
#include "core/ShellEscaping.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <bit>

using namespace Qt::StringLiterals;

namespace {

// Runs `command` in `folder`; NAME carries a value without any shell quoting.
Outcome run(const QStringList &command, const QString &folder = {}, const QString &name = {})
{
    return runProgram(u"/usr/bin/env"_s, QStringList{u"LC_ALL=C.UTF-8"_s, u"NAME="_s + name} + command,
                      environmentWith(), folder);
}

// What `bash -n` says about a script: empty when it accepts it.
QString syntaxErrors(const QString &script)
{
    const auto [code, out, err] = run({u"/bin/bash"_s, u"-n"_s, u"-c"_s, script});
    return code == 0 ? QString() : u"refused: "_s + QString::fromUtf8(out + err);
}

SNScriptInputs inputs(const QString &key, const QString &name, const QStringList &tabs = {},
                      bool incognito = false, bool dark = false, bool routing = false, bool mac = true)
{
    // clang-format off
    return {.appName = name, .appURL = tabs.isEmpty() ? u"https://example.com/"_s : tabs.first(),
            .needTab = !tabs.isEmpty(), .tabsList = tabs, .incognito = incognito, .forceDarkMode = dark,
            .shouldIncludeWLExt = routing, .typeKey = key, .trackerFragment = u"\n\nFILE=/x/tracker.plist\n"_s,
            .engineBrowserPath = u"/Applications/Some Browser.app"_s,
            .windowClass = mac ? QString() : u"sorvane-APP-1"_s, .targetIsMac = mac};
    // clang-format on
}

// The same app for an engine that ignores --load-extension.
SNScriptInputs throughPipe(SNScriptInputs in)
{
    in.companionThroughPipe = true;
    return in;
}

// The same app with the user's extra engine switches; one that is not a safe word is left out.
SNScriptInputs withSwitches(SNScriptInputs in)
{
    in.engineSwitches = {u"--ozone-platform=wayland"_s, u"--x;touch${IFS}pwned"_s, u"--no-sandbox"_s};
    return in;
}

// Reviewed by hand. SORVANE_UPDATE_GOLDEN=1 rewrites the files; review the diff before keeping it.
// The engine path and registry code in them are the real ones.
// clang-format off
const std::pair<const char *, SNScriptInputs> goldenCases[] = {
    {"chrome-single-window.golden", inputs(u"chrome"_s, u"My App"_s)},
    {"brave-tabbed-incognito-dark-routing.golden", inputs(u"brave"_s, u"Team Chat"_s, {u"https://chat.example.com/"_s, u"https://mail.example.com/inbox?x=1"_s}, true, true, true)},
    {"helium-single-window.golden", inputs(u"helium"_s, u"Notes"_s)},
    {"chrome-tabbed-routing-pipe.golden", throughPipe(inputs(u"chrome"_s, u"Mail"_s, {u"https://mail.example.com/"_s, u"https://calendar.example.com/"_s}, false, false, true))},
    {"edge-tabbed-linux.golden", withSwitches(inputs(u"edge"_s, u"Office"_s, {u"https://office.example.com/"_s, u"https://calendar.example.com/"_s}, false, false, false, false))},
};
// clang-format on

TEST(GoldenScript, MatchesTheReviewedText)
{
    for (auto [file, in] : goldenCases) {
        const bool mac = in.targetIsMac;
        TestContext test;
        const QString home = mac ? u"/Users/me"_s : u"/home/me"_s;
        Context context(
            {home, home + (mac ? u"/Library/Application Support/Sorvane"_s : u"/.local/share/Sorvane"_s), {}},
            std::make_unique<UserDefaults>(test.root() + u"/settings.ini"_s));
        in.trackerFragment = SNAppTracker(context).shellUpdateCode(u"5F0C6B2E-8D4A-4C1B-9E7F-1A2B3C4D5E6F"_s);
        const BrowserInfo &browser = BrowserCatalogue::byTypeKey(in.typeKey);
        in.engineBrowserPath = SNAppScriptHelper::browserPathArgument(
            mac ? browser.macEnginePath : browser.linuxEnginePath, mac);
        const QStringList lines = SNAppScriptHelper::scriptText(in).split(u'\n');

        QFile golden(fixturePath(u"scripts/"_s + QString::fromUtf8(file)));
        if (qEnvironmentVariableIsSet("SORVANE_UPDATE_GOLDEN")) {
            EXPECT_TRUE(golden.open(QIODevice::WriteOnly) && golden.write(lines.join(u'\n').toUtf8()) >= 0);
            continue;
        }
        ASSERT_TRUE(golden.open(QIODevice::ReadOnly)) << file << " missing; run with SORVANE_UPDATE_GOLDEN=1";
        const QStringList expected = QString::fromUtf8(golden.readAll()).split(u'\n');
        for (qsizetype i = 0; i < qMax(expected.size(), lines.size()); ++i) {
            const QString want = expected.value(i, u"<end of file>"_s),
                          got = lines.value(i, u"<end of file>"_s);
            ASSERT_EQ(want, got) << file << ":" << i + 1 << " differs first\n  expected ["
                                 << want.toStdString() << "]\n  actual   [" << got.toStdString()
                                 << "]\nSORVANE_UPDATE_GOLDEN=1 rewrites the golden files; review the diff.";
        }
    }
}

using EveryBrowser = ::testing::TestWithParam<int>;

// Every option combination is valid bash and reads back as it was made, in both folder forms;
// real bundles read back before and after regeneration in tests/launcher/MaintenanceTest.cpp.
TEST_P(EveryBrowser, EveryCombinationIsValidBashWithItsReadBackMarkers)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(GetParam());
    const bool helium = browser.typeKey == u"helium"_s;
    for (int mask = 0; mask < 16; ++mask) {
        const bool tabbed = mask & 1, incognito = mask & 2, dark = mask & 4, routing = mask & 8;
        const bool mac = std::popcount(unsigned(mask)) % 2; // both folder forms, spread over the combinations
        SCOPED_TRACE(browser.typeKey.toStdString() + " options " + std::to_string(mask));
        const QString text = SNAppScriptHelper::scriptText(
            inputs(browser.typeKey, u"App"_s, tabbed ? QStringList{u"https://a.example/"_s} : QStringList{},
                   incognito, dark, routing, mac));
        EXPECT_EQ(syntaxErrors(text), QString());
        EXPECT_EQ(text.contains(u"incognito"_s), incognito);
        EXPECT_EQ(text.contains(u"--load-extension=./../Resources/Sorvane_Extension"_s), routing || helium);
        EXPECT_EQ(text.contains(u"\nNEEDTAB=1\n"_s), tabbed);
        EXPECT_EQ(text.contains(u"--app="_s), !tabbed);
        EXPECT_EQ(text.contains(u"External Extensions"_s), !helium);
        const QString hosts = mac ? u"~/Library/Application\\ Support/"_s +
                                        QString(browser.macUserDataFolder).replace(u" "_s, u"\\ "_s)
                                  : u"~/.config/"_s + browser.linuxUserDataFolder;
        EXPECT_EQ(text.count(hosts + u"/NativeMessagingHosts"_s), 3);
        const QStringList tabs = tabbed ? QStringList{u"https://a.example/"_s} : QStringList{};
        EXPECT_EQ(AppScriptReader::appInfo(u"App"_s, text).value_or(QVariantMap()),
                  (QVariantMap{{u"appName"_s, u"App"_s}, {u"isTabs"_s, tabbed},
                               {u"appURL"_s, tabbed ? tabs.first() : u"https://example.com/"_s}, {u"tabs"_s, tabs},
                               {u"incognito"_s, incognito}, {u"browserType"_s, browser.typeKey},
                               {u"shouldIncludeWLExt"_s, routing || helium}}));
    }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryBrowser, ::testing::Range(0, 8));

// Hostile addresses and what the engine must receive for them.
// clang-format off
const std::pair<QString, QString> addresses[] = {
    {u"https://x.example/a b\"c`d\\e$(touch pwned)|{}^<>"_s, u"https://x.example/a%20b%22c%60d%5Ce$(touch%20pwned)%7C%7B%7D%5E%3C%3E"_s},
    {u"https://x.example/\nline\t$HOME"_s, u"https://x.example/%0Aline%09$HOME"_s},
};
// clang-format on

// clang-format off
const QString hostileNames[] = {u"My App"_s, u"  blanks  around  "_s, u"it's \"quoted\""_s, u"$HOME ${PATH}x"_s,
                                u"$(touch pwned)"_s, u"`touch pwned`"_s, u"a; b && c | touch pwned &"_s,
                                u"(x) <in >out"_s, u"C++ [1] {2,} a|b ^x$ *? \\"_s, u"#hash !bang ~tilde"_s,
                                u"Grüße 日本語 Привет"_s, u"emoji 😀 👩‍👩‍👧"_s};
// clang-format on

using HostileName = ::testing::TestWithParam<int>;

// The name and addresses reach every command as the exact value, the already-running check's
// pattern matches the engine's path literally, and nothing runs.
TEST_P(HostileName, ReachesEveryCommandAsOneExactWordAndRunsNothing)
{
    const QString name = hostileNames[GetParam()];
    for (const bool tabbed : {false, true}) {
        const auto &[address, encoded] = addresses[(GetParam() + tabbed) % std::size(addresses)];
        SCOPED_TRACE(address.toStdString() + (tabbed ? " tabbed" : ""));
        SNScriptInputs in = inputs(u"chrome"_s, name, {address, u"https://b.example/"_s});
        in.needTab = tabbed;
        const QString text = SNAppScriptHelper::scriptText(in);
        EXPECT_EQ(syntaxErrors(text), QString());

        static const QRegularExpression wanted(
            u"^\\s*(sh \\./createEngine\\.sh |PGREP_PWD=|pgrepResult=|launchArray\\[|launchArrayHelper\\[|TABS=|HOMEPAGE=)"_s);
        QStringList probe{u"sh() { printf '%s\\0' \"$@\"; }; pgrep() { printf '%s' \"$2\" > pattern; }"_s};
        for (const QString &line : text.split(u'\n'))
            if (wanted.match(line).hasMatch() && !line.contains(u"$LINK"_s))
                probe << line.trimmed();
        probe
            << u"re=\"^$(cat pattern)\\$\"; [[ \"$PWD/../MacOS/$NAME Engine\" =~ $re ]] && printf 'match\\0'"_s
            << u"printf '%s\\0' \"$TABS\" \"$HOMEPAGE\" \"${launchArrayHelper[3]}\" \"${launchArray[@]}\""_s;
        QTemporaryDir dir;
        // The scripts run in their bundle's Resources folder.
        const QString cwd = dir.path() + u"/App.app/Contents/Resources"_s;
        ASSERT_TRUE(QDir().mkpath(cwd));
        const auto [code, raw, err] = run({u"/bin/bash"_s, u"-c"_s, probe.join(u'\n')}, cwd, name);
        const QStringList out = QString::fromUtf8(raw).split(QChar(0));
        ASSERT_GE(out.size(), 15) << err.constData();
        // createEngine.sh's arguments, the pgrep pattern's match, TABS, HOMEPAGE, the engine's name and path
        EXPECT_EQ(out.mid(0, 12),
                  (QStringList{u"./createEngine.sh"_s, name, QString(), in.engineBrowserPath,
                               u"Google Chrome"_s, u"Chrome"_s, u"Google Chrome Framework.framework"_s,
                               u"match"_s, tabbed ? encoded + u" https://b.example/"_s : QString(), encoded,
                               name + u" Engine"_s, cwd + u"/../MacOS/"_s + name + u" Engine"_s}));
        EXPECT_TRUE(tabbed || out.at(14) == u"--app="_s + encoded) << out.at(14).toStdString();
        EXPECT_EQ(QDir(cwd).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{u"pattern"_s});

        // Read back: the addresses as the engine gets them, and the name, whatever it holds.
        const QVariantMap readBack = AppScriptReader::appInfo(name, text).value_or(QVariantMap());
        const QStringList tabs = tabbed ? QStringList{encoded, u"https://b.example/"_s} : QStringList();
        EXPECT_EQ(readBack, (QVariantMap{{u"appName"_s, name}, {u"isTabs"_s, tabbed}, {u"appURL"_s, encoded},
                                         {u"tabs"_s, tabs}, {u"incognito"_s, false}, {u"browserType"_s, u"chrome"_s},
                                         {u"shouldIncludeWLExt"_s, false}}));
    }
}

INSTANTIATE_TEST_SUITE_P(Corpus, HostileName, ::testing::Range(0, int(std::size(hostileNames))));

// `key`'s tab choice, run after the shell `setup` in Contents/Resources: the tabs it leaves to
// open. The restore of the last open tabs runs in tests/launcher/WholeStartTest.cpp.
struct BlockCase
{
    const char *key;
    const char *setup, *expected;
    friend void PrintTo(const BlockCase &c, std::ostream *os) { *os << c.key << ": " << c.setup; }
};

// clang-format off
const BlockCase blockCases[] = {
    {"brave", "", "https://a/ https://b/"},
    {"brave", "mkdir -p ../Profile/Default/Sessions", ""},
    {"chrome", "mkdir -p ../Profile/Default/Sessions", "https://a/ https://b/"},
    {"chrome", R"(mkdir -p ../Profile/Default && printf %s '{"restore_on_startup":1}' | tee '../Profile/Default/Secure Preferences' '../Profile/Default/Current Tabs' >/dev/null)", ""},
    {"chrome", R"(mkdir -p ../Profile/Default && printf %s '{"restore_on_startup":4}' > '../Profile/Default/Secure Preferences')", "https://a/ https://b/"},
};
// clang-format on

using ScriptBlock = ::testing::TestWithParam<BlockCase>;

// The tab choice, run against prepared profile states.
TEST_P(ScriptBlock, LeavesTheExpectedState)
{
    const BlockCase &c = GetParam();
    const QString text = SNAppScriptHelper::scriptText(
        inputs(QString::fromUtf8(c.key), u"App"_s, {u"https://a/"_s, u"https://b/"_s}));
    const qsizetype from = text.indexOf(u"sed -i '' 's/"_s);
    const qsizetype to = text.indexOf(u"setup \"$PWD\""_s, from);
    ASSERT_TRUE(from >= 0 && to > from);
    QTemporaryDir dir;
    const QString resources = dir.path() + u"/App.app/Contents/Resources"_s;
    ASSERT_TRUE(QDir().mkpath(resources));
    const QString program = QString::fromUtf8(c.setup) + u'\n' + text.mid(from, to - from) +
                            u"\nprintf %s \"$Tabs\""_s;
    EXPECT_EQ(run({u"/bin/bash"_s, u"-c"_s, program}, resources).out, QByteArray(c.expected));
}

INSTANTIATE_TEST_SUITE_P(States, ScriptBlock, ::testing::ValuesIn(blockCases));

// `sorvane script` with the user's engine setting and registry: bad usage, a refused name (which
// names are refused is ShellEscaping's test), one good run.
TEST(ScriptCli, ExitsAndPrints)
{
    // The program inherits this test's private HOME and XDG folders.
    QSettings(qEnvironmentVariable("XDG_CONFIG_HOME") + u"/ondrel/Sorvane.conf"_s, QSettings::IniFormat)
        .setValue(u"bravePath"_s, u"/x/B.app/Contents/MacOS/Brave Browser"_s);
    const std::tuple<QString, int, QByteArray> cases[] = {
        // on success in standard output, else standard error
        {u"--url https://a/"_s, 2, "--name"},
        {u"--name a/b --url https://a/"_s, 1, "name: 'a/b' contains '/', which a file name cannot hold"},
        {u"--name A --url https://a/ --browser brave"_s, 0, "\"A\" \"$ENGINE_WORKDIR\" \"/x/B.app"}};
    const QString tracker = qEnvironmentVariable("XDG_DATA_HOME") + u"/Sorvane/tracker.plist"_s;
    for (const auto &[arguments, exitCode, expected] : cases) {
        const auto [code, out, err] =
            run(QStringList{QStringLiteral(SORVANE_CLI), u"script"_s} + arguments.split(u' '));
        EXPECT_EQ(code, exitCode) << arguments.toStdString();
        EXPECT_TRUE((exitCode == 0 ? out : err).contains(expected)) << out.constData() << err.constData();
        EXPECT_EQ(syntaxErrors(QString::fromUtf8(out)), QString());
        EXPECT_EQ(out.contains(ShellEscaping::unquoted(tracker).toUtf8()), exitCode == 0);
    }
}

} // namespace
