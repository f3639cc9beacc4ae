#include "CliSandbox.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

// Version and help print on standard output; bad usage exits with 2 and says why on standard error.
TEST(Cli, VersionHelpAndBadUsage)
{
    const CliSandbox cli;
    const CliRun version = cli.sorvane({QStringLiteral("--version")});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_EQ(version.out, QByteArray("sorvane " SORVANE_EXPECTED_VERSION "\n"));
    const struct { QStringList arguments; int exitCode; QByteArray printed; } rows[] = {
        {{QStringLiteral("--help")}, 0, "browsers"},
        {{QStringLiteral("browsers"), QStringLiteral("--help")}, 0, "--json"},
        {{}, 2, {}},
        {{QStringLiteral("frobnicate")}, 2, {}},
        {{QStringLiteral("browsers"), QStringLiteral("--bogus")}, 2, {}},
    };
    for (const auto &row : rows) {
        const CliRun run = cli.sorvane(row.arguments);
        EXPECT_EQ(run.exitCode, row.exitCode) << qPrintable(row.arguments.join(u' '));
        if (row.exitCode == 0) {
            EXPECT_TRUE(run.out.contains(row.printed)) << run.out.constData();
        } else {
            EXPECT_TRUE(run.out.isEmpty() && !run.err.isEmpty()) << qPrintable(row.arguments.join(u' '));
        }
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
