// The engine against the fake browsers of tests/fixtures/browsers: createEngine.sh in both of its
// branches (the macOS one with a python-backed plutil), and the in-process route.

#include "core/BrowserCatalogue.h"
#include "core/PropertyList.h"
#include "core/UserDefaults.h"
#include "generation/EngineBuilder.h"
#include "generation/SNPlistHelper.h"
#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringConverter>
#include <QThread>

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const char fakePlutil[] = R"PY(
import plistlib, sys
a = sys.argv[1:]
if a[0] == "-lint":
    for name in a[2:]:
        plistlib.load(open(name, "rb"))
elif a[0] == "-convert" and a[2] == "-o":
    value = plistlib.load(open(a[4], "rb"))
    form = plistlib.FMT_XML if a[1] == "xml1" else plistlib.FMT_BINARY
    open(a[3], "wb").write(plistlib.dumps(value, fmt=form, sort_keys=False))
else:
    sys.exit("plutil: unsupported: " + " ".join(a))
)PY";

// A fake browser update, as updaters do it: a new framework version folder beside the old one;
// with "yes", a new executable that uses it replaces the old (by rename) and the old version goes.
const char updateScript[] = R"SH(
set -e
exe=$1 new=$2
old=$(sed -n 's|.*/Versions/\([^/]*\)/.*|\1|p' "$exe")
dir=$(dirname "$(find "${exe%/MacOS/*}" -path "*/Versions/$old" -type d)")
cp -a "$dir/$old" "$dir/$new"
find "$dir/$new" -type f -name '*Framework' -exec sed -i "s/$old/$new/" {} +
[ "$3" = yes ] || exit 0
sed "s/$old/$new/" "$exe" > "$exe.new" && chmod 755 "$exe.new" && mv "$exe.new" "$exe"
rm -rf "${dir:?}/$old" && if [ -L "$dir/Current" ]; then ln -sfn "$new" "$dir/Current"; fi
)SH";

// `command` run in `folder`, with `platform` as the engine script's platform and `tools` first on PATH.
Outcome exec(const QStringList &command, const QString &folder = {}, const QString &platform = {},
             const QString &tools = {})
{
    QProcessEnvironment environment = environmentWith(tools);
    if (!platform.isEmpty())
        environment.insert(u"SORVANE_ENGINE_PLATFORM"_s, platform);
    return runProgram(command.first(), command.mid(1), environment, folder);
}

const QFile::Permissions executable = QFile::ExeOwner;

// What a program prints for "--probe"; an engine must print what its browser prints.
QByteArray probe(const QString &program)
{
    const Outcome run = exec({program, u"--probe"_s});
    return run.exitCode == 0 ? run.out : "failed: " + run.err;
}

QJsonObject plistJson(const QString &path)
{
    return QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
}

// "<byte-order mark in hex>|<text>", the text decoded by that mark.
QString readStrings(const QString &path)
{
    const QByteArray data = readAll(path);
    const bool little = data.startsWith("\xff\xfe"), big = data.startsWith("\xfe\xff");
    const auto encoding = little ? QStringConverter::Utf16LE
                          : big  ? QStringConverter::Utf16BE
                                 : QStringConverter::Utf8;
    return QString::fromLatin1(data.left(little || big ? 2 : 0).toHex()) + u'|' +
           QString(QStringDecoder(encoding).decode(data.mid(little || big ? 2 : 0)));
}
// Every entry under a folder with its inode, modification time, size and link target.
QStringList listing(const QString &folder)
{
    QStringList lines =
        QString::fromUtf8(
            exec({u"find"_s, folder, u"-mindepth"_s, u"1"_s, u"-printf"_s, u"%p %i %T@ %s %l\n"_s}).out)
            .split(u'\n');
    lines.sort();
    return lines;
}

QString quoted(QString value)
{
    return value.replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s);
}

