#include "LaunchTestSupport.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

// What is odd about the bundle; plain starts are the whole-start tests' (tests/launcher/WholeStartTest.cpp).
enum class Setup
{
    StartedThroughLink,
    ScriptNotExecutable,
    NoCompatFolder,
    NoScript
};

struct LaunchCase
{
    const char *label;
    const char *bundleName;
    Setup setup;
    QStringList given;
    QStringList expected;
};

void PrintTo(const LaunchCase &c, std::ostream *os) { *os << c.label; }

using LaunchProgram = testing::TestWithParam<LaunchCase>;

// The links go on in order, encoded; the rest is left out.
const QStringList Given{u"-psn_0_123"_s, u"https://a.test/two words"_s, u"--x"_s, u"mailto:x@a.test"_s};
const QStringList Passed{u"https://a.test/two%20words"_s, u"mailto:x@a.test"_s};

} // namespace

// The built program in a bundle whose script records $0, $PWD, $PATH and its arguments.
TEST_P(LaunchProgram, RunsTheBundleScriptWithItsArguments)
{
    const LaunchCase &c = GetParam();
    TestContext test;
    const QString bundle = test.root() + u'/' + QString::fromUtf8(c.bundleName);
    const QString resources = bundle + u"/Contents/Resources"_s;
    const QString record = test.root() + u"/record"_s;
    const QString elsewhere = test.root() + u"/elsewhere"_s;
    QString program = bundle + u"/Contents/MacOS/App"_s;
    QDir().mkpath(resources + u"/compat"_s);
    QDir().mkpath(bundle + u"/Contents/MacOS"_s);
    QDir().mkpath(elsewhere);
    ASSERT_TRUE(QFile::copy(buildResources() + u"/sorvanelauncher"_s, program));
    writeExecutable(resources + u"/script"_s,
                    "#!/bin/bash\nprintf '%s\\0' \"$0\" \"$PWD\" \"$PATH\" \"$@\" > \"$RECORD\"\n");
    const QString path = QProcessEnvironment::systemEnvironment().value(u"PATH"_s);
    QString expectedPath = resources + u"/compat:"_s + path;
    if (c.setup == Setup::StartedThroughLink) {
        ASSERT_TRUE(QFile::link(program, elsewhere + u"/shortcut"_s));
        program = elsewhere + u"/shortcut"_s;
    } else if (c.setup == Setup::ScriptNotExecutable) {
        QFile::setPermissions(resources + u"/script"_s, QFile::ReadOwner | QFile::WriteOwner);
    } else if (c.setup == Setup::NoCompatFolder) {
        QDir(resources + u"/compat"_s).removeRecursively();
        expectedPath = path;
    } else if (c.setup == Setup::NoScript) {
        QFile::remove(resources + u"/script"_s);
    }
    QProcessEnvironment environment = environmentWith();
    environment.insert(u"RECORD"_s, record);
    environment.insert(u"XDG_STATE_HOME"_s, test.root() + u"/state"_s);

    const Outcome result = runProgram(program, c.given, environment, elsewhere);
    if (c.setup == Setup::NoScript) {
        EXPECT_EQ(result.exitCode, 127);
        EXPECT_TRUE(result.err.contains(QByteArray("script is missing: " + resources.toUtf8() + "/script")))
            << result.err.constData();
        EXPECT_FALSE(QFile::exists(record));
        return;
    }
    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    // Started from elsewhere, the script still begins in Contents/Resources.
    EXPECT_EQ(recorded(record),
              QStringList({resources + u"/script"_s, resources, expectedPath}) + c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, LaunchProgram,
    testing::Values(
        LaunchCase{"throughALink", "Linked.app", Setup::StartedThroughLink, {u"https://a.test/"_s}, {u"https://a.test/"_s}},
        LaunchCase{"scriptNotExecutable", "Modes.app", Setup::ScriptNotExecutable, Given, Passed},
        LaunchCase{"noCompatFolder", "Mac Like.app", Setup::NoCompatFolder, {}, {}},
        LaunchCase{"noScript", "Broken App.app", Setup::NoScript, {u"https://a.test/"_s}, {}}),
    [](const auto &p) { return std::string(p.param.label); });
