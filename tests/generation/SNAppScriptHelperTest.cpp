#include "generation/SNAppScriptHelper.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/SNAppTracker.h"
#include "core/ShellEscaping.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <bit>

using namespace Qt::StringLiterals;

namespace {

struct BashRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs `program` with bash in `folder`; NAME carries a value without any shell quoting.
BashRun bash(const QStringList &arguments, const QString &folder, const QString &name = {})
{
    QProcess process;
    process.setWorkingDirectory(folder);
    process.start(u"/usr/bin/env"_s,
                  QStringList{u"LC_ALL=C.UTF-8"_s, u"NAME="_s + name, u"/bin/bash"_s} + arguments);
    process.waitForFinished(20000);
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

// What `bash -n` says about each script (empty when it accepts them all), in one bash run.
QString syntaxErrors(const QStringList &scripts)
{
    QTemporaryDir dir;
    for (qsizetype i = 0; i < scripts.size(); ++i) {
        QFile file(dir.filePath(QString::number(i)));
        if (!file.open(QIODevice::WriteOnly))
            return u"cannot write"_s;
        file.write(scripts.at(i).toUtf8());
    }
    const BashRun run =
        bash({u"-c"_s, u"for f in *; do /bin/bash -n \"$f\" 2>&1 || echo \"script $f refused\"; done"_s},
             dir.path());
    return QString::fromUtf8(run.out + run.err);
}

SNScriptInputs inputs(const QString &key, const QString &name, const QStringList &tabs = {})
{
    SNScriptInputs in;
    in.appName = name;
    in.typeKey = key;
    in.needTab = !tabs.isEmpty();
    in.tabsList = tabs;
    in.appURL = tabs.isEmpty() ? u"https://example.com/"_s : tabs.first();
    in.targetIsMac = true;
    in.engineBrowserPath = u"/Applications/Some Browser.app"_s;
    in.trackerFragment = u"\n\nFILE=/x/tracker.plist\n"_s;
    return in;
}

// A bundle's Contents folder with an empty Resources folder in it.
QString makeContents(const QTemporaryDir &dir)
{
    const QString contents = dir.path() + u"/App.app/Contents"_s;
    QDir().mkpath(contents + u"/Resources"_s);
    return contents;
}

struct GoldenCase
{
    const char *file;
    const char *key;
    const char *name;
    QStringList tabs; // empty: single-window on https://example.com/
    bool incognito, dark, routing, mac;
    friend void PrintTo(const GoldenCase &c, std::ostream *os) { *os << c.file; }
};

// Reviewed by hand. SORVANE_UPDATE_GOLDEN=1 rewrites the files; review the diff before keeping it.
// clang-format off
const GoldenCase goldenCases[] = {
    {"chrome-single-window.golden", "chrome", "My App", {}, false, false, false, true},
    {"brave-tabbed-incognito-dark-routing.golden", "brave", "Team Chat",
     {u"https://chat.example.com/"_s, u"https://mail.example.com/inbox?x=1"_s}, true, true, true, true},
    {"helium-single-window.golden", "helium", "Notes", {}, false, false, false, true},
    {"edge-tabbed-linux.golden", "edge", "Office",
     {u"https://office.example.com/"_s, u"https://calendar.example.com/"_s}, false, false, false, false},
};
// clang-format on

class GoldenScript : public ::testing::TestWithParam<GoldenCase>
{
};

TEST_P(GoldenScript, MatchesTheReviewedText)
{
    const GoldenCase &c = GetParam();
    TestContext test;
    const QString home = c.mac ? u"/Users/me"_s : u"/home/me"_s;
    Context context(
        {home, home + (c.mac ? u"/Library/Application Support/Sorvane"_s : u"/.local/share/Sorvane"_s), {}},
        std::make_unique<UserDefaults>(test.root() + u"/settings.ini"_s));
    SNScriptInputs in = inputs(QString::fromUtf8(c.key), QString::fromUtf8(c.name), c.tabs);
    in.incognito = c.incognito;
    in.forceDarkMode = c.dark;
    in.shouldIncludeWLExt = c.routing;
    in.targetIsMac = c.mac;
    in.trackerFragment = SNAppTracker(context).shellUpdateCode(u"5F0C6B2E-8D4A-4C1B-9E7F-1A2B3C4D5E6F"_s);
    const BrowserInfo &browser = BrowserCatalogue::byTypeKey(in.typeKey);
    in.engineBrowserPath = SNAppScriptHelper::browserPathArgument(
        c.mac ? browser.macEnginePath : browser.linuxEnginePath, c.mac);
    const QString actual = SNAppScriptHelper::scriptText(in);

    QFile file(fixturePath(u"scripts/"_s + QString::fromUtf8(c.file)));
    if (qEnvironmentVariableIsSet("SORVANE_UPDATE_GOLDEN")) {
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(actual.toUtf8());
        return;
    }
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << "missing; run with SORVANE_UPDATE_GOLDEN=1 and review";
    const QStringList expected = QString::fromUtf8(file.readAll()).split(u'\n');
    const QStringList lines = actual.split(u'\n');
    for (qsizetype i = 0; i < qMax(expected.size(), lines.size()); ++i) {
        const QString want = expected.value(i, u"<end of file>"_s), got = lines.value(i, u"<end of file>"_s);
        ASSERT_EQ(want, got) << c.file << ":" << i + 1
                             << " differs first (brackets show blanks)\n  expected [" << want.toStdString()
                             << "]\n  actual   [" << got.toStdString()
                             << "]\nSORVANE_UPDATE_GOLDEN=1 rewrites the golden files.";
    }
}

INSTANTIATE_TEST_SUITE_P(Reviewed, GoldenScript, ::testing::ValuesIn(goldenCases));

class EveryBrowser : public ::testing::TestWithParam<int>
{
};

// Every option combination is valid bash and keeps the markers the read-back depends on.
TEST_P(EveryBrowser, EveryCombinationIsValidBashWithItsReadBackMarkers)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(GetParam());
    const bool helium = browser.typeKey == u"helium"_s;
    QStringList scripts;
    for (int mask = 0; mask < 16; ++mask) {
        const bool tabbed = mask & 1, incognito = mask & 2, dark = mask & 4, routing = mask & 8;
        const bool mac = std::popcount(unsigned(mask)) % 2; // both folder forms, spread over the combinations
        SCOPED_TRACE(mask);
        SNScriptInputs in =
            inputs(browser.typeKey, u"App"_s, tabbed ? QStringList{u"https://a.example/"_s} : QStringList{});
        in.incognito = incognito;
        in.forceDarkMode = dark;
        in.shouldIncludeWLExt = routing;
        in.targetIsMac = mac;
        const QString text = SNAppScriptHelper::scriptText(in);
        scripts << text;
        EXPECT_EQ(text.contains(u"incognito"_s), incognito);
        EXPECT_EQ(text.contains(u"--load-extension=./../Resources/Sorvane_Extension"_s), routing || helium);
        EXPECT_EQ(text.contains(u"\nNEEDTAB=1\n"_s), tabbed);
        EXPECT_EQ(text.contains(u"--app="_s), !tabbed);
        EXPECT_EQ(text.contains(u"External Extensions"_s), !helium);
        const QString hosts = mac ? u"~/Library/Application\\ Support/"_s +
                                        QString(browser.macUserDataFolder).replace(u" "_s, u"\\ "_s)
                                  : u"~/.config/"_s + browser.linuxUserDataFolder;
        EXPECT_EQ(text.count(hosts + u"/NativeMessagingHosts"_s), 3);
    }
    EXPECT_EQ(syntaxErrors(scripts), QString());
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryBrowser, ::testing::Range(0, 8), [](const auto &param) {
    return BrowserCatalogue::typeKeyForNumber(param.param).toStdString();
});

// Hostile addresses and what the engine must receive for them.
// clang-format off
const std::pair<QString, QString> addresses[] = {
    {u"https://example.com/"_s, u"https://example.com/"_s},
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

class HostileName : public ::testing::TestWithParam<int>
{
};

// The name and addresses reach every command as the exact value, the already-running check's
// pattern matches the engine's path literally, and nothing runs.
TEST_P(HostileName, ReachesEveryCommandAsOneExactWordAndRunsNothing)
{
    const QString name = hostileNames[GetParam()];
    QStringList scripts;
    for (const bool tabbed : {false, true}) {
        const auto &[address, encoded] = addresses[(GetParam() + tabbed) % std::size(addresses)];
        SCOPED_TRACE(address.toStdString() + (tabbed ? " tabbed" : ""));
        SNScriptInputs in =
            inputs(u"chrome"_s, name, tabbed ? QStringList{address, u"https://b.example/"_s} : QStringList{});
        in.appURL = address;
        const QString text = SNAppScriptHelper::scriptText(in);
        scripts << text;

        static const QRegularExpression wanted(
            u"^\\s*(sh \\./createEngine\\.sh |pgrepResult=|launchArray\\[|launchArrayHelper\\[|TABS=|HOMEPAGE=)"_s);
        QStringList probe{u"sh() { printf '%s\\0' \"$@\"; }"_s,
                          u"pgrep() { printf '%s' \"$2\" > pattern; }"_s};
        for (const QString &line : text.split(u'\n')) {
            if (wanted.match(line).hasMatch() && !line.contains(u"$LINK"_s))
                probe << line.trimmed();
        }
        probe
            << u"re=\"^$(cat pattern)\\$\"; [[ \"$PWD/../MacOS/$NAME Engine\" =~ $re ]] && printf 'match\\0'"_s
            << u"printf '%s\\0' \"$TABS\" \"$HOMEPAGE\" \"${launchArrayHelper[3]}\" \"${launchArray[@]}\""_s;
        QTemporaryDir dir;
        const QString resources = makeContents(dir) + u"/Resources"_s;
        const BashRun result = bash({u"-c"_s, probe.join(u'\n')}, resources, name);
        const QStringList out = QString::fromUtf8(result.out).split(QChar(0));
        ASSERT_GE(out.size(), 15) << result.err.constData();
        EXPECT_EQ(out.mid(0, 7),
                  (QStringList{u"./createEngine.sh"_s, name, QString(), in.engineBrowserPath,
                               u"Google Chrome"_s, u"Chrome"_s, u"Google Chrome Framework.framework"_s}));
        EXPECT_EQ(out.at(7), u"match"_s);
        EXPECT_EQ(out.at(8), tabbed ? encoded + u" https://b.example/"_s : QString());
        EXPECT_EQ(out.at(9), encoded);
        EXPECT_EQ(out.at(10), name + u" Engine"_s);
        EXPECT_EQ(out.at(11), resources + u"/../MacOS/"_s + name + u" Engine"_s);
        if (!tabbed) {
            EXPECT_EQ(out.at(14), u"--app="_s + encoded);
        }
        EXPECT_EQ(QDir(resources).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                  QStringList{u"pattern"_s});
    }
    EXPECT_EQ(syntaxErrors(scripts), QString());
}

INSTANTIATE_TEST_SUITE_P(Corpus, HostileName, ::testing::Range(0, int(std::size(hostileNames))));

TEST(SNAppScriptHelper, RefusesNamesThatCannotBeABundle)
{
    for (const QString &name : {QString(), u"a/b"_s, u"line\nbreak"_s, u"tab\there"_s, u"del\x7f"_s}) {
        QString error;
        EXPECT_TRUE(SNAppScriptHelper::scriptText(inputs(u"chrome"_s, name), &error).isEmpty());
        EXPECT_EQ(error, u"Invalid Application Name. Please correct the name."_s);
    }
}

struct BlockCase
{
    const char *key;
    const char *from; // the block runs from this text up to `to`
    const char *to;
    QStringList files;  // under Contents; a trailing "/" makes a folder
    QByteArray content; // of every file
    const char *print;  // what the block leaves behind
    const char *expected;
    friend void PrintTo(const BlockCase &c, std::ostream *os) { *os << c.key << " -> " << c.print; }
};

const char *const TabChoice = "sed -i '' 's/";
const char *const TabsSet = "setup \"$PWD\"";
const char *const Restore = "\nRESTORE=1";
const char *const RestoreEnd = "\n\nlaunchArrayHelper[0]";

// clang-format off
const BlockCase blockCases[] = {
    {"brave", TabChoice, TabsSet, {}, {}, "$Tabs", "https://a/ https://b/"},
    {"brave", TabChoice, TabsSet, {u"Profile/Default/Sessions/"_s}, {}, "$Tabs", ""},
    {"chrome", TabChoice, TabsSet, {u"Profile/Default/Sessions/"_s}, {}, "$Tabs", "https://a/ https://b/"},
    {"chrome", TabChoice, TabsSet, {u"Profile/Default/Secure Preferences"_s, u"Profile/Default/Current Tabs"_s},
     R"({"restore_on_startup":1})", "$Tabs", ""},
    {"chrome", TabChoice, TabsSet, {u"Profile/Default/Secure Preferences"_s}, R"({"restore_on_startup":4})", "$Tabs",
     "https://a/ https://b/"},
    {"chrome", Restore, RestoreEnd, {u"Resources/tabs-1.json"_s}, R"({"w":["https://c/","https://d\/e"]}})",
     "$RESTORE|$TabsLastOpened|$(ls)", "1| https://c/ https://d/e|"},
    {"chrome", Restore, RestoreEnd, {u"Resources/tabs-1.json"_s, u"Resources/restore.json"_s},
     R"({"w":["https://c/"]}} false)", "$RESTORE", "0"},
    {"chrome", Restore, RestoreEnd, {}, {}, "$RESTORE|$TabsLastOpened", "0|"},
};
// clang-format on

class ScriptBlock : public ::testing::TestWithParam<BlockCase>
{
};

// The tab choice and the restore of last open tabs, run against prepared profile states.
TEST_P(ScriptBlock, LeavesTheExpectedState)
{
    const BlockCase &c = GetParam();
    const QString text = SNAppScriptHelper::scriptText(
        inputs(QString::fromUtf8(c.key), u"App"_s, {u"https://a/"_s, u"https://b/"_s}));
    const qsizetype from = text.indexOf(QString::fromUtf8(c.from));
    const qsizetype to = text.indexOf(QString::fromUtf8(c.to), from);
    ASSERT_TRUE(from >= 0 && to > from);
    QTemporaryDir dir;
    const QString contents = makeContents(dir);
    for (const QString &file : c.files) {
        QDir().mkpath(QFileInfo(contents + u'/' + file).path());
        if (file.endsWith(u'/'))
            continue;
        QFile f(contents + u'/' + file);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(c.content);
    }
    const QString program =
        text.mid(from, to - from) + u"\nprintf %s \""_s + QString::fromUtf8(c.print) + u'"';
    EXPECT_EQ(bash({u"-c"_s, program}, contents + u"/Resources"_s).out, QByteArray(c.expected));
}

INSTANTIATE_TEST_SUITE_P(States, ScriptBlock, ::testing::ValuesIn(blockCases));

struct CliCase
{
    const char *arguments; // split at blanks
    int exitCode;
    const char *expected; // in standard output on success, in standard error otherwise
    friend void PrintTo(const CliCase &c, std::ostream *os) { *os << c.arguments; }
};

// clang-format off
const CliCase cliCases[] = {
    {"--url https://a/", 2, "--name"},
    {"--name A", 2, "--url"},
    {"--name A --url https://a/ --tab https://b/", 2, "--url"},
    {"--name A --url https://a/ --browser firefox", 2, "firefox"},
    {"--name a/b --url https://a/", 1, "Invalid Application Name. Please correct the name."},
    {"--name A --tab https://a/ --tab https://b/ --incognito", 0, "\nNEEDTAB=1\n\nTABS=\"https://a/ https://b/\"\n"},
    {"--name A --url https://a/ --browser brave", 0, "\"A\" \"$ENGINE_WORKDIR\" \"/x/B.app"},
    {"--name A --url https://a/", 0, "plutil -replace 00000000-0000-0000-0000-000000000000.appPath"},
};
// clang-format on

class ScriptCli : public ::testing::TestWithParam<CliCase>
{
};

// `sorvane script` with the user's engine setting and registry.
TEST_P(ScriptCli, ExitsAndPrints)
{
    const CliCase &c = GetParam();
    // The program inherits this test's private HOME and XDG folders.
    const QString config = qEnvironmentVariable("XDG_CONFIG_HOME"),
                  data = qEnvironmentVariable("XDG_DATA_HOME");
    QSettings(config + u"/ondrel/Sorvane.conf"_s, QSettings::IniFormat)
        .setValue(u"bravePath"_s, u"/x/B.app/Contents/MacOS/Brave Browser"_s);
    QProcess process;
    process.start(QStringLiteral(SORVANE_CLI),
                  QStringList{u"script"_s} + QString::fromUtf8(c.arguments).split(u' '));
    ASSERT_TRUE(process.waitForFinished(20000));
    EXPECT_EQ(process.exitCode(), c.exitCode);
    const QByteArray out = process.readAllStandardOutput(), err = process.readAllStandardError();
    EXPECT_TRUE((c.exitCode == 0 ? out : err).contains(c.expected)) << out.constData() << err.constData();
    if (c.exitCode == 0) {
        EXPECT_EQ(syntaxErrors({QString::fromUtf8(out)}), QString());
        EXPECT_TRUE(out.contains(ShellEscaping::unquoted(data + u"/Sorvane/tracker.plist"_s).toUtf8()));
    }
}

INSTANTIATE_TEST_SUITE_P(Usage, ScriptCli, ::testing::ValuesIn(cliCases));

} // namespace
