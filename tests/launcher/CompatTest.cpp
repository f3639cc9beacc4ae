#include "LaunchTestSupport.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

using namespace LaunchTest;

namespace {

const QString Hostile = u"$(touch pwned)`touch pwned`;touch pwned"_s;

// Written by Python's plistlib, so the stand-in reads what the system's own writers produce.
void writePlistWithPython(const QString &path, const QByteArray &json, bool binary)
{
    QProcess python;
    python.start(QStringLiteral(SORVANE_PYTHON3),
                 {u"-c"_s,
                  QStringLiteral("import json,plistlib,sys\n"
                                 "plistlib.dump(json.loads(sys.argv[2]), open(sys.argv[1], 'wb'),"
                                 " fmt=plistlib.FMT_BINARY if sys.argv[3] == '1' else plistlib.FMT_XML)"),
                  path, QString::fromUtf8(json), binary ? u"1"_s : u"0"_s});
    python.waitForFinished();
}

const QByteArray Tracker =
    R"({"A-1":{"appPath":"/Apps/A.app","lastActivity":"old"},"list":[1,2],"a.b":{"c":1}})";
// The same as Python prints it back (keys sorted).
const QByteArray Unchanged =
    R"({"A-1":{"appPath":"/Apps/A.app","lastActivity":"old"},"a.b":{"c":1},"list":[1,2]})";

QStringList replace(const char *keyPath, const char *type, const QString &value)
{
    return {u"-replace"_s, QString::fromUtf8(keyPath), QString::fromUtf8(type), value};
}

struct PlutilCase
{
    const char *label;
    QStringList arguments; // before the file
    int exitCode;
    QByteArray expected; // JSON as Python reads the file afterwards
};

void PrintTo(const PlutilCase &c, std::ostream *os)
{
    *os << c.label;
}

class CompatPlutil : public testing::TestWithParam<std::tuple<PlutilCase, bool>>
{
};

} // namespace

