// `sorvane browsers` and `sorvane create` on engines whose settings point at stand-ins that answer
// `--version` like Google Chrome 137, Chrome 136 and Chromium.

#include "CliSandbox.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Settings that make the chrome, canary and chromium engines stand-ins answering `--version`, and
// point edge at nothing.
class Home : public CliSandbox
{
public:
    Home()
    {
        writeSettings(u"chromePath=%1\ncanaryPath=%2\nchromiumPath=%3\nedgePath=%4\n"_s.arg(
            engine(u"chrome"_s, u"Google Chrome 137.0.7151.55"_s),
            engine(u"canary"_s, u"Google Chrome 136.0.7103.113"_s),
            engine(u"chromium"_s, u"Chromium 156.0.8078.73 built on Debian"_s), test.root() + u"/no-edge"_s));
    }

    // The Canary stand-in now says it is `versionLine`, as after the browser updated itself.
    void updateCanary(const QString &versionLine) const { engine(u"canary"_s, versionLine); }

private:
    QString engine(const QString &name, const QString &versionLine) const
    {
        const QString path = test.root() + u"/engines/"_s + name;
        writeFile(path, u"#!/bin/sh\necho '%1'\n"_s.arg(versionLine).toUtf8(), QFile::ExeOwner);
        return path;
    }
};

} // namespace

TEST(LinkRouting, BrowsersReportsEachEnginesVersionAndVerdict)
{
    Home home;
    const CliRun run = home.sorvane({u"browsers"_s, u"--json"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    QJsonObject byKey;
    for (const QJsonValue &value : QJsonDocument::fromJson(run.out).array())
        byKey.insert(value[u"key"_s].toString(), value);

    struct Expected
    {
        const char *key;
        QJsonValue version;
        const char *linkRouting;
    };
    for (const Expected &expected : {Expected{"chrome", u"137.0.7151.55"_s, "yes (through the DevTools pipe)"},
                                     Expected{"canary", u"136.0.7103.113"_s, "yes"},
                                     Expected{"chromium", u"156.0.8078.73"_s, "yes"},
                                     Expected{"edge", QJsonValue::Null, "yes"}}) {
        const QJsonObject browser = byKey.value(QString::fromUtf8(expected.key)).toObject();
        EXPECT_EQ(browser.value(u"version"_s), expected.version) << expected.key;
        EXPECT_EQ(browser.value(u"linkRouting"_s).toString(), QString::fromUtf8(expected.linkRouting)) << expected.key;
        EXPECT_FALSE(browser.value(u"linkRoutingReason"_s).toString().isEmpty()) << expected.key;
    }
    EXPECT_TRUE(byKey.value(u"chrome"_s)[u"linkRoutingReason"_s].toString().contains(u"--load-extension"_s));

    const CliRun text = home.sorvane({u"browsers"_s});
    ASSERT_EQ(text.exitCode, 0);
    const QString chromeLine = QString::fromUtf8(text.out).split(u'\n').constFirst();
    EXPECT_TRUE(chromeLine.contains(u"137.0.7151.55"_s) && chromeLine.contains(u"links: yes (through the DevTools pipe)"_s))
        << qPrintable(chromeLine);
}

// Chrome 137 ignores --load-extension: the app's script starts it the pipe way instead, and only
// that engine's script changes.
TEST(LinkRouting, AppsOnChrome137GetTheCompanionThroughThePipe)
{
    Home home;
    const QString apps = home.test.root() + u"/Apps"_s;
    const QStringList create{u"create"_s, u"--name"_s, u"Mail"_s, u"--url"_s, u"https://mail.example.org/"_s,
                             u"--into"_s, apps, u"--json"_s};
    const CliRun routed = home.sorvane(create + QStringList{u"--browser"_s, u"chrome"_s, u"--route"_s,
                                                            u"news.example.org=default"_s});
    ASSERT_EQ(routed.exitCode, 0) << routed.err.constData();
    const QJsonObject result = QJsonDocument::fromJson(routed.out).object();
    EXPECT_EQ(result.value(u"linkRouting"_s).toString(), u"yes (through the DevTools pipe)"_s);
    EXPECT_FALSE(routed.err.contains("⚠️")) << routed.err.constData();
    const auto scriptOf = [](const CliRun &run) {
        return readAll(QJsonDocument::fromJson(run.out).object().value(u"path"_s).toString() + u"/Contents/Resources/script"_s);
    };
    const QByteArray pipeScript = scriptOf(routed);
    EXPECT_TRUE(pipeScript.contains("\"--remote-debugging-pipe\"") &&
                pipeScript.contains("\"--enable-unsafe-extension-debugging\"") &&
                pipeScript.contains("\"--disable-blink-features=AutomationControlled\"") &&
                !pipeScript.contains("--load-extension"))
        << pipeScript.constData();
    const CliRun onCanary = home.sorvane(create + QStringList{u"--browser"_s, u"canary"_s, u"--keep-both"_s,
                                                              u"--route"_s, u"news.example.org=default"_s});
    const QByteArray flagScript = scriptOf(onCanary);
    EXPECT_TRUE(flagScript.contains("--load-extension=") && !flagScript.contains("--remote-debugging-pipe"))
        << flagScript.constData();

    // Without the companion there is nothing to route: no verdict and no warning.
    const CliRun plain = home.sorvane(create + QStringList{u"--browser"_s, u"chrome"_s, u"--keep-both"_s});
    ASSERT_EQ(plain.exitCode, 0) << plain.err.constData();
    EXPECT_TRUE(QJsonDocument::fromJson(plain.out).object().value(u"linkRouting"_s).isNull());
    EXPECT_FALSE(plain.err.contains("⚠️")) << plain.err.constData();

    // A bulk run reports each app's verdict the same way.
    const QString list = home.test.root() + u"/apps.json"_s;
    writeFile(list, R"([{"appName": "Routed", "appURL": "https://a.example.org/",
                         "defaultDestination": {"type": "default"}},
                        {"appName": "Plain", "appURL": "https://b.example.org/"}])");
    const CliRun bulk = home.sorvane({u"bulk"_s, list, u"--browser"_s, u"chrome"_s, u"--into"_s, apps, u"--json"_s});
    ASSERT_EQ(bulk.exitCode, 0) << bulk.err.constData();
    const QJsonArray made = QJsonDocument::fromJson(bulk.out).array();
    ASSERT_EQ(made.size(), 2) << bulk.out.constData();
    EXPECT_EQ(made[0][u"linkRouting"_s].toString(), u"yes (through the DevTools pipe)"_s);
    EXPECT_TRUE(made[1][u"linkRouting"_s].isNull());
}