// A generated app beside a copy of a fake browser, in a folder whose path needs quoting.
struct App
{
    App(const QString &typeKey, const QString &appName)
        : browser(BrowserCatalogue::byTypeKey(typeKey)), name(appName),
          root(test.root() + u"/work $HOME 'q' \"d\""_s), tools(root + u"/bin"_s),
          bundle(copyBrowser(browser)), contents(u"%1/Applications/%2.app/Contents"_s.arg(root, name)),
          resources(contents + u"/Resources"_s), engine(u"%1/MacOS/%2 Engine"_s.arg(contents, name))
    {
        writeFile(tools + u"/plutil"_s, "#!" SORVANE_PYTHON3 "\n" + QByteArray(fakePlutil), executable);
        QDir().mkpath(resources);
        EXPECT_TRUE(PropertyList::writeFile(
            contents + u"/Info.plist"_s,
            SNPlistHelper::infoDictionary(name, false, false, u"1.2.3"_s, u"com.ondrel.sorvane"_s)));
        QFile::copy(u"" SORVANE_ENGINE_SCRIPT ""_s, resources + u"/createEngine.sh"_s);
    }

    QString copyBrowser(const BrowserInfo &row) const
    {
        const QString copy = u"%1/Browsers/%2.app"_s.arg(root, row.browserName);
        copyTree(fixturePath(u"browsers/"_s + row.browserName + u".app"_s), copy);
        return copy;
    }
    QString browserExecutable() const { return u"%1/Contents/MacOS/%2"_s.arg(bundle, browser.browserName); }
    Outcome script(const QString &platform = u"mac"_s, const QString &location = {},
                   const QString &shell = u"/bin/sh"_s) const
    {
        QStringList command{shell, u"./createEngine.sh"_s, name, resources};
        command << (location.isEmpty() ? bundle : location) << browser.browserName << browser.browserShortName
                << browser.frameworkFolder;
        if (shell.endsWith("bash"_L1))
            command.insert(1, u"--posix"_s); // how macOS runs /bin/sh
        return exec(command, resources, platform, tools);
    }

    TestContext test;
    const BrowserInfo &browser;
    QString name, root, tools, bundle, contents, resources, engine;
};

struct Family
{
    const char *typeKey;
    const char *appName;
    const char *executableLink; // the in-process route's link name
};

void PrintTo(const Family &family, std::ostream *out)
{
    *out << family.typeKey;
}

using EngineFamily = testing::TestWithParam<Family>;

} // namespace