TEST_P(CompatPlutil, ReplacesOneValueAndKeepsTheFormat)
{
    const auto &[c, binary] = GetParam();
    TestContext test;
    const QString file = test.root() + u"/tracker.plist"_s;
    writePlistWithPython(file, Tracker, binary);
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    const QByteArray before = readAll(file);

    const Outcome result =
        runProgram(compatTool(u"plutil"_s), c.arguments + QStringList{file}, environmentWith(), test.root());
    EXPECT_EQ(result.exitCode, c.exitCode) << result.err.constData();
    EXPECT_EQ(plistAsJsonFromPython(file), c.expected);
    if (c.exitCode != 0) {
        EXPECT_EQ(readAll(file), before);
        EXPECT_FALSE(result.err.isEmpty());
    }
    EXPECT_EQ(readAll(file).startsWith("bplist00"), binary);
    EXPECT_EQ(QFile::permissions(file),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
    EXPECT_EQ(QDir(test.root()).entryList(QDir::Files | QDir::Hidden), QStringList{u"tracker.plist"_s});
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CompatPlutil,
    testing::Combine(
        testing::Values(
            PlutilCase{"activityStamp", replace("A-1.lastActivity", "-string", u"2024-05-01  9:05:00 AM"_s),
                       0,
                       R"({"A-1":{"appPath":"/Apps/A.app","lastActivity":"2024-05-01  9:05:00 AM"},)"
                       R"("a.b":{"c":1},"list":[1,2]})"},
            PlutilCase{"newFieldAndHostileValue", replace("A-1.note", "-string", Hostile), 0,
                       R"({"A-1":{"appPath":"/Apps/A.app","lastActivity":"old",)"
                       R"("note":"$(touch pwned)`touch pwned`;touch pwned"},"a.b":{"c":1},"list":[1,2]})"},
            PlutilCase{
                "nonLatinValue", replace("A-1.appPath", "-string", u"/Apps/Café ☕.app"_s), 0,
                R"({"A-1":{"appPath":"/Apps/Café ☕.app","lastActivity":"old"},"a.b":{"c":1},"list":[1,2]})"},
            PlutilCase{
                "arrayIndexAndBool", replace("list.1", "-bool", u"YES"_s), 0,
                R"({"A-1":{"appPath":"/Apps/A.app","lastActivity":"old"},"a.b":{"c":1},"list":[1,true]})"},
            PlutilCase{
                "escapedDotAndInteger", replace("a\\.b.c", "-integer", u"42"_s), 0,
                R"({"A-1":{"appPath":"/Apps/A.app","lastActivity":"old"},"a.b":{"c":42},"list":[1,2]})"},
            PlutilCase{"unknownApp", replace("B-2.lastActivity", "-string", u"x"_s), 1, Unchanged},
            PlutilCase{"indexPastTheEnd", replace("list.2", "-bool", u"NO"_s), 1, Unchanged},
            PlutilCase{"badBool", replace("list.0", "-bool", u"maybe"_s), 1, Unchanged},
            PlutilCase{"otherForm", {u"-convert"_s, u"xml1"_s}, 1, Unchanged},
            PlutilCase{"otherType", replace("A-1.x", "-date", u"2024-01-01T00:00:00Z"_s), 1, Unchanged}),
        testing::Bool()),
    [](const auto &p) {
        return std::string(std::get<0>(p.param).label) + (std::get<1>(p.param) ? "_binary" : "_xml");
    });

namespace {

struct SedCase
{
    const char *label;
    QStringList arguments; // FILE and FILE2 stand for two files holding `input`
    QByteArray input;
    QByteArray fileAfter;
    QByteArray output;
};

void PrintTo(const SedCase &c, std::ostream *os)
{
    *os << c.label;
}

class CompatSed : public testing::TestWithParam<SedCase>
{
};

} // namespace

TEST_P(CompatSed, TranslatesBsdInPlaceEditingAndPassesTheRestThrough)
{
    const SedCase &c = GetParam();
    TestContext test;
    const QString folder = test.root() + u"/work"_s;
    QDir().mkpath(folder);
    QStringList arguments = c.arguments;
    for (QString &argument : arguments) {
        if (argument == u"FILE"_s || argument == u"FILE2"_s) {
            argument = folder + u'/' + argument.toLower();
            writeExecutable(argument, c.input);
        }
    }
    const QStringList before = QDir(folder).entryList(QDir::Files | QDir::Hidden);

    const Outcome result = runProgram(compatTool(u"sed"_s), arguments, environmentWith(), test.root());
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, c.output);
    for (const QString &name : before)
        EXPECT_EQ(readAll(folder + u'/' + name), c.fileAfter) << qPrintable(name);
    // No backup file: the empty suffix means none.
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden), before);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, CompatSed,
    testing::Values(
        SedCase{"bsdInPlaceTwoFilesAfterAnOption",
                {u"-E"_s, u"-i"_s, QString(), u"s/(a+)/<\\1>/g"_s, u"FILE"_s, u"FILE2"_s},
                "baa\naba\n", "b<aa>\n<a>b<a>\n", ""},
        // A generated script's manifest repair, for a bundle in a folder with an odd name.
        SedCase{"manifestRepair",
                {u"-i"_s, QString(), u"s#.*\"path\":.*#\"path\": \"/A $(x) B/sorvanemessaginghost\",#g"_s, u"FILE"_s},
                "{\n  \"path\": \"/old/host\",\n  \"type\": \"stdio\"\n}\n",
                "{\n\"path\": \"/A $(x) B/sorvanemessaginghost\",\n  \"type\": \"stdio\"\n}\n", ""},
        SedCase{"gnuInPlaceUnchanged", {u"-i"_s, u"s/a/X/"_s, u"FILE"_s}, "aa\n", "Xa\n", ""},
        SedCase{"emptyExpressionIsNoSuffix", {u"-n"_s, u"-e"_s, QString(), u"-e"_s, u"2p"_s, u"FILE"_s},
                "1\n2\n", "1\n2\n", "2\n"}),
    [](const auto &p) { return std::string(p.param.label); });
// clang-format on

namespace {

struct OsascriptCase
{
    const char *label;
    QStringList arguments;
    const char *windowTool; // the fake put on PATH: "xdotool", "wmctrl" or ""
    bool display;
    int exitCode;
    QStringList raisedWith; // recorded calls of the window tool
};

void PrintTo(const OsascriptCase &c, std::ostream *os)
{
    *os << c.label;
}

class CompatOsascript : public testing::TestWithParam<OsascriptCase>
{
};

QString frontmost(const QString &pids)
{
    return u"set frontmost of the first process whose unix id is "_s + pids + u" to true"_s;
}

// The arguments a generated script passes.
QStringList told(const QString &pids)
{
    return {u"-e"_s,      u"tell application \"System Events\""_s, u"-e"_s, frontmost(pids), u"-e"_s,
            u"end tell"_s};
}

} // namespace