// An app made while its Chrome honoured --load-extension stops routing when Chrome passes 136:
// `sorvane info` says so, and `sorvane update` moves it to the pipe.
TEST(LinkRouting, InfoTellsAnAppLeftBehindByItsChromeAndUpdateMovesItToThePipe)
{
    Home home;
    const CliRun made = home.sorvane({u"create"_s, u"--name"_s, u"Mail"_s, u"--url"_s, u"https://mail.example.org/"_s,
                                      u"--into"_s, home.test.root() + u"/Apps"_s, u"--browser"_s, u"canary"_s,
                                      u"--route"_s, u"news.example.org=default"_s, u"--json"_s});
    ASSERT_EQ(made.exitCode, 0) << made.err.constData();
    const QString bundle = QJsonDocument::fromJson(made.out).object().value(u"path"_s).toString();
    const auto routing = [&] {
        const CliRun info = home.sorvane({u"info"_s, bundle, u"--json"_s});
        return QJsonDocument::fromJson(info.out).object().value(u"health"_s)[u"linkRouting"_s].toString();
    };
    EXPECT_EQ(routing(), u"yes"_s);

    home.updateCanary(u"Google Chrome 141.0.7390.54"_s);
    EXPECT_EQ(routing(), u"no"_s);
    EXPECT_TRUE(home.sorvane({u"info"_s, bundle}).out.contains("`sorvane update` starts it the pipe way"));

    const CliRun updated = home.sorvane({u"update"_s, bundle});
    ASSERT_EQ(updated.exitCode, 0) << updated.err.constData();
    EXPECT_EQ(routing(), u"yes (through the DevTools pipe)"_s);
}
