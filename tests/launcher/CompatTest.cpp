#include "LaunchTestSupport.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <csignal>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

const QString Hostile = u"$(touch pwned)`touch pwned`;touch pwned"_s;

// Written by Python's plistlib, so the stand-ins read what the system's own writers produce.
void writePlistWithPython(const QString &path, const QByteArray &json, bool binary)
{
    const QString code =
        u"import json,plistlib,sys\nplistlib.dump(json.loads(sys.argv[2]), open(sys.argv[1], 'wb'), "
        u"fmt=plistlib.FMT_BINARY if sys.argv[3] else plistlib.FMT_XML)"_s;
    runProgram(u"" SORVANE_PYTHON3 ""_s,
               {u"-c"_s, code, path, QString::fromUtf8(json), binary ? u"1"_s : u""_s}, {});
}

// Python reads the tracker back with its keys sorted.
const QByteArray Tracker = R"({"A-1":{"appPath":"/A.app","lastActivity":"old"},"a.b":{"c":1},"list":[1,2]})";

struct PlutilCase
{
    const char *label;
    QStringList arguments; // before the file
    QByteArray from, to; // Python reads the file back as Tracker with `from` replaced by `to`; none: refused
};
using CompatPlutil = testing::TestWithParam<std::tuple<PlutilCase, bool>>;

QStringList replace(const char *keyPath, const char *type, const QString &value)
{
    return {u"-replace"_s, QString::fromUtf8(keyPath), QString::fromUtf8(type), value};
}

struct OsascriptCase
{
    const char *label;
    QStringList arguments;
    const char *windowTool; // the fake put on PATH: "xdotool", "wmctrl" or ""
    bool display;
    int exitCode;
    QStringList raisedWith; // recorded calls of the window tool
};
using CompatOsascript = testing::TestWithParam<OsascriptCase>;

// The arguments a generated script passes; .mid(2, 2) is the bare statement.
QStringList told(const QString &pids)
{
    const QString statement =
        u"set frontmost of the first process whose unix id is "_s + pids + u" to true"_s;
    return {u"-e"_s, u"tell application \"System Events\""_s, u"-e"_s, statement, u"-e"_s, u"end tell"_s};
}

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
    EXPECT_EQ(result.exitCode, c.from.isEmpty() ? 1 : 0) << result.err.constData();
    EXPECT_EQ(plistAsJsonFromPython(file), QByteArray(Tracker).replace(c.from, c.to));
    if (c.from.isEmpty()) {
        EXPECT_EQ(readAll(file), before);
        EXPECT_FALSE(result.err.isEmpty());
    }
    EXPECT_EQ(readAll(file).startsWith("bplist00"), binary);
    EXPECT_EQ(QFile::permissions(file),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser);
    // No temporary file is left beside the file (the lock an edit held may stay).
    QStringList left = QDir(test.root()).entryList(QDir::Files | QDir::Hidden);
    left.removeAll(u"tracker.plist.lock"_s);
    EXPECT_EQ(left, QStringList{u"tracker.plist"_s});
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, CompatPlutil, testing::Combine(testing::Values(
    PlutilCase{"newFieldAndHostileValue", replace("A-1.note", "-string", Hostile),
               R"("old")", R"("old","note":"$(touch pwned)`touch pwned`;touch pwned")"},
    // Refused: the file stays as it was.
    PlutilCase{"unknownApp", replace("B-2.lastActivity", "-string", u"x"_s), {}, {}},
    PlutilCase{"otherForm", {u"-convert"_s, u"xml1"_s}, {}, {}},
    PlutilCase{"otherType", replace("A-1.x", "-date", u"2024-01-01T00:00:00Z"_s), {}, {}}), testing::Bool()),
    [](const auto &p) { return std::get<0>(p.param).label + std::string(std::get<1>(p.param) ? "_bin" : "_xml"); });
// clang-format on

// A hostile property list (the fuzz corpus's) is refused before the parser sees it, and stays as it was.
using CompatPlutilBudget = testing::TestWithParam<std::pair<const char *, const char *>>;

TEST_P(CompatPlutilBudget, RefusesAListOverBudgetAndLeavesItAsItWas)
{
    const auto &[name, limit] = GetParam();
    TestContext test;
    const QString file = test.root() + u"/Info.plist"_s;
    const QByteArray hostile = readAll(fixturePath(u"../fuzz/corpus/property-list/"_s + QLatin1String(name)));
    ASSERT_FALSE(hostile.isEmpty());
    writeFile(file, hostile);
    const Outcome result = runProgram(compatTool(u"plutil"_s), replace("a", "-string", u"x"_s) + QStringList{file},
                                      environmentWith(), test.root());
    EXPECT_EQ(result.exitCode, 1) << result.err.constData();
    EXPECT_TRUE(result.err.contains(limit)) << result.err.constData();
    EXPECT_EQ(readAll(file), hostile);
}

