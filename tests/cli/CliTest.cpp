#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

namespace {

struct CliRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// Runs the built sorvane with HOME and the XDG folders inside the test's temporary folder.
CliRun sorvane(const TestContext &test, const QStringList &arguments)
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), test.home());
    env.insert(QStringLiteral("XDG_DATA_HOME"), test.home() + QStringLiteral("/.local/share"));
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), test.home() + QStringLiteral("/.config"));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(SORVANE_CLI), arguments);
    process.waitForFinished(60000);
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

} // namespace

TEST(Cli, VersionAndHelp)
{
    TestContext test;
    CliRun run = sorvane(test, {QStringLiteral("--version")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, QByteArray("sorvane " SORVANE_EXPECTED_VERSION "\n"));

    run = sorvane(test, {QStringLiteral("--help")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains("browsers")) << run.out.constData();

    run = sorvane(test, {QStringLiteral("browsers"), QStringLiteral("--help")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains("--json"));
}

TEST(Cli, BadUsageExitsWithTwo)
{
    TestContext test;
    for (const QStringList &arguments : {QStringList{}, QStringList{QStringLiteral("frobnicate")},
                                         QStringList{QStringLiteral("browsers"), QStringLiteral("--bogus")}}) {
        const CliRun run = sorvane(test, arguments);
        EXPECT_EQ(run.exitCode, 2) << qPrintable(arguments.join(u' '));
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_FALSE(run.err.isEmpty());
    }
}

TEST(Cli, BrowsersJsonListsTheEightWithResolvedPaths)
{
    TestContext test;
    // A browser whose setting points at a real executable counts as installed.
    QDir().mkpath(test.home() + QStringLiteral("/.config/ondrel"));
    QFile settings(test.home() + QStringLiteral("/.config/ondrel/Sorvane.conf"));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write("[General]\nvivaldiPath=/bin/sh\n");
    settings.close();

    const CliRun run = sorvane(test, {QStringLiteral("browsers"), QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(run.out, &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << run.out.constData();
    const QJsonArray browsers = document.array();
    ASSERT_EQ(browsers.size(), 8);
    QStringList keys;
    for (const QJsonValue &value : browsers) {
        const QJsonObject browser = value.toObject();
        keys.append(browser.value(QStringLiteral("key")).toString());
        EXPECT_TRUE(browser.value(QStringLiteral("installed")).isBool());
        EXPECT_FALSE(browser.value(QStringLiteral("enginePath")).toString().isEmpty());
    }
    EXPECT_EQ(keys, (QStringList{QStringLiteral("chrome"), QStringLiteral("canary"), QStringLiteral("brave"),
                                 QStringLiteral("edge"), QStringLiteral("opera"), QStringLiteral("chromium"),
                                 QStringLiteral("vivaldi"), QStringLiteral("helium")}));
    const QJsonObject vivaldi = browsers[6].toObject();
    EXPECT_EQ(vivaldi.value(QStringLiteral("enginePath")).toString(), QStringLiteral("/bin/sh"));
    EXPECT_TRUE(vivaldi.value(QStringLiteral("installed")).toBool());
    EXPECT_EQ(browsers[3].toObject().value(QStringLiteral("enginePath")).toString(),
              QStringLiteral("/opt/microsoft/msedge/msedge"));
}

TEST(Cli, RegistryNamesTheSupportFolder)
{
    TestContext test;
    const CliRun run = sorvane(test, {QStringLiteral("registry"), QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const QJsonObject registry = QJsonDocument::fromJson(run.out).object();
    EXPECT_EQ(registry.value(QStringLiteral("supportFolder")).toString(),
              test.home() + QStringLiteral("/.local/share/Sorvane"));
    EXPECT_EQ(registry.value(QStringLiteral("tracker")).toString(),
              test.home() + QStringLiteral("/.local/share/Sorvane/tracker.plist"));
    EXPECT_EQ(registry.value(QStringLiteral("apps")).toArray().size(), 0);
}
