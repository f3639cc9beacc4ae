#include "CliSandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

TEST(Cli, VersionAndHelp)
{
    const CliSandbox cli;
    CliRun run = cli.sorvane({QStringLiteral("--version")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, QByteArray("sorvane " SORVANE_EXPECTED_VERSION "\n"));

    run = cli.sorvane({QStringLiteral("--help")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains("browsers")) << run.out.constData();

    run = cli.sorvane({QStringLiteral("browsers"), QStringLiteral("--help")});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(run.out.contains("--json"));
}

TEST(Cli, BadUsageExitsWithTwo)
{
    const CliSandbox cli;
    for (const QStringList &arguments : {QStringList{}, QStringList{QStringLiteral("frobnicate")},
                                         QStringList{QStringLiteral("browsers"), QStringLiteral("--bogus")}}) {
        const CliRun run = cli.sorvane(arguments);
        EXPECT_EQ(run.exitCode, 2) << qPrintable(arguments.join(u' '));
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_FALSE(run.err.isEmpty());
    }
}

TEST(Cli, BrowsersJsonListsTheEightWithResolvedPaths)
{
    const CliSandbox cli;
    // A browser whose setting points at a real executable counts as installed.
    cli.writeSettings(QStringLiteral("vivaldiPath=/bin/sh\n"));

    const CliRun run = cli.sorvane({QStringLiteral("browsers"), QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(run.out, &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << run.out.constData();
    const QJsonArray browsers = document.array();
    ASSERT_EQ(browsers.size(), 8);
    QStringList keys;
    for (const QJsonValue &value : browsers) {
        const QJsonObject browser = value.toObject();
        keys.append(browser.value(QStringLiteral("key")).toString() + u'=' +
                    browser.value(QStringLiteral("bundleId")).toString());
        EXPECT_TRUE(browser.value(QStringLiteral("installed")).isBool());
        EXPECT_FALSE(browser.value(QStringLiteral("enginePath")).toString().isEmpty());
    }
    // Only the first six have bundle identifiers of their own; the rest say Google Chrome's.
    EXPECT_EQ(keys.join(u' '), QStringLiteral("chrome=com.google.Chrome canary=com.google.Chrome.canary "
                                              "brave=com.brave.Browser edge=com.microsoft.edgemac "
                                              "opera=com.operasoftware.Opera chromium=org.chromium.Chromium "
                                              "vivaldi=com.google.Chrome helium=com.google.Chrome"));
    const QJsonObject vivaldi = browsers[6].toObject();
    EXPECT_EQ(vivaldi.value(QStringLiteral("enginePath")).toString(), QStringLiteral("/bin/sh"));
    EXPECT_TRUE(vivaldi.value(QStringLiteral("installed")).toBool());
    EXPECT_EQ(browsers[3].toObject().value(QStringLiteral("enginePath")).toString(),
              QStringLiteral("/opt/microsoft/msedge/msedge"));
}

TEST(Cli, RegistryNamesTheSupportFolder)
{
    const CliSandbox cli;
    const CliRun run = cli.sorvane({QStringLiteral("registry"), QStringLiteral("--json")});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const QJsonObject registry = QJsonDocument::fromJson(run.out).object();
    EXPECT_EQ(registry.value(QStringLiteral("supportFolder")).toString(),
              cli.test.home() + QStringLiteral("/.local/share/Sorvane"));
    EXPECT_EQ(registry.value(QStringLiteral("tracker")).toString(),
              cli.test.home() + QStringLiteral("/.local/share/Sorvane/tracker.plist"));
    EXPECT_EQ(registry.value(QStringLiteral("apps")).toArray().size(), 0);
}
