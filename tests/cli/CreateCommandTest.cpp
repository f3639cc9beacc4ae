// `sorvane create` and `sorvane bulk` as a user runs them: real bundles in a temporary home,
// read back with Python's plistlib and json, started through their launch program with the
// recording fake engine as the browser.

#include "CliSandbox.h"

#include "core/AppNameRule.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonValue jsonFromPython(const QString &path)
{
    const QString read = u"import json,sys; print(json.dumps(json.load(open(sys.argv[1], encoding='utf-8'))))"_s;
    const QByteArray json = runProgram(QStringLiteral(SORVANE_PYTHON3), {u"-c"_s, read, path}, environmentWith()).out;
    return QJsonDocument::fromJson("[" + json + "]").array().at(0);
}

QStringList entriesUnder(const QString &folder)
{
    QStringList entries;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        entries.append(it.next().mid(folder.size() + 1));
    return entries;
}

} // namespace

TEST(CreateCommand, WritesACompleteBundleThatReadsBackToTheDefinition)
{
    Home home;
    const CliRun run = home.create(u"Team \"Mail\" $x"_s,
                                {u"--icon"_s, QStringLiteral(SORVANE_EXAMPLES "/example-icon.png"), u"--routing"_s,
                                 u"--route"_s, u"news.example.org=default"_s, u"--allow"_s, u"*.example.org"_s,
                                 u"--default-destination"_s, u"in-app"_s, u"--accent"_s, u"#1e90ff"_s, u"--dark"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.constData();
    const QJsonObject result = QJsonDocument::fromJson(run.out).object();
    const QString bundle = home.bundle(u"Team \"Mail\" $x"_s);
    EXPECT_EQ(result.value(u"path"_s).toString(), bundle);
    EXPECT_EQ(result.value(u"uniqueID"_s).toString().size(), 32);

    const QStringList entries = entriesUnder(bundle);
    for (const char *expected :
         {"Contents/Info.plist", "Contents/MacOS/Team \"Mail\" $x", "Contents/MacOS/Team \"Mail\" $x Engine",
          "Contents/Resources/script", "Contents/Resources/icon.icns", "Contents/Resources/createEngine.sh",
          "Contents/Resources/SorvaneHelper.app/Contents/MacOS/SorvaneHelper", "Contents/Resources/data.json",
          "Contents/Resources/sorvanemessaginghost", "Contents/Resources/Sorvane_Extension/background.js",
          "Contents/Resources/Sorvane_Extension/nativeHost.js", "Contents/Resources/Sorvane_Extension/manifest.json",
          "Contents/Profile/First Run", "Contents/Profile/Local State", "Contents/Profile/Default/Preferences",
          "Contents/Profile/NativeMessagingHosts/com.ondrel.sorvane.helper.json", "Contents/Profile/Default/Extensions",
          "Contents/Profile/Default/IndexedDB", "Contents/Profile/Default/Local Storage"})
        EXPECT_TRUE(entries.contains(QString::fromUtf8(expected))) << expected;

    const QString appID = result.value(u"appID"_s).toString();
    const QJsonObject record = home.tracker().value(appID).toObject();
    EXPECT_EQ(record.value(u"appPath"_s).toString(), bundle);
    const QJsonObject config = QJsonDocument::fromJson(
        plistAsJsonFromPython(home.test.home() + u"/.local/share/Sorvane/"_s + appID + u".config"_s)).object();
    EXPECT_EQ(config.value(u"appName"_s).toString(), u"Team \"Mail\" $x"_s);
    EXPECT_EQ(config.value(u"browserType"_s).toString(), u"chromium"_s);
    EXPECT_EQ(config.value(u"accentColor"_s).toString(), u"#1e90ff"_s);
    EXPECT_TRUE(config.value(u"forceDarkMode"_s).toBool());
    const QJsonObject info = QJsonDocument::fromJson(plistAsJsonFromPython(bundle + u"/Contents/Info.plist"_s)).object();
    EXPECT_EQ(info.value(u"CFBundleExecutable"_s).toString(), u"Team \"Mail\" $x"_s);
    EXPECT_EQ(info.value(u"CFBundleShortVersionString"_s).toString(), QStringLiteral(SORVANE_EXPECTED_VERSION));
    EXPECT_EQ(info.value(u"CFBundleIdentifier"_s).toString(), u"com.Ondrel.SorvaneTeam_\"Mail\"_$x"_s);

    const QJsonObject data = jsonFromPython(bundle + u"/Contents/Resources/data.json"_s).toObject();
    EXPECT_EQ(data.value(u"rule_list"_s).toArray(), QJsonArray{u"news.example.org"_s});
    EXPECT_EQ(data.value(u"default_destination"_s).toObject().value(u"type"_s).toString(), u"in-app"_s);
    EXPECT_EQ(data.value(u"rules"_s).toArray().size(), 2);
    const QJsonObject manifest =
        jsonFromPython(bundle + u"/Contents/Profile/NativeMessagingHosts/com.ondrel.sorvane.helper.json"_s).toObject();
    EXPECT_EQ(manifest.value(u"path"_s).toString(), bundle + u"/Contents/Resources/sorvanemessaginghost"_s);
    const QJsonObject preferences = jsonFromPython(bundle + u"/Contents/Profile/Default/Preferences"_s).toObject();
    EXPECT_EQ(preferences.value(u"browser"_s)[u"theme"_s][u"user_color"_s].toInteger(), -14774017);
}

// An app of the same name: --keep-both numbers the new one, no flag changes nothing, --replace
// sends the old one to the Trash and drops its registry record.
TEST(CreateCommand, ExistingAppIsKeptOrReplacedButNeverOverwritten)
{
    Home home;
    ASSERT_EQ(home.create(u"Mail"_s).exitCode, 0);
    const QString oldID = home.tracker().keys().constFirst();
    QFile marker(home.bundle(u"Mail"_s) + u"/Contents/Resources/user-file"_s);
    writeFile(marker.fileName(), "mine");

    // Without a terminal the question is shown with the options that answer it.
    CliRun run = home.create(u"Mail"_s);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("An App with this name already exists. Do you want to replace it?"));
    EXPECT_TRUE(run.err.contains("run again with --replace or --keep-both")) << run.err.constData();
    EXPECT_TRUE(marker.exists());
    EXPECT_EQ(home.tracker().keys(), QStringList{oldID});

    run = home.create(u"Mail"_s, {u"--keep-both"_s});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_EQ(QJsonDocument::fromJson(run.out).object().value(u"path"_s).toString(), home.bundle(u"Mail 1"_s));
    EXPECT_TRUE(marker.exists());

    run = home.create(u"Mail"_s, {u"--replace"_s});
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_FALSE(marker.exists());
    const QString trash = home.test.home() + u"/.local/share/Trash"_s;
    EXPECT_TRUE(QFile::exists(trash + u"/files/Mail.app/Contents/Resources/user-file"_s));
    EXPECT_TRUE(QFile::exists(trash + u"/info/Mail.app.trashinfo"_s));
    const QStringList ids = home.tracker().keys();
    EXPECT_FALSE(ids.contains(oldID));
    EXPECT_EQ(ids.size(), 2); // "Mail 1" and the new "Mail"
}

// Every refused definition names what is wrong on its first line and writes nothing (usage errors:
// tests/cli/CliTest.cpp).
TEST(CreateCommand, BadDefinitionFailsWithTheFieldAndWritesNothing)
{
    struct Case
    {
        QString name;
        QStringList options;
        QByteArray field;
    };
    const QList<Case> cases{
        {u"a/b"_s, {}, "name:"},
        {u".."_s, {}, "name:"},
        {QString(249, u'n'), {}, "name: too long"},
        {u"Mail"_s, {u"--default-destination"_s, u"elsewhere"_s}, "default-destination:"},
        {u"Mail"_s, {u"--route"_s, u"x.org=browser:"_s}, "route:"},
        {u"Mail"_s, {u"--route"_s, u"x.org=app:"_s}, "route:"},
        {u"Mail"_s, {u"--route"_s, u"x.org=app:../../etc"_s}, "route:"},
        {u"Mail"_s, {u"--allow"_s, u"a b"_s}, "allow:"},
        {u"Mail"_s, {u"--allow"_s, u"http://x/y"_s}, "allow:"},
        {u"Mail"_s, {u"--allow"_s, u"example.com:99999"_s}, "allow:"},
        {u"Mail"_s, {u"--icon"_s, u"/nonexistent/icon\x1b[2J.png"_s}, "icon:"},
        {u"Mail"_s, {u"--accent"_s, u"#FFF"_s}, "accent:"},
        {u"Mail"_s, {u"--profile"_s, u"Missing"_s}, "profile:"},
        // Which values are switches: tests/core/EngineSwitchesTest.cpp.
        {u"Mail"_s, {u"--engine-switch"_s, u"--ok"_s, u"--engine-switch=--x;touch pwned"_s}, "engine-switch: '--x;touch pwned' is not one engine switch"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.field.constData());
        Home home;
        const CliRun run = home.create(c.name, c.options);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.startsWith(QByteArray(QByteArray("sorvane create: ") + c.field))) << run.err.constData();
        EXPECT_FALSE(run.err.contains('\x1b'));
        EXPECT_FALSE(QFile::exists(home.apps));
        EXPECT_FALSE(QFile::exists(home.test.home() + u"/.local/share/Sorvane/tracker.plist"_s));
    }
    // Start addresses and tabs are web addresses with a host, whichever option gives them.
    for (const QStringList &address : {QStringList{u"--url"_s, u"javascript://host/%0aalert(1)"_s},
                                       QStringList{u"--url"_s, u"file://localhost/etc/passwd"_s},
                                       QStringList{u"--tab"_s, u"https://ok.example/"_s, u"--tab"_s, u"*"_s},
                                       QStringList{u"--tab"_s, u"--renderer-cmd-prefix=/tmp/evil.sh"_s}}) {
        Home home;
        const CliRun run = home.sorvane(QStringList{u"create"_s, u"--name"_s, u"Mail"_s, u"--browser"_s,
                                                    u"chromium"_s, u"--into"_s, home.apps} + address);
        EXPECT_EQ(run.exitCode, 1) << qPrintable(address.join(u' '));
        EXPECT_TRUE(run.err.startsWith("sorvane create: url:") || run.err.startsWith("sorvane create: tab:"))
            << run.err.constData();
        EXPECT_FALSE(QFile::exists(home.apps));
    }
}