TEST_P(EngineFamily, ScriptClonesTheBrowserStaysPutAndFollowsItsUpdates)
{
    App app(QLatin1String(GetParam().typeKey), QString::fromUtf8(GetParam().appName));
    const QString shell = app.browser.number % 2 ? u"/bin/bash"_s : u"/bin/sh"_s;
    const Outcome first = app.script(u"mac"_s, {}, shell);
    ASSERT_EQ(first.exitCode, 0) << first.err.constData();
    EXPECT_TRUE(first.err.isEmpty()) << first.err.constData();

    // A copy that reaches the browser's framework through the links beside it.
    EXPECT_FALSE(QFileInfo(app.engine).isSymLink());
    EXPECT_EQ(readAll(app.engine), readAll(app.browserExecutable()));
    EXPECT_EQ(probe(app.engine), probe(app.browserExecutable()));
    EXPECT_FALSE(QFileInfo::exists(app.resources + u"/pwned"_s));

    // Sorvane's keys stay; the browser adds what the app lacks, renamed, but none of its updater,
    // link, document, type or icon keys.
    QJsonObject expected = QJsonObject::fromVariantMap(
        SNPlistHelper::infoDictionary(app.name, false, false, u"1.2.3"_s, u"com.ondrel.sorvane"_s));
    expected.insert(u"CFBundleDevelopmentRegion"_s, u"en"_s);
    expected.insert(u"CrProductDirName"_s, app.name);
    expected.insert(u"LSHasLocalizedDisplayName"_s, true);
    expected.insert(u"NSCameraUseContinuityCameraDeviceType"_s, true);
    expected.insert(u"NSWebBrowserPublicKeyCredentialUsageDescription"_s,
                    QString(app.name + u" uses passkeys."_s));
    EXPECT_EQ(plistJson(app.contents + u"/Info.plist"_s), expected);

    const QString names = u"CFBundleDisplayName = \"%1\";\nCFBundleName = \"%1\";\n"_s.arg(quoted(app.name));
    const QString texts[] = {
        u"/* Localized versions of Info.plist keys */\n\n"_s + names +
            u"NSCameraUsageDescription = \"Once %1 has access, websites will be able to ask you for "
            u"access.\";\n"
            u"NSHumanReadableCopyright = \"Copyright 2024 The Authors. All rights reserved.\";\n"_s.arg(
                quoted(app.name)),
        names +
            u"NSCameraUsageDescription = \"Sobald %1 Zugriff hat, können Websites um Zugriff bitten.\";\n"_s
                .arg(quoted(app.name))};
    for (const QString &language : {u"en"_s, u"de"_s}) {
        const QString relative = u"/%1.lproj/InfoPlist.strings"_s.arg(language);
        const QString original = readStrings(app.bundle + u"/Contents/Resources"_s + relative);
        EXPECT_EQ(readStrings(app.resources + relative),
                  original.section(u'|', 0, 0) + u'|' + texts[language == "de"_L1]);
    }

    const QStringList built = listing(app.contents);
    const Outcome second = app.script(u"mac"_s, {}, shell);
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_TRUE(second.out.isEmpty()) << second.out.constData();
    EXPECT_EQ(listing(app.contents), built);

    const QByteArray before = probe(app.engine);
    const QString browser = app.browserExecutable();

    // A new framework version arrives: the script notices, the old executable still runs.
    const auto update = [&](const char *version, const char *replace) {
        return exec({u"/bin/sh"_s, u"-c"_s, QString::fromUtf8(updateScript), u"update"_s, browser,
                     QLatin1String(version), QLatin1String(replace)})
                   .exitCode == 0;
    };
    ASSERT_TRUE(update("999.0.0.1", "no"));
    Outcome run = app.script();
    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    EXPECT_FALSE(run.out.isEmpty());
    EXPECT_EQ(probe(app.engine), before);

    // Then the executable moves to it and the old version is removed: the engine must follow.
    ASSERT_TRUE(update("1000.0.0.2", "yes"));
    EXPECT_TRUE(probe(app.engine).startsWith("failed")) << "the fake update left the old version in place";
    EXPECT_EQ(app.script().exitCode, 0);
    EXPECT_TRUE(probe(app.engine).contains("1000.0.0.2: --probe"));
    EXPECT_EQ(probe(app.engine), probe(browser));
}