TEST_P(CompatOsascript, RaisesTheProcessWindowAndRefusesOtherScripts)
{
    const OsascriptCase &c = GetParam();
    TestContext test;
    const QString bin = test.root() + u"/bin"_s;
    const QString calls = test.root() + u"/calls"_s;
    QDir().mkpath(bin);
    // The fake tools log each call; xdotool finds no window for 4242, wmctrl lists one for 4343.
    if (qstrcmp(c.windowTool, "xdotool") == 0)
        writeExecutable(bin + u"/xdotool"_s,
                        "#!/bin/sh\necho \"$*\" >> '" + calls.toUtf8() + "'\n[ \"$3\" != 4242 ]\n");
    if (qstrcmp(c.windowTool, "wmctrl") == 0)
        writeExecutable(bin + u"/wmctrl"_s,
                        "#!/bin/sh\necho \"$*\" >> '" + calls.toUtf8() +
                            "'\n[ \"$1\" = -l ] && echo '0x00c00007  0 4343   host Title'\nexit 0\n");
    QProcessEnvironment environment = environmentWith(bin);
    if (c.display)
        environment.insert(u"DISPLAY"_s, u":99"_s);
    else
        environment.remove(u"DISPLAY"_s);

    const Outcome result = runProgram(compatTool(u"osascript"_s), c.arguments, environment, test.root());
    EXPECT_EQ(result.exitCode, c.exitCode) << result.err.constData();
    const QString log = QString::fromUtf8(readAll(calls));
    EXPECT_EQ(log.isEmpty() ? QStringList() : log.trimmed().split(u'\n'), c.raisedWith);
    EXPECT_FALSE(QFile::exists(test.root() + u"/pwned"_s));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Cases, CompatOsascript,
    testing::Values(
        OsascriptCase{"scriptForm", told(u"4343"_s), "xdotool", true, 0, {u"search --pid 4343 windowactivate"_s}},
        OsascriptCase{"severalIdsInOrder", told(u"4242\n4343"_s), "xdotool", true, 0,
                      {u"search --pid 4242 windowactivate"_s, u"search --pid 4343 windowactivate"_s}},
        OsascriptCase{"bareStatementWithWmctrl", {u"-e"_s, frontmost(u"4343"_s)}, "wmctrl", true, 0,
                      {u"-l -p"_s, u"-i -a 0x00c00007"_s}},
        OsascriptCase{"noWindowTool", told(u"4343"_s), "", true, 0, {}},
        OsascriptCase{"noDisplay", told(u"4343"_s), "xdotool", false, 0, {}},
        OsascriptCase{"otherScript", {u"-e"_s, u"do shell script \"touch pwned\""_s}, "xdotool", true, 1, {}},
        OsascriptCase{"idThatIsNoNumber", told(u"1;touch pwned"_s), "xdotool", true, 1, {}},
        OsascriptCase{"scriptFile", {u"script.scpt"_s}, "xdotool", true, 1, {}}),
    [](const auto &p) { return std::string(p.param.label); });
// clang-format on

namespace {

struct OpenFixture
{
    explicit OpenFixture(const QString &root) : bin(root + u"/bin"_s), record(root + u"/record"_s)
    {
        QDir().mkpath(bin);
        writeExecutable(bin + u"/xdg-open"_s, recordingScript(record));
    }

    Outcome open(const QStringList &arguments, const QString &workingDirectory) const
    {
        return runProgram(compatTool(u"open"_s), arguments, environmentWith(bin), workingDirectory);
    }

    QString bin, record;
};

enum class AppForm
{
    Executable,
    BundleNamedInInfoPlist,
    BundleWithOneProgram
};

class CompatOpenApp : public testing::TestWithParam<AppForm>
{
};

} // namespace