// A name is as long as the bytes it takes in a file name, whatever its characters' widths. At the
// limit, create and edit take it, and the app can be replaced twice: its old bundles go to the
// Trash, whose records carry the name too. One byte more is refused by create, bulk and edit,
// saying the limit, and nothing is written.
TEST(CreateCommand, NameLengthIsCountedInBytesUpToTheLimit)
{
    const int limit = AppNameRule::maximumBytes();
    for (const QString &unit : {u"n"_s, u"\u00e9"_s, u"\u20ac"_s, u"\U0001F600"_s}) {
        QString name;
        while (name.toUtf8().size() + unit.toUtf8().size() <= limit)
            name += unit;
        name += QString(limit - name.toUtf8().size(), u'a');
        const QString over = name + u'a';
        SCOPED_TRACE(unit.toStdString());
        ASSERT_EQ(name.toUtf8().size(), limit);

        Home home;
        for (const QStringList &more : {QStringList{}, {u"--replace"_s}, {u"--replace"_s}}) {
            const CliRun run = home.create(name, more);
            ASSERT_EQ(run.exitCode, 0) << run.err.constData();
        }
        EXPECT_TRUE(QFileInfo(home.bundle(name) + u"/Contents/MacOS/"_s + name + u" Engine"_s).isSymLink());
        EXPECT_EQ(QDir(home.test.home() + u"/.local/share/Trash/info"_s).entryList(QDir::Files).size(), 2);

        const QByteArray tooLong = QByteArray("too long (") + QByteArray::number(limit + 1) +
                                   " bytes; an app's name can have at most " + QByteArray::number(limit) + " bytes)";
        const QByteArray nameTooLong = "name: " + tooLong;
        const QByteArray appNameTooLong = "appName: " + tooLong;
        const CliRun created = home.create(over);
        EXPECT_EQ(created.exitCode, 1);
        EXPECT_TRUE(created.err.startsWith(QByteArray("sorvane create: " + nameTooLong))) << created.err.constData();

        const QString list = home.test.root() + u"/list.json"_s;
        writeFile(list, QJsonDocument(QJsonArray{QJsonObject{{u"appName"_s, over}, {u"appURL"_s, u"https://a.example/"_s}}})
                            .toJson());
        const CliRun bulk = home.sorvane({u"bulk"_s, list, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps});
        EXPECT_EQ(bulk.exitCode, 1);
        EXPECT_TRUE(bulk.err.contains(appNameTooLong)) << bulk.err.constData();

        const CliRun renamed = home.sorvane({u"edit"_s, home.bundle(name), u"--name"_s, over});
        EXPECT_EQ(renamed.exitCode, 1);
        EXPECT_TRUE(renamed.err.contains(nameTooLong)) << renamed.err.constData();
        EXPECT_EQ(QDir(home.apps).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                  QStringList{name + u".app"_s});

        const CliRun back = home.sorvane({u"edit"_s, home.bundle(name), u"--name"_s, u"Short"_s});
        ASSERT_EQ(back.exitCode, 0) << back.err.constData();
        const CliRun again = home.sorvane({u"edit"_s, home.bundle(u"Short"_s), u"--name"_s, name});
        EXPECT_EQ(again.exitCode, 0) << again.err.constData();
        EXPECT_TRUE(QFileInfo(home.bundle(name) + u"/Contents/MacOS/"_s + name + u" Engine"_s).exists());
    }
}