TEST_P(EngineFamily, InProcessRouteBuildsTheInnerEngineBundle)
{
    App app(QLatin1String(GetParam().typeKey), u"Team \"Chat\""_s);
    AppDefinition definition;
    EngineBuilder manager(app.test.context(), definition, app.resources);
    definition.appName = app.name;
    definition.applicationType = app.browser.number;
    // The generator's own lookup: Chromium goes through Google Chrome's setting and bundle.
    const BrowserInfo &engineBrowser =
        BrowserCatalogue::byNumber(app.browser.number == BrowserCatalogue::Chromium ? 0 : app.browser.number);
    const QString from =
        (&engineBrowser == &app.browser ? app.bundle : app.copyBrowser(engineBrowser)) + u"/Contents/"_s;
    app.test.context().defaults().setValue(engineBrowser.settingsKey,
                                           QString(from + u"MacOS/"_s + engineBrowser.browserName));
    const QString to = u"%1/%2.app/Contents/"_s.arg(app.resources, app.browser.browserName);
    ASSERT_EQ(manager.createInternalApplication(), std::nullopt);

    EXPECT_TRUE(QFileInfo(to + u"Resources/en.lproj/InfoPlist.strings"_s).isFile());
    const QString link = u"MacOS/"_s + QString::fromUtf8(GetParam().executableLink);
    for (const QString &entry : {u"Versions"_s, u"PkgInfo"_s, u"Helpers"_s, u"_CodeSignature"_s, link}) {
        EXPECT_TRUE(QFileInfo(to + entry).isSymLink()) << qPrintable(entry);
        EXPECT_EQ(QFileInfo(to + entry).symLinkTarget(), from + entry);
    }

    // Without an icon the browser's icon keys stay; the updater and link keys go either way.
    QJsonObject expected = plistJson(from + u"Info.plist"_s);
    for (const char *key :
         {"CFBundleURLTypes", "NSUserActivityTypes", "CFBundleDocumentTypes", "DTSDKBuild", "DTSDKName",
          "DTXcode", "DTXcodeBuild", "KSChannelID-full", "KSProductID", "KSUpdateURL", "KSVersion"})
        expected.remove(QLatin1String(key));
    EXPECT_EQ(plistJson(to + u"Info.plist"_s), expected);
    EXPECT_TRUE(expected.contains(u"CFBundleIconName"_s));
}

INSTANTIATE_TEST_SUITE_P(Browsers, EngineFamily,
                         testing::Values(Family{"chrome", "Mail", "Google Chrome"},
                                         Family{"canary", "My App", "Google Chrome Canary"},
                                         Family{"brave", "Say \"Hi\" $HOME", "Brave Browser"},
                                         Family{"edge", "Back\\slash & <Co>", "Microsoft Edge"},
                                         Family{"opera", "Ünïcödé Tëst", "Opera"},
                                         Family{"chromium", "It's `id` $(touch pwned)", "Google Chrome"},
                                         Family{"vivaldi", "100% 'quoted'", "Vivaldi"},
                                         Family{"helium", "a*b?[c] \\c", "Helium"}),
                         [](const testing::TestParamInfo<Family> &param) {
                             return std::string(param.param.typeKey);
                         });

TEST(EngineScript, FailsWithAMessageWhenTheBrowserIsMissing)
{
    for (const auto &[removed, message] :
         {std::pair{"/Contents/Frameworks", "no browser framework"},
          std::pair{"/Contents/MacOS/Google Chrome", "no browser executable"},
          std::pair{"", "no browser at"}}) {
        App app(u"chrome"_s, u"Mail"_s);
        const QString path = app.bundle + QLatin1String(removed);
        ASSERT_TRUE(QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path));
        const Outcome run = app.script();
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.startsWith(QByteArray(QByteArray("createEngine.sh: ") + message)))
            << run.err.constData();
        EXPECT_FALSE(QFileInfo::exists(app.engine) || QFileInfo::exists(app.resources + u"/engine.stamp"_s));
    }
}

TEST(EngineScript, OnLinuxLinksTheEngineExecutableAndNothingElse)
{
    App app(u"chromium"_s, u"It's \"$HOME\" `id`"_s);
    const QString first = app.root + u"/opt/chromium $x/chromium"_s;
    writeFile(first, "#!/bin/sh\necho \"first $*\"\n", executable);
    const auto outsideMacOS = [](QStringList lines) {
        lines.removeIf([](const QString &line) { return line.contains(u"/Contents/MacOS"_s); });
        return lines;
    };
    const QStringList before = outsideMacOS(listing(app.contents));

    ASSERT_EQ(app.script(u"linux"_s, first).exitCode, 0);
    EXPECT_EQ(QFileInfo(app.engine).symLinkTarget(), first);
    EXPECT_EQ(probe(app.engine), "first --probe\n");
    const QStringList after = listing(app.contents);
    EXPECT_EQ(after.filter(u"/Contents/MacOS/"_s).size(), 1);
    EXPECT_EQ(outsideMacOS(after), before);

    EXPECT_EQ(app.script(u"linux"_s, first).exitCode, 0);
    EXPECT_EQ(listing(app.contents), after);
    QFile::remove(first);
    const Outcome missing = app.script(u"linux"_s, first);
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.err, QByteArray("createEngine.sh: no engine executable at " + first.toUtf8() + '\n'));
}