INSTANTIATE_TEST_SUITE_P(Corpus, CompatPlutilBudget,
                         testing::Values(std::pair{"shared-references-60-deep", "more than 1000000 values"},
                                         std::pair{"one-string-40000-references", "more than 256 MB"},
                                         std::pair{"nested-arrays-blank-before-gt", "deeper than 256 levels"}));

TEST_P(CompatOsascript, RaisesTheProcessWindowAndRefusesOtherScripts)
{
    const OsascriptCase &c = GetParam();
    TestContext test;
    const QString bin = test.root(); // first on PATH
    const QByteArray log = "#!/bin/sh\necho \"$*\" >> '" + bin.toUtf8() + "/calls'\n";
    // The fake tools log each call; xdotool finds no window for 4242, wmctrl lists one for 4343.
    if (qstrcmp(c.windowTool, "xdotool") == 0)
        writeExecutable(bin + u"/xdotool"_s, log + "[ \"$3\" != 4242 ]\n");
    if (qstrcmp(c.windowTool, "wmctrl") == 0)
        writeExecutable(bin + u"/wmctrl"_s, log + "[ \"$1\" = -l ] && echo '0x0c07 0 4343 h T'\n:\n");
    QProcessEnvironment environment = environmentWith(bin);
    environment.insert(u"DISPLAY"_s, c.display ? u":99"_s : QString());

    const Outcome result = runProgram(compatTool(u"osascript"_s), c.arguments, environment, test.root());
    EXPECT_EQ(result.exitCode, c.exitCode) << result.err.constData();
    EXPECT_EQ(QString::fromUtf8(readAll(bin + u"/calls"_s)).split(u'\n', Qt::SkipEmptyParts), c.raisedWith);
    EXPECT_FALSE(QFile::exists(test.root() + u"/pwned"_s));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, CompatOsascript, testing::Values(
    OsascriptCase{"severalIdsInOrder", told(u"4242\n4343"_s), "xdotool", true, 0,
                  {u"search --pid 4242 windowactivate"_s, u"search --pid 4343 windowactivate"_s}},
    OsascriptCase{"bareStatementWithWmctrl", told(u"4343"_s).mid(2, 2), "wmctrl", true, 0,
                  {u"-l -p"_s, u"-i -a 0x0c07"_s}},
    OsascriptCase{"noDisplay", told(u"4343"_s), "xdotool", false, 0, {}},
    OsascriptCase{"otherScript", {u"-e"_s, u"do shell script \"touch pwned\""_s}, "xdotool", true, 1, {}},
    OsascriptCase{"idThatIsNoNumber", told(u"1;touch pwned"_s), "xdotool", true, 1, {}}),
    [](const auto &p) { return std::string(p.param.label); });
// clang-format on

// The one form generated scripts use: a bundle (the helper app) started detached with its arguments.
TEST(CompatOpen, StartsTheBundlesProgramDetachedWithItsArguments)
{
    TestContext test;
    const QString app = test.root() + u"/An App.app"_s;
    const QString program = app + u"/Contents/MacOS/Runner"_s;
    // The bundle names its program in Info.plist, next to a decoy.
    QDir().mkpath(app + u"/Contents/MacOS"_s);
    writeExecutable(app + u"/Contents/MacOS/Decoy"_s, "#!/bin/sh\n");
    writePlistWithPython(app + u"/Contents/Info.plist"_s, R"({"CFBundleExecutable":"Runner"})", false);
    // It outlives `open`: the record shows that it started, its pid lets the test end it.
    writeExecutable(program, "#!/bin/sh\necho $$ > '" + test.root().toUtf8() + "/pid'\n" +
                                 recordingScript(test.root() + u"/record"_s).mid(10) + "exec sleep 30\n");

    const QStringList arguments{u"two words"_s, Hostile, QString(), u"-n"_s};
    const QStringList given = QStringList{u"-n"_s, u"-a"_s, app, u"--args"_s} + arguments;
    EXPECT_EQ(runProgram(compatTool(u"open"_s), given, environmentWith(), test.root()).exitCode, 0);
    ASSERT_TRUE(waitFor([&] { return QFile::exists(test.root() + u"/record"_s); }));
    EXPECT_EQ(recorded(test.root() + u"/record"_s), QStringList{program} + arguments);
    EXPECT_FALSE(QFile::exists(test.root() + u"/pwned"_s));
    const qint64 pid = readAll(test.root() + u"/pid"_s).trimmed().toLongLong();
    ASSERT_GT(pid, 0);
    EXPECT_EQ(::kill(static_cast<pid_t>(pid), SIGTERM), 0) << "the started program should still run";
}