// The example file plus one bad entry: the bad one fails alone with its error, the twenty others
// become apps on their own addresses.
TEST(BulkCommand, MakesEveryGoodEntryOfTheExampleFile)
{
    Home home;
    QJsonArray entries = QJsonDocument::fromJson(readAll(QStringLiteral(SORVANE_EXAMPLES "/apps.json"))).array();
    ASSERT_FALSE(entries.isEmpty());
    entries.insert(3, QJsonObject{{u"appName"_s, u"Broken"_s}, {u"appURL"_s, u"https://b.example.org/"_s},
                                  {u"tabbedApp"_s, u"yes"_s}});
    const QString file = home.test.root() + u"/apps.json"_s;
    writeFile(file, QJsonDocument(entries).toJson());
    QFile::copy(QStringLiteral(SORVANE_EXAMPLES "/example-icon.png"), home.test.root() + u"/example-icon.png"_s);

    const CliRun run = home.sorvane({u"bulk"_s, file, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps, u"--json"_s});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.err.contains("entry 4 ('Broken'): tabbedApp")) << run.err.constData();
    const QJsonArray made = QJsonDocument::fromJson(run.out).array();
    ASSERT_EQ(made.size(), 20) << run.err.constData();

    // Each is registered with its own address (starting an app: tests/launcher/WholeStartTest.cpp).
    QHash<QString, QString> addresses;
    for (const QJsonValue &entry : entries)
        addresses.insert(entry[u"appName"_s].toString(), entry[u"appURL"_s].toString());
    const QJsonArray listed = QJsonDocument::fromJson(home.sorvane({u"list"_s, u"--json"_s}).out).array();
    EXPECT_EQ(listed.size(), 20);
    for (const QJsonValue &app : listed)
        EXPECT_EQ(app[u"urls"_s][0].toString(), addresses.value(app[u"name"_s].toString())) << qPrintable(app[u"name"_s].toString());
}