// A Flatpak cannot be linked to: the engine becomes a program that keeps the app's name, runs
// `flatpak run` with the app's folders shared and its relative switches made absolute, is
// rewritten only when what it starts changes, and turns back into a link for a plain binary.
TEST(EngineScript, OnLinuxAFlatpakEngineRunsFlatpakWithTheAppsFolders)
{
    for (const QString &shell : {u"/bin/sh"_s, u"/bin/bash"_s}) {
        SCOPED_TRACE(shell.toStdString());
        App app(u"brave"_s, u"It's \"$HOME\" `id`"_s);
        const QString exported = app.root + u"/h'o/.local/share/flatpak/exports/bin/com.brave.Browser"_s;
        writeFile(exported, "#!/bin/sh\nexit 3\n", executable);
        // The tools folder's `flatpak` prints who started it, then its arguments, one a line.
        writeFile(app.tools + u"/flatpak"_s,
                  "#!/bin/sh\ntr '\\0' '\\n' </proc/$PPID/cmdline | head -n 1\nprintf '%s\\n' \"$@\"\n", executable);

        ASSERT_EQ(app.script(u"linux"_s, exported, shell).exitCode, 0);
        const QFileInfo engine(app.engine);
        ASSERT_TRUE(engine.isFile() && !engine.isSymLink() && engine.isExecutable());
        const QString contents = QFileInfo(app.contents).canonicalFilePath();
        const Outcome run = exec({app.engine, u"--user-data-dir=./../Profile"_s,
                                  u"--load-extension=./../Resources/Sorvane_Extension"_s, u"--app=https://x.test/"_s},
                                 app.resources, {}, app.tools);
        EXPECT_EQ(run.exitCode, 0) << run.err.constData();
        EXPECT_EQ(QString::fromUtf8(run.out).split(u'\n', Qt::SkipEmptyParts),
                  (QStringList{app.engine, u"run"_s, u"--user"_s, u"--filesystem="_s + contents + u"/Profile"_s,
                               u"--filesystem="_s + contents + u"/Resources:ro"_s, u"com.brave.Browser"_s,
                               u"--user-data-dir="_s + contents + u"/Profile"_s,
                               u"--load-extension="_s + contents + u"/Resources/Sorvane_Extension"_s,
                               u"--app=https://x.test/"_s}));

        // Built already: nothing is written.
        const Outcome again = app.script(u"linux"_s, exported, shell);
        EXPECT_EQ(again.exitCode, 0);
        EXPECT_TRUE(again.out.isEmpty()) << again.out.constData();
        EXPECT_EQ(QFileInfo(app.engine).lastModified(), engine.lastModified());

        const QString plain = app.root + u"/opt/brave/brave"_s;
        writeFile(plain, "#!/bin/sh\necho \"plain $*\"\n", executable);
        ASSERT_EQ(app.script(u"linux"_s, plain, shell).exitCode, 0);
        EXPECT_EQ(QFileInfo(app.engine).symLinkTarget(), plain);
        EXPECT_EQ(probe(app.engine), "plain --probe\n");
        ASSERT_EQ(app.script(u"linux"_s, exported, shell).exitCode, 0);
        EXPECT_FALSE(QFileInfo(app.engine).isSymLink());
    }

    // Ending the engine ends the browser it started.
    {
        App app(u"brave"_s, u"Mail"_s);
        const QString exported = app.root + u"/var/lib/flatpak/exports/bin/com.brave.Browser"_s;
        writeFile(exported, "#!/bin/sh\nexit 3\n", executable);
        const QString marks = app.root + u"/browser"_s;
        writeFile(app.tools + u"/flatpak"_s,
                  "#!/bin/bash\ntrap 'echo ended >\"$BROWSER_MARKS.end\"; exit 0' TERM\ntouch \"$BROWSER_MARKS.up\"\n"
                  "while :; do sleep 0.05; done\n",
                  executable);
        ASSERT_EQ(app.script(u"linux"_s, exported).exitCode, 0);
        QProcess engine;
        QProcessEnvironment environment = environmentWith(app.tools);
        environment.insert(u"BROWSER_MARKS"_s, marks);
        engine.setProcessEnvironment(environment);
        engine.setWorkingDirectory(app.resources);
        engine.start(app.engine, {u"--user-data-dir=./../Profile"_s});
        for (int i = 0; i < 200 && !QFileInfo::exists(marks + u".up"_s); ++i)
            QThread::msleep(50);
        ASSERT_TRUE(QFileInfo::exists(marks + u".up"_s));
        engine.terminate();
        EXPECT_TRUE(engine.waitForFinished(10000));
        EXPECT_EQ(readAll(marks + u".end"_s), "ended\n");
    }

    // Flatpak reads ':' in a shared folder as a mode: such a bundle's engine refuses to start.
    App app(u"brave"_s, u"Mail: Work"_s);
    const QString exported = app.root + u"/var/lib/flatpak/exports/bin/com.brave.Browser"_s;
    writeFile(exported, "#!/bin/sh\nexit 3\n", executable);
    writeFile(app.tools + u"/flatpak"_s, "#!/bin/sh\necho started\n", executable);
    ASSERT_EQ(app.script(u"linux"_s, exported).exitCode, 0);
    const Outcome refused = exec({app.engine, u"--user-data-dir=./../Profile"_s}, app.resources, {}, app.tools);
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.out.isEmpty());
    EXPECT_TRUE(refused.err.contains("flatpak run cannot share a folder whose path holds :")) << refused.err.constData();
}

