#include "LaunchTestSupport.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

const QString EngineName = u"Sample \"App\" $x Engine"_s;

QString helperProgram()
{
    return buildResources() + u"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper"_s;
}

// A fake engine: a copy of sleep under an engine's name in `bundle`/Contents/MacOS.
QString makeEngine(const QString &bundle, const QString &name)
{
    QDir().mkpath(bundle + u"/Contents/MacOS"_s);
    QDir().mkpath(bundle + u"/Contents/Resources"_s);
    QFile::copy(u"/bin/sleep"_s, bundle + u"/Contents/MacOS/"_s + name);
    return bundle + u"/Contents/MacOS/"_s + name;
}

void startHelper(QProcess &helper, const QString &bundle, int graceMs)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"SORVANE_HELPER_GRACE_MS"_s, QString::number(graceMs));
    helper.setProcessEnvironment(environment);
    helper.start(helperProgram(), {bundle, EngineName});
    ASSERT_TRUE(helper.waitForStarted());
}

struct EngineCase
{
    const char *label;
    const char *startedAs;  // the engine's first argument; ROOT is the test folder, ENGINE its name
    const char *workingDir; // relative to ROOT; matters for a relative first argument
    const char *helperGets; // the bundle path handed to the helper, relative to ROOT
    bool tracked;
};

void PrintTo(const EngineCase &c, std::ostream *os) { *os << c.label; }

using SorvaneHelperWatch = testing::TestWithParam<EngineCase>;

} // namespace

TEST_P(SorvaneHelperWatch, LivesExactlyAsLongAsItsEngine)
{
    const EngineCase &c = GetParam();
    TestContext test;
    const QString root = test.root();
    makeEngine(root + u"/App.app"_s, EngineName);
    makeEngine(root + u"/Other.app"_s, EngineName);
    makeEngine(root + u"/App.app"_s, u"Different Engine"_s);
    ASSERT_TRUE(QFile::link(root + u"/App.app"_s, root + u"/Alias.app"_s));

    QProcess engine;
    engine.setWorkingDirectory(root + u'/' + QString::fromUtf8(c.workingDir));
    engine.start(QString::fromUtf8(c.startedAs).replace(u"ENGINE"_s, EngineName).replace(u"ROOT"_s, root),
                 {u"30"_s});
    ASSERT_TRUE(engine.waitForStarted());

    QProcess helper;
    startHelper(helper, root + u'/' + QString::fromUtf8(c.helperGets), 1000);
    if (c.tracked) {
        // Well past the grace period: the helper stays because the engine runs.
        EXPECT_FALSE(helper.waitForFinished(2000));
        engine.kill();
        engine.waitForFinished();
        ASSERT_TRUE(helper.waitForFinished(4000));
        EXPECT_EQ(helper.exitCode(), 0);
    } else {
        ASSERT_TRUE(helper.waitForFinished(4000));
        EXPECT_EQ(helper.exitCode(), 1);
        EXPECT_EQ(engine.state(), QProcess::Running);
        engine.kill();
        engine.waitForFinished();
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SorvaneHelperWatch,
    testing::Values(
        EngineCase{"asTheScriptStartsIt", "ROOT/App.app/Contents/Resources/../MacOS/ENGINE", ".", "App.app", true},
        EngineCase{"direct", "ROOT/App.app/Contents/MacOS/ENGINE", ".", "App.app", true},
        EngineCase{"relative", "../MacOS/ENGINE", "App.app/Contents/Resources", "App.app", true},
        EngineCase{"bundleThroughALink", "ROOT/App.app/Contents/MacOS/ENGINE", ".", "Alias.app", true},
        EngineCase{"sameNameOtherBundle", "ROOT/Other.app/Contents/MacOS/ENGINE", ".", "App.app", false},
        EngineCase{"otherNameSameBundle", "ROOT/App.app/Contents/MacOS/Different Engine", ".", "App.app", false}),
    [](const auto &p) { return std::string(p.param.label); });

TEST(SorvaneHelper, WaitsForALateEngineAndRefusesBadUsage)
{
    TestContext test;
    const QString bundle = test.root() + u"/Late.app"_s;
    const QString engineProgram = makeEngine(bundle, EngineName);

    QProcess helper;
    startHelper(helper, bundle, 5000);
    EXPECT_FALSE(helper.waitForFinished(1500));
    QProcess engine;
    engine.start(engineProgram, {u"2"_s});
    ASSERT_TRUE(engine.waitForStarted());
    // The engine ends by itself before the grace period does; the helper follows it.
    ASSERT_TRUE(helper.waitForFinished(6000));
    EXPECT_EQ(helper.exitCode(), 0);
    EXPECT_TRUE(engine.waitForFinished(1000));

    for (const QStringList &bad : {QStringList{}, QStringList{u"/x.app"_s}, QStringList{u"/x.app"_s, QString()},
                                   QStringList{u"a"_s, u"b"_s, u"c"_s}})
        EXPECT_EQ(runProgram(helperProgram(), bad, environmentWith()).exitCode, 2) << qPrintable(bad.join(u' '));
}