// Many creations at once: every one gets its bundle and its record, numbered names never clash,
// and a creation killed at any moment leaves either nothing or a whole app at its name.
TEST(CreateCommand, ParallelAndKilledCreationsKeepTheRegistryAndTheNames)
{
    Home home;
    const auto start = [&](const QStringList &arguments) {
        auto *process = new QProcess;
        process->setProcessEnvironment(home.environment);
        process->start(QStringLiteral(SORVANE_CLI), arguments);
        return process;
    };
    const auto createArguments = [&](const QString &name, const QStringList &more) {
        return QStringList{u"create"_s, u"--name"_s, name, u"--url"_s, u"https://mail.example.org/"_s,
                           u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps, u"--quiet"_s} + more;
    };
    constexpr int Names = 50, KeepBoth = 20, Kills = 30;
    QList<QProcess *> runs;
    for (int i = 0; i < Names; ++i)
        runs.append(start(createArguments(u"App %1"_s.arg(i), {})));
    for (int i = 0; i < KeepBoth; ++i)
        runs.append(start(createArguments(u"Mail"_s, {u"--keep-both"_s})));
    for (QProcess *run : runs) {
        EXPECT_TRUE(run->waitForFinished(120000));
        EXPECT_EQ(run->exitCode(), 0) << run->readAllStandardError().constData();
        delete run;
    }
    QStringList bundles = QDir(home.apps).entryList({u"*.app"_s}, QDir::Dirs);
    EXPECT_EQ(bundles.size(), Names + KeepBoth);
    QStringList recorded;
    for (const QJsonValue &record : home.tracker())
        recorded.append(QFileInfo(record[u"appPath"_s].toString()).fileName());
    recorded.sort();
    bundles.sort();
    EXPECT_EQ(recorded, bundles);

    // Killed at random moments: the name is either free or holds a whole app.
    QRandomGenerator random(7);
    for (int i = 0; i < Kills; ++i) {
        std::unique_ptr<QProcess> run(start(createArguments(u"Killed"_s, {u"--replace"_s})));
        QThread::msleep(random.bounded(5, 120));
        run->kill();
        run->waitForFinished();
        const QString bundle = home.bundle(u"Killed"_s);
        if (QFileInfo::exists(bundle)) {
            for (const char *part : {"/Contents/Info.plist", "/Contents/Resources/script", "/Contents/MacOS/Killed",
                                     "/Contents/Resources/data.json"})
                EXPECT_TRUE(QFileInfo::exists(bundle + QLatin1String(part))) << part;
        }
    }
    const CliRun again = home.create(u"Killed"_s, {u"--replace"_s});
    EXPECT_EQ(again.exitCode, 0) << again.err.constData();
    EXPECT_EQ(QDir(home.apps).entryList({u".sorvane-*"_s}, QDir::Dirs | QDir::Hidden), QStringList());
}