TEST(EngineScript, RunsAtCreationAndOnlyWarnsWhenItFails)
{
    App app(u"chromium"_s, u"My App"_s);
    const QString engine = app.root + u"/opt/chromium/chromium"_s;
    writeFile(engine, "#!/bin/sh\n", executable);
    app.test.context().defaults().setValue(u"chromiumPath"_s, engine);
    EXPECT_TRUE(EngineBuilder::runEngineScript(app.test.context(), app.resources, app.name, u"chromium"_s));
    EXPECT_EQ(app.test.log(), QStringList{u"Engine cloned into root bundle."_s});
    EXPECT_EQ(QFileInfo(app.engine).symLinkTarget(), engine);

    app.test.clearLog();
    app.test.context().defaults().setValue(u"chromiumPath"_s, QString(engine + u"-gone"_s));
    EXPECT_FALSE(EngineBuilder::runEngineScript(app.test.context(), app.resources, app.name, u"chromium"_s));
    EXPECT_EQ(app.test.log(),
              QStringList{u"Warning: engine creation exited with status 1 (will retry at first launch)"_s});
}

TEST(InProcessRoute, StringsRenameOnlyTheLinesOfTheirBrowserKeepingTheEncoding)
{
    // Per type, the display name and name whose lines are renamed; Canary, Chromium and unknown
    // types search the Chrome lines.
    const std::tuple<int, const char *, const char *> types[] = {
        {BrowserCatalogue::Chrome, "Google Chrome", "Chrome"},
        {BrowserCatalogue::Canary, "Google Chrome", "Chrome"},
        {BrowserCatalogue::Brave, "Brave Browser", "Brave"},
        {BrowserCatalogue::Edge, "Microsoft Edge", "Microsoft Edge"},
        {BrowserCatalogue::Opera, "Opera", "Opera"},
        {BrowserCatalogue::Chromium, "Google Chrome", "Chrome"},
        {BrowserCatalogue::Vivaldi, "Vivaldi", "Vivaldi"},
        {BrowserCatalogue::Helium, "Helium", "Helium"},
        {42, "Google Chrome", "Chrome"}};
    for (const auto &[type, displayName, shortName] : types) {
        SCOPED_TRACE(type);
        TestContext test;
        AppDefinition definition;
        EngineBuilder manager(test.context(), definition, QString());
        definition.applicationType = type;
        definition.appName = u"Ops \\ \"Desk\""_s;
        QString text, expected;
        const auto line = [&](const QString &key, const QString &value, const char *searched) {
            text += u"%1 = \"%2\";\n"_s.arg(key, value);
            expected += u"%1 = \"%2\";\n"_s.arg(
                key, value == QLatin1String(searched) ? u"Ops \\\\ \\\"Desk\\\""_s : value);
        };
        for (const BrowserInfo &browser : BrowserCatalogue::all())
            line(u"CFBundleDisplayName"_s, browser.browserName, displayName);
        for (const char *name :
             {"Chrome", "Chrome Canary", "Brave", "Microsoft Edge", "Opera", "Chromium", "Vivaldi", "Helium"})
            line(u"CFBundleName"_s, QLatin1String(name), shortName);

        const QString resources = test.root() + u"/Resources"_s;
        const std::tuple<const char *, QStringConverter::Encoding, QString> files[] = {
            {"en", QStringConverter::Utf16LE, u"fffe|"_s},
            {"de", QStringConverter::Utf8, u"|"_s},
            {"fr", QStringConverter::Utf16BE, u"feff|"_s}};
        for (const auto &[language, encoding, mark] : files) {
            QStringEncoder encoder(encoding, encoding == QStringConverter::Utf8
                                                 ? QStringConverter::Flag::Default
                                                 : QStringConverter::Flag::WriteBom);
            writeFile(u"%1/%2.lproj/InfoPlist.strings"_s.arg(resources, QLatin1String(language)),
                      encoder.encode(text));
        }
        QDir().mkpath(resources + u"/Other"_s);

        ASSERT_EQ(manager.replaceChromeWithAppName(resources), std::nullopt);
        for (const auto &[language, encoding, mark] : files)
            EXPECT_EQ(readStrings(u"%1/%2.lproj/InfoPlist.strings"_s.arg(resources, QLatin1String(language))),
                      mark + expected);
    }
}