TEST_P(CompatOpenApp, StartsTheProgramDetachedWithItsArguments)
{
    TestContext test;
    const OpenFixture fixture(test.root());
    const QString app = GetParam() == AppForm::Executable ? test.root() + u"/tool with blanks"_s
                                                          : test.root() + u"/An App.app"_s;
    const QString program = GetParam() == AppForm::Executable ? app : app + u"/Contents/MacOS/Runner"_s;
    if (GetParam() != AppForm::Executable)
        QDir().mkpath(app + u"/Contents/MacOS"_s);
    if (GetParam() == AppForm::BundleNamedInInfoPlist) {
        writeExecutable(app + u"/Contents/MacOS/Decoy"_s, "#!/bin/sh\n");
        writePlistWithPython(app + u"/Contents/Info.plist"_s, R"({"CFBundleExecutable":"Runner"})", false);
    }
    // It outlives `open`: the record shows that it started, its pid lets the test end it.
    const QByteArray shebang = "#!/bin/sh\n";
    writeExecutable(program, shebang + "echo $$ > '" + test.root().toUtf8() + "/pid'\n" +
                                 recordingScript(fixture.record).mid(shebang.size()) + "exec sleep 30\n");

    const QStringList arguments{u"two words"_s, Hostile, QString(), u"-n"_s};
    const Outcome result =
        fixture.open(QStringList{u"-n"_s, u"-a"_s, app, u"--args"_s} + arguments, test.root());
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    ASSERT_TRUE(waitFor([&] { return QFile::exists(fixture.record); }));
    EXPECT_EQ(recorded(fixture.record), QStringList{program} + arguments);
    EXPECT_FALSE(QFile::exists(test.root() + u"/pwned"_s));
    const qint64 pid = readAll(test.root() + u"/pid"_s).trimmed().toLongLong();
    ASSERT_GT(pid, 0);
    EXPECT_EQ(::kill(static_cast<pid_t>(pid), SIGTERM), 0) << "the started program should still run";
}

INSTANTIATE_TEST_SUITE_P(Forms, CompatOpenApp,
                         testing::Values(AppForm::Executable, AppForm::BundleNamedInInfoPlist,
                                         AppForm::BundleWithOneProgram),
                         [](const auto &p) { return "form" + std::to_string(p.index); });

TEST(CompatOpen, HandsAddressesToXdgOpen)
{
    TestContext test;
    const OpenFixture fixture(test.root());
    const QString address = u"https://example.com/?q="_s + Hostile;
    const Outcome result = fixture.open({address}, test.root());
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(recorded(fixture.record), (QStringList{fixture.bin + u"/xdg-open"_s, address}));
    EXPECT_FALSE(QFile::exists(test.root() + u"/pwned"_s));
}

TEST(CompatOpen, RefusesWhatItCannotDo)
{
    TestContext test;
    const OpenFixture fixture(test.root());
    const QString app = fixture.bin + u"/xdg-open"_s;
    for (const QStringList &arguments :
         {QStringList{}, QStringList{u"-a"_s, test.root() + u"/missing.app"_s},
          QStringList{u"-a"_s, u"Safari"_s}, QStringList{u"-x"_s, u"a"_s},
          QStringList{u"-a"_s, app, u"file.txt"_s}, QStringList{u"--args"_s, u"x"_s}}) {
        const Outcome result = fixture.open(arguments, test.root());
        EXPECT_EQ(result.exitCode, 1) << qPrintable(arguments.join(u' '));
        EXPECT_FALSE(result.err.isEmpty());
    }
    EXPECT_FALSE(QFile::exists(fixture.record));
}

// The script's own sequence: open starts the helper app, and pgrep finds it by its path.
TEST(CompatOpen, StartsTheHelperAppSoThatTheScriptFindsIt)
{
    TestContext test;
    const QString resources = test.root() + u"/My App.app/Contents/Resources"_s;
    const QString helper = resources + u"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper"_s;
    QDir().mkpath(resources + u"/SorvaneHelper.app/Contents/MacOS"_s);
    ASSERT_TRUE(QFile::copy(buildResources() + u"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper"_s, helper));
    const QByteArray script =
        "launchArrayHelper[0]=\"\"$PWD/SorvaneHelper.app/Contents/MacOS/SorvaneHelper\"\"\n"
        "open -n -a \"${launchArrayHelper[0]}\" --args \"${PWD%/Contents/Resources}\" \"My App Engine\"\n"
        "sleep 0.5\n"
        "pgrep -f \"$PWD\"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper\n";
    QProcessEnvironment environment = environmentWith(buildResources() + u"/compat"_s);
    environment.insert(u"SORVANE_HELPER_GRACE_MS"_s, u"1500"_s);

    const Outcome first =
        runProgram(u"/bin/bash"_s, {u"-c"_s, QString::fromUtf8(script)}, environment, resources);
    EXPECT_EQ(first.exitCode, 0) << first.err.constData();
    EXPECT_GT(first.out.trimmed().toLongLong(), 0);
    // Without an engine it goes away after its grace period.
    const QByteArray gone = "sleep 2.5; pgrep -f \"$PWD\"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper";
    EXPECT_EQ(runProgram(u"/bin/bash"_s, {u"-c"_s, QString::fromUtf8(gone)}, environment, resources).exitCode,
              1);
}