// An unreadable registry is reported, kept aside before the next change, and never emptied
// silently; a registry that is a folder stops creation.
TEST(CreateCommand, UnreadableRegistryIsKeptAndReported)
{
    Home home;
    const QString support = home.test.home() + u"/.local/share/Sorvane"_s;
    QDir().mkpath(support);
    writeFile(support + u"/tracker.plist"_s, "<plist><dict><key>X</key>");
    const CliRun registry = home.sorvane({u"registry"_s});
    EXPECT_EQ(registry.exitCode, 1);
    EXPECT_TRUE(registry.err.contains("unreadable")) << registry.err.constData();

    EXPECT_EQ(home.create(u"Mail"_s).exitCode, 0);
    const QStringList kept = QDir(support).entryList({u"tracker.plist.corrupt-*"_s});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(readAll(support + u'/' + kept.first()), "<plist><dict><key>X</key>");
    EXPECT_EQ(home.tracker().size(), 1);

    QFile::remove(support + u"/tracker.plist"_s);
    QDir().mkpath(support + u"/tracker.plist"_s);
    const CliRun blocked = home.create(u"Post"_s);
    EXPECT_EQ(blocked.exitCode, 1);
    EXPECT_TRUE(blocked.err.contains("not a file")) << blocked.err.constData();
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Post"_s)));
}
