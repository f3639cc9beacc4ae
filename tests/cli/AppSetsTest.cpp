// Editing and app sets as a user runs them: `sorvane edit` changes an app and asks before it
// changes the engine; `sorvane export` then `sorvane import` on a fresh home recreates every app
// with the same definition; a hostile app-set file creates only its valid apps and runs nothing.

#include "CliSandbox.h"

#include "core/PropertyList.h"
#include "core/SNImage.h"
#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// What `sorvane info --json` says of an app, without what differs between two copies of it.
QJsonObject definition(const Home &home, const QString &bundle)
{
    QJsonObject info = json(home.sorvane({u"info"_s, bundle, u"--json"_s})).toObject();
    for (const char *key : {"appID", "path", "health", "uniqueID"})
        info.remove(QLatin1String(key));
    QJsonObject configuration = info.value(u"configuration"_s).toObject();
    configuration.remove(u"appIcon"_s);
    info.insert(u"configuration"_s, configuration);
    return info;
}

class AppHome : public Home
{
public:
    AppHome() { writeSettings(u"chromiumPath=" SORVANE_FAKE_ENGINE "\nbravePath=" SORVANE_FAKE_ENGINE "\n"_s); }
};

} // namespace

TEST(AppSets, EditExportAndImportOnAFreshHomeKeepEveryDefinition)
{
    AppHome first;
    const QString icon = first.test.root() + u"/icon.png"_s;
    QImage image(256, 256, QImage::Format_ARGB32);
    image.fill(Qt::blue);
    ASSERT_TRUE(image.save(icon));
    ASSERT_EQ(first.create(u"Mail"_s, {u"--routing"_s, u"--allow"_s, u"example.org"_s, u"--route"_s,
                                      u"docs.example.org=default"_s, u"--accent"_s, u"1E90FF"_s,
                                      u"--no-restore-session"_s}).exitCode, 0);
    ASSERT_EQ(first.sorvane({u"create"_s, u"--name"_s, u"Docs"_s, u"--tab"_s, u"https://docs.example.org/"_s,
                             u"--tab"_s, u"https://drive.example.org/"_s, u"--browser"_s, u"chromium"_s,
                             u"--into"_s, first.apps, u"--icon"_s, icon, u"--dark"_s}).exitCode, 0);

    // A rename and a new address rebuild the app (an edit that does not: tests/e2e/routing.test.js).
    CliRun run = first.sorvane({u"edit"_s, first.bundle(u"Mail"_s), u"--name"_s, u"Mail \"Work\""_s,
                                u"--url"_s, u"https://mail.example.org/work"_s, u"--json"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(json(run)[u"path"_s].toString(), first.bundle(u"Mail \"Work\""_s));
    EXPECT_TRUE(json(run)[u"rebuilt"_s].toBool());

    // Another engine is confirmed first: without a terminal or --yes nothing changes.
    const QStringList toBrave{u"edit"_s, first.bundle(u"Docs"_s), u"--browser"_s, u"brave"_s};
    run = first.sorvane(toBrave);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("so its tabs and data are saved first.")) << run.err.constData();
    EXPECT_EQ(definition(first, first.bundle(u"Docs"_s))[u"browserType"_s], u"chromium"_s);
    run = first.sorvane(toBrave + QStringList{u"--yes"_s, u"--json"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_TRUE(QFileInfo(first.bundle(u"Docs"_s) + u"/Contents/Profile.chromium.backup"_s).isDir())
        << run.out.constData() << QDir(first.bundle(u"Docs"_s) + u"/Contents"_s).entryList().join(u' ').toStdString();

    run = first.sorvane({u"export"_s, u"--all"_s, u"--output"_s, first.test.root() + u"/set"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const QString file = first.test.root() + u"/set.sorvane"_s;
    ASSERT_TRUE(QFileInfo(file).isFile());

    AppHome second;
    run = second.sorvane({u"import"_s, file, u"--into"_s, second.apps, u"--json"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(json(run)[u"created"_s].toArray().size(), 2);
    for (const QString &name : {u"Mail \"Work\""_s, u"Docs"_s})
        EXPECT_EQ(definition(second, second.bundle(name)), definition(first, first.bundle(name))) << qPrintable(name);
    const QVariantMap imported = PropertyList::readFile(file).toMap();
    for (const QVariant &entry : imported) {
        if (entry.toMap().value(u"appName"_s) == u"Docs"_s) {
            const QByteArray tiff = QByteArray::fromBase64(entry.toMap().value(u"appIcon"_s).toByteArray());
            EXPECT_EQ(SNImage::fromData(tiff).largestPixelSize(), QSize(128, 128));
        }
    }
    EXPECT_TRUE(QFileInfo(second.bundle(u"Docs"_s) + u"/Contents/Resources/icon.icns"_s).isFile());
}

TEST(AppSets, AHostileFileCreatesOnlyItsValidAppsAndRunsNothing)
{
    AppHome home;
    const QString marker = u"ran-by-import"_s; // what a name or tab that ran would leave behind
    const auto entry = [](const QString &name, const QVariant &url, QVariantMap more = {}) {
        more.insert(u"appName"_s, name);
        more.insert(u"appURL"_s, url);
        more.insert(u"browserType"_s, u"chromium"_s);
        return more;
    };
    QVariantMap set{
        {u"1"_s, entry(u"Plain"_s, u"https://plain.example.org/"_s)},
        {u"2"_s, entry(u"Rules As Text"_s, u"https://rules.example.org/"_s, {{u"routingRules"_s, u"*"_s}})},
        {u"3"_s, entry(u"$(touch %1)"_s.arg(marker), u"https://name.example.org/"_s)},
        {u"4"_s, entry(u"a/b"_s, u"https://slash.example.org/"_s)},
        {u"5"_s, entry(u"Switches"_s, u"https://x.example.org/"_s,
                       {{u"needTab"_s, true}, {u"tabList"_s, QStringList{u"--utility-cmd-prefix=touch %1"_s.arg(marker)}}})},
        {u"6"_s, entry(u"Script"_s, u"javascript:alert(1)"_s)},
        {u"7"_s, entry(u"Local"_s, u"file:///etc/passwd"_s)},
        {u"8"_s, entry(u"Huge Icon"_s, u"https://icon.example.org/"_s,
                       {{u"appIcon"_s, QString(8 * 1024 * 1024, u'A')}})},
        {u"9"_s, u"not an app"_s},
    };
    const QString file = home.test.root() + u"/hostile.sorvane"_s;
    ASSERT_TRUE(PropertyList::writeFile(file, set));
    const CliRun run = home.sorvane({u"import"_s, file, u"--into"_s, home.apps, u"--json"_s});
    EXPECT_EQ(run.exitCode, 1);
    QStringList made;
    for (const QJsonValue &app : json(run)[u"created"_s].toArray())
        made.append(QFileInfo(app.toObject().value(u"path"_s).toString()).fileName());
    made.sort();
    EXPECT_EQ(made, (QStringList{u"$(touch %1).app"_s.arg(marker), u"Plain.app"_s, u"Rules As Text.app"_s}));
    EXPECT_EQ(json(run)[u"refused"_s].toArray().size(), 6) << run.err.constData();
    for (const char *field : {"name:", "tabsList[0]", "appURL", "appIcon: larger than", "not an app configuration"})
        EXPECT_TRUE(run.err.contains(field)) << field << "\n" << run.err.constData();
    for (const QString &folder : {QDir::currentPath(), home.test.root(), home.apps, home.test.home()})
        EXPECT_FALSE(QFileInfo::exists(folder + u'/' + marker)) << qPrintable(folder);
    const QJsonObject rules = definition(home, home.bundle(u"Rules As Text"_s))[u"configuration"_s].toObject();
    EXPECT_EQ(rules[u"routingRules"_s].toArray().size(), 0);
    EXPECT_TRUE(definition(home, home.bundle(u"Plain"_s))[u"configuration"_s].toObject()[u"restoreSession"_s].toBool());

    // A file that is no app set at all: nothing is made, and the reason is said.
    const QByteArray laughs = R"(<?xml version="1.0"?><!DOCTYPE plist [<!ENTITY a "aaaaaaaaaa">
<!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;&a;&a;"><!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;&b;&b;">]>
<plist version="1.0"><dict><key>x</key><dict><key>appName</key><string>&c;</string></dict></dict></plist>)";
    writeFile(file, laughs);
    const CliRun refused = home.sorvane({u"import"_s, file, u"--into"_s, home.apps});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.err.contains(QByteArray("FILE: '" + file.toUtf8() + "' is not an app set"))) << refused.err.constData();
    writeFile(file, PropertyList::toXml(QVariantList{entry(u"In A List"_s, u"https://list.example.org/"_s)}));
    const CliRun array = home.sorvane({u"import"_s, file, u"--into"_s, home.apps});
    EXPECT_EQ(array.exitCode, 0);
    EXPECT_TRUE(array.err.contains("holds no apps")) << array.err.constData();
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"In A List"_s)));
}