TEST(InProcessRoute, EachFailureEndsItsStep)
{
    App app(u"brave"_s, u"Mail"_s);
    AppDefinition definition;
    EngineBuilder manager(app.test.context(), definition, app.resources);
    definition.appName = app.name;
    definition.applicationType = BrowserCatalogue::Brave;
    const QString from = app.bundle + u"/Contents/"_s;
    const QString to = app.resources + u"/Inner.app/Contents/"_s;
    QDir().mkpath(to);
    ASSERT_EQ(manager.copyFilesFromChrome(from, to), std::nullopt);

    // The resources are copied whole or not at all.
    app.test.clearLog();
    EXPECT_TRUE(manager.copyFilesFromChrome(from, to).has_value());
    EXPECT_EQ(app.test.log().size(), 2);
    // Links stop at the first one that cannot be made.
    writeFile(to + u"Helpers"_s, "");
    EXPECT_TRUE(manager.createSymlinkFromGoogleChrome(from, to).has_value());
    EXPECT_TRUE(QFileInfo(to + u"PkgInfo"_s).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(to + u"_CodeSignature"_s));
    // An existing inner bundle stops the whole route before the browser is looked at.
    QDir().mkpath(app.resources + u"/Brave Browser.app"_s);
    EXPECT_EQ(manager.createInternalApplication().value_or(QString()),
              u"Application already exists with that name."_s);
}
