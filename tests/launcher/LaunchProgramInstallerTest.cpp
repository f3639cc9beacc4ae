#include "LaunchTestSupport.h"

#include "generation/LaunchProgramInstaller.h"
#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;

using namespace LaunchTest;

namespace {

constexpr QFile::Permissions Mode0755 =
    QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadUser | QFile::WriteUser |
    QFile::ExeUser | QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;

const QByteArray EngineScript = "#!/bin/sh\n# engine builder stand-in\n";

// A TestContext whose resources folder is a copy of the build's, which each test may break.
class InstallerTest
{
public:
    InstallerTest()
    {
        const QString resources = m_scratch.path() + u"/resources"_s;
        EXPECT_TRUE(copyTree(buildResources(), resources));
        QFile::remove(resources + u"/createEngine.sh"_s);
        writeExecutable(resources + u"/createEngine.sh"_s, EngineScript);
        m_test = std::make_unique<TestContext>(resources);
    }

    TestContext &test() { return *m_test; }
    QString resources() const { return m_test->context().resourcesFolder(); }
    QString bundle(const QString &name) const { return m_test->root() + u'/' + name + u".app"_s; }

private:
    QTemporaryDir m_scratch;
    std::unique_ptr<TestContext> m_test;
};

// Runs the installed program with a script that reports its arguments and where `sed` comes from.
QStringList runInstalled(const QString &bundle, const QString &name, const QStringList &arguments)
{
    const QString record = bundle + u"/record"_s;
    writeExecutable(bundle + u"/Contents/Resources/script"_s,
                    "#!/bin/bash\nprintf '%s\\0' \"$(command -v sed)\" \"$@\" > '" + record.toUtf8() + "'\n");
    const Outcome result = runProgram(bundle + u"/Contents/MacOS/"_s + name, arguments, environmentWith());
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    return recorded(record);
}

} // namespace

// A regeneration with the launch program back in place replaces the stub.
TEST(LaunchProgramInstaller, WritesTheLegacyStubWhenTheLaunchProgramIsMissing)
{
    InstallerTest fixture;
    const QString launcher = fixture.resources() + u"/sorvanelauncher"_s;
    const QString saved = fixture.test().root() + u"/saved-launcher"_s;
    ASSERT_TRUE(QFile::rename(launcher, saved));
    const QString name = u"Old $tyle"_s;
    const QString bundle = fixture.bundle(name);
    const QString program = bundle + u"/Contents/MacOS/"_s + name;
    LaunchProgramInstaller installer(fixture.test().context());
    QString error;
    ASSERT_TRUE(installer.installInto(bundle, name, &error)) << qPrintable(error);

    EXPECT_EQ(QFile::permissions(program), Mode0755);
    EXPECT_EQ(fixture.test().log(), QStringList{u"Warning: sorvanelauncher missing from the Sorvane bundle; "
                                                u"installing the legacy launch stub"_s});
    // The stub passes its arguments through as they are (it has no PATH set-up of its own).
    EXPECT_EQ(runInstalled(bundle, name, {u"a b"_s, u"$c"_s}).mid(1), (QStringList{u"a b"_s, u"$c"_s}));

    ASSERT_TRUE(QFile::rename(saved, launcher));
    ASSERT_TRUE(installer.installInto(bundle, name, &error)) << qPrintable(error);
    EXPECT_EQ(readAll(program), readAll(launcher));
    EXPECT_EQ(QFile::permissions(program), Mode0755);
}

TEST(LaunchProgramInstaller, FailsWhenAHelperFileIsMissing)
{
    for (const char *item : {"SorvaneHelper.app", "createEngine.sh", "compat"}) {
        InstallerTest fixture;
        const QString path = fixture.resources() + u'/' + QString::fromUtf8(item);
        if (QFileInfo(path).isDir())
            ASSERT_TRUE(QDir(path).removeRecursively());
        else
            ASSERT_TRUE(QFile::remove(path));
        QString error;
        EXPECT_FALSE(LaunchProgramInstaller(fixture.test().context())
                         .installInto(fixture.bundle(u"X"_s), u"X"_s, &error))
            << item;
        EXPECT_TRUE(error.contains(QString::fromUtf8(item))) << qPrintable(error);
    }
}
