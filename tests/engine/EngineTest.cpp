// The engine against the fake browsers of tests/fixtures/browsers: createEngine.sh in both of its
// branches (the macOS one with a python-backed plutil), and the in-process route.

#include "core/BrowserCatalogue.h"
#include "core/PropertyList.h"
#include "core/UserDefaults.h"
#include "generation/ApplicationManager.h"
#include "generation/EngineBuilder.h"
#include "generation/SNPlistHelper.h"
#include "support/TestContext.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringConverter>

#include <gtest/gtest.h>
#include <sys/stat.h>

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

// A strings file's text, read by python by its byte-order mark, after the mark's bytes.
const char readStringsScript[] = R"PY(
import sys
d = open(sys.argv[1], "rb").read()
bom = d[:2] if d[:2] in (b"\xff\xfe", b"\xfe\xff") else b""
sys.stdout.buffer.write(bom.hex().encode() + b"|" + (d.decode("utf-16") if bom else d.decode()).encode())
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

struct Exec
{
    int code = -1;
    QByteArray out;
    QByteArray err;
};

Exec exec(const QStringList &command, const QString &folder = {}, const QString &platform = {},
          const QString &tools = {})
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!platform.isEmpty())
        environment.insert(QStringLiteral("SORVANE_ENGINE_PLATFORM"), platform);
    if (!tools.isEmpty())
        environment.insert(QStringLiteral("PATH"), tools + u':' + environment.value(QStringLiteral("PATH")));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(folder);
    process.start(command.first(), command.mid(1));
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString &path, const QByteArray &data, QFile::Permissions permissions = {})
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(data);
    file.close();
    if (permissions)
        file.setPermissions(permissions);
}

const QFile::Permissions executable = QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner;

// What a program prints for "--probe"; an engine must print what its browser prints.
QByteArray probe(const QString &program)
{
    const Exec run = exec({program, QStringLiteral("--probe")});
    return run.code == 0 ? run.out : "failed: " + run.err;
}

QJsonObject plistJson(const QString &path)
{
    return QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
}

// "<byte-order mark in hex>|<text>".
QString readStrings(const QString &path)
{
    return QString::fromUtf8(exec({QStringLiteral(SORVANE_PYTHON3), QStringLiteral("-c"),
                                   QString::fromUtf8(readStringsScript), path})
                                 .out);
}

// Every entry under a folder with its inode, modification time, size and link target.
QStringList listing(const QString &folder)
{
    QStringList lines;
    QDirIterator it(folder, QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        struct stat status = {};
        ::lstat(QFile::encodeName(path).constData(), &status);
        lines.append(QStringLiteral("%1 %2 %3.%4 %5 %6")
                         .arg(path)
                         .arg(status.st_ino)
                         .arg(status.st_mtim.tv_sec)
                         .arg(status.st_mtim.tv_nsec)
                         .arg(status.st_size)
                         .arg(QFileInfo(path).symLinkTarget()));
    }
    lines.sort();
    return lines;
}

QString quoted(QString value)
{
    return value.replace(u'\\', QStringLiteral("\\\\")).replace(u'"', QStringLiteral("\\\""));
}

// A generated app beside a copy of a fake browser, in a folder whose path needs quoting.
struct App
{
    App(const QString &typeKey, const QString &appName)
        : browser(BrowserCatalogue::byTypeKey(typeKey)), name(appName),
          root(test.root() + QStringLiteral("/work $HOME 'q' \"d\"")), tools(root + QStringLiteral("/bin")),
          bundle(copyBrowser(browser)),
          contents(QStringLiteral("%1/Applications/%2.app/Contents").arg(root, name)),
          resources(contents + QStringLiteral("/Resources")),
          engine(QStringLiteral("%1/MacOS/%2 Engine").arg(contents, name))
    {
        writeFile(tools + QStringLiteral("/plutil"), "#!" SORVANE_PYTHON3 "\n" + QByteArray(fakePlutil),
                  executable);
        QDir().mkpath(resources);
        writeInfo(QStringLiteral("1.2.3"));
        QFile::copy(QStringLiteral(SORVANE_ENGINE_SCRIPT), resources + QStringLiteral("/createEngine.sh"));
    }

    QString copyBrowser(const BrowserInfo &row) const
    {
        const QString copy = QStringLiteral("%1/Browsers/%2.app").arg(root, row.browserName);
        QDir().mkpath(root + QStringLiteral("/Browsers"));
        exec({QStringLiteral("cp"), QStringLiteral("-a"),
              QStringLiteral(SORVANE_TEST_FIXTURES "/browsers/") + row.browserName + QStringLiteral(".app"),
              copy});
        return copy;
    }
    QString browserExecutable() const
    {
        return QStringLiteral("%1/Contents/MacOS/%2").arg(bundle, browser.browserName);
    }
    void writeInfo(const QString &version) const
    {
        PropertyList::writeFile(
            contents + QStringLiteral("/Info.plist"),
            SNPlistHelper::infoDictionary(name, false, false, version, QStringLiteral("com.ondrel.sorvane")));
    }
    Exec script(const QString &platform = QStringLiteral("mac"), const QString &location = {},
                const QString &shell = QStringLiteral("/bin/sh")) const
    {
        QStringList command{shell,
                            QStringLiteral("./createEngine.sh"),
                            name,
                            resources,
                            location.isEmpty() ? bundle : location,
                            browser.browserName,
                            browser.browserShortName,
                            browser.frameworkFolder};
        if (shell.endsWith(QLatin1String("bash")))
            command.insert(1, QStringLiteral("--posix")); // how macOS runs /bin/sh
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

class EngineFamily : public testing::TestWithParam<Family>
{
};

} // namespace

TEST_P(EngineFamily, ScriptClonesTheBrowserIntoTheAppAndThenStaysPut)
{
    App app(QLatin1String(GetParam().typeKey), QString::fromUtf8(GetParam().appName));
    const QString shell = app.browser.number % 2 ? QStringLiteral("/bin/bash") : QStringLiteral("/bin/sh");
    const Exec first = app.script(QStringLiteral("mac"), {}, shell);
    ASSERT_EQ(first.code, 0) << first.err.constData();
    EXPECT_TRUE(first.err.isEmpty()) << first.err.constData();

    // A copy that reaches the browser's framework through the links beside it.
    EXPECT_FALSE(QFileInfo(app.engine).isSymLink());
    EXPECT_EQ(readAll(app.engine), readAll(app.browserExecutable()));
    EXPECT_EQ(probe(app.engine), probe(app.browserExecutable()));
    EXPECT_FALSE(QFileInfo::exists(app.resources + QStringLiteral("/pwned")));

    // Sorvane's keys stay; the browser adds what the app lacks, renamed, but none of its updater,
    // link, document, type or icon keys.
    QJsonObject expected = QJsonObject::fromVariantMap(SNPlistHelper::infoDictionary(
        app.name, false, false, QStringLiteral("1.2.3"), QStringLiteral("com.ondrel.sorvane")));
    expected.insert(QStringLiteral("CFBundleDevelopmentRegion"), QStringLiteral("en"));
    expected.insert(QStringLiteral("CrProductDirName"), app.name);
    expected.insert(QStringLiteral("LSHasLocalizedDisplayName"), true);
    expected.insert(QStringLiteral("NSCameraUseContinuityCameraDeviceType"), true);
    expected.insert(QStringLiteral("NSWebBrowserPublicKeyCredentialUsageDescription"),
                    QString(app.name + QStringLiteral(" uses passkeys.")));
    EXPECT_EQ(plistJson(app.contents + QStringLiteral("/Info.plist")), expected);

    const QString names =
        QStringLiteral("CFBundleDisplayName = \"%1\";\nCFBundleName = \"%1\";\n").arg(quoted(app.name));
    const QString texts[] = {
        QStringLiteral("/* Localized versions of Info.plist keys */\n\n") + names +
            QStringLiteral(
                "NSCameraUsageDescription = \"Once %1 has access, websites will be able to ask you for "
                "access.\";\n"
                "NSHumanReadableCopyright = \"Copyright 2024 The Authors. All rights reserved.\";\n")
                .arg(quoted(app.name)),
        names +
            QStringLiteral(
                "NSCameraUsageDescription = \"Sobald %1 Zugriff hat, können Websites um Zugriff bitten.\";\n")
                .arg(quoted(app.name))};
    for (const QString &language : {QStringLiteral("en"), QStringLiteral("de")}) {
        const QString relative = QStringLiteral("/%1.lproj/InfoPlist.strings").arg(language);
        const QString original = readStrings(app.bundle + QStringLiteral("/Contents/Resources") + relative);
        EXPECT_EQ(readStrings(app.resources + relative),
                  original.section(u'|', 0, 0) + u'|' + texts[language == QLatin1String("de")]);
    }

    const QStringList built = listing(app.contents);
    const Exec second = app.script(QStringLiteral("mac"), {}, shell);
    EXPECT_EQ(second.code, 0);
    EXPECT_TRUE(second.out.isEmpty()) << second.out.constData();
    EXPECT_EQ(listing(app.contents), built);
}

TEST_P(EngineFamily, ScriptFollowsTheBrowserWhenItIsUpdatedInPlace)
{
    App app(QLatin1String(GetParam().typeKey), QStringLiteral("Team Chat"));
    ASSERT_EQ(app.script().code, 0);
    const QByteArray before = probe(app.engine);
    const QString browser = app.browserExecutable();

    // A rebuilt executable for the same framework, then a damaged engine: both are put right.
    writeFile(browser + QStringLiteral(".new"), readAll(browser) + "# rebuilt\n", executable);
    ASSERT_TRUE(QFile::remove(browser) && QFile::rename(browser + QStringLiteral(".new"), browser));
    EXPECT_EQ(app.script().code, 0);
    EXPECT_EQ(readAll(app.engine), readAll(browser));
    writeFile(app.engine, "garbage", executable);
    EXPECT_EQ(app.script().code, 0);
    EXPECT_EQ(readAll(app.engine), readAll(browser));

    // A new framework version arrives: the script notices, the old executable still runs.
    const auto update = [&](const char *version, const char *replace) {
        return exec({QStringLiteral("/bin/sh"), QStringLiteral("-c"), QString::fromUtf8(updateScript),
                     QStringLiteral("update"), browser, QLatin1String(version), QLatin1String(replace)})
                   .code == 0;
    };
    ASSERT_TRUE(update("999.0.0.1", "no"));
    Exec run = app.script();
    EXPECT_EQ(run.code, 0) << run.err.constData();
    EXPECT_FALSE(run.out.isEmpty());
    EXPECT_EQ(probe(app.engine), before);

    // Then the executable moves to it and the old version is removed: the engine must follow.
    ASSERT_TRUE(update("1000.0.0.2", "yes"));
    EXPECT_TRUE(probe(app.engine).startsWith("failed")) << "the fake update left the old version in place";
    EXPECT_EQ(app.script().code, 0);
    EXPECT_TRUE(probe(app.engine).contains("1000.0.0.2: --probe"));
    EXPECT_EQ(probe(app.engine), probe(browser));

    const QStringList updated = listing(app.contents);
    EXPECT_TRUE(app.script().out.isEmpty());
    EXPECT_EQ(listing(app.contents), updated);
}

TEST_P(EngineFamily, InProcessRouteBuildsTheInnerEngineBundle)
{
    App app(QLatin1String(GetParam().typeKey), QStringLiteral("Team \"Chat\""));
    ApplicationManager manager(app.test.context());
    manager.definition().appName = app.name;
    manager.definition().applicationType = app.browser.number;
    manager.resourceDirectory = app.resources;
    // The generator's own lookup: Chromium goes through Google Chrome's setting and bundle.
    const BrowserInfo &engineBrowser =
        BrowserCatalogue::byNumber(app.browser.number == BrowserCatalogue::Chromium ? 0 : app.browser.number);
    const QString from = (&engineBrowser == &app.browser ? app.bundle : app.copyBrowser(engineBrowser)) +
                         QStringLiteral("/Contents/");
    app.test.context().defaults().setValue(
        engineBrowser.settingsKey, QString(from + QStringLiteral("MacOS/") + engineBrowser.browserName));
    const QString to = QStringLiteral("%1/%2.app/Contents/").arg(app.resources, app.browser.browserName);
    ASSERT_EQ(manager.createInternalApplication(), std::nullopt);

    const QString created = QStringLiteral("New directory created successfully.");
    EXPECT_EQ(app.test.log(),
              (QStringList{created, created, created, QStringLiteral("chromePath:") + manager.getCromePath(),
                           QStringLiteral("chromeContentPath:") + from, QStringLiteral("0:") + from,
                           QStringLiteral("1:") + from, QStringLiteral("2:") + from,
                           QStringLiteral("resourcesPath:") + from + QStringLiteral("Resources"),
                           QStringLiteral("resourcesCopyPath:") + to + QStringLiteral("Resources"),
                           QStringLiteral("copyFilesFromChrome 1.5"), QStringLiteral("copyFilesFromChrome 2"),
                           QStringLiteral("copyFilesFromChrome 3"), QStringLiteral("copyFilesFromChrome 4"),
                           QStringLiteral("3:") + from}));
    const QString link = QStringLiteral("MacOS/") + QString::fromUtf8(GetParam().executableLink);
    for (const QString &entry : {QStringLiteral("Versions"), QStringLiteral("PkgInfo"),
                                 QStringLiteral("Helpers"), QStringLiteral("_CodeSignature"), link}) {
        EXPECT_TRUE(QFileInfo(to + entry).isSymLink()) << qPrintable(entry);
        EXPECT_EQ(QFileInfo(to + entry).symLinkTarget(), from + entry);
    }

    // Without an icon the browser's icon keys stay; the updater and link keys go either way.
    QJsonObject expected = plistJson(from + QStringLiteral("Info.plist"));
    for (const char *key :
         {"CFBundleURLTypes", "NSUserActivityTypes", "CFBundleDocumentTypes", "DTSDKBuild", "DTSDKName",
          "DTXcode", "DTXcodeBuild", "KSChannelID-full", "KSProductID", "KSUpdateURL", "KSVersion"})
        expected.remove(QLatin1String(key));
    EXPECT_EQ(plistJson(to + QStringLiteral("Info.plist")), expected);
    EXPECT_TRUE(expected.contains(QStringLiteral("CFBundleIconName")));
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
        App app(QStringLiteral("chrome"), QStringLiteral("Mail"));
        const QString path = app.bundle + QLatin1String(removed);
        ASSERT_TRUE(QFileInfo(path).isDir() ? QDir(path).removeRecursively() : QFile::remove(path));
        const Exec run = app.script();
        EXPECT_EQ(run.code, 1);
        EXPECT_TRUE(run.err.startsWith(QByteArray(QByteArray("createEngine.sh: ") + message)))
            << run.err.constData();
        EXPECT_FALSE(QFileInfo::exists(app.engine) ||
                     QFileInfo::exists(app.resources + QStringLiteral("/engine.stamp")));
    }
}

TEST(EngineScript, RenamesPropertyListStringsInTheirOwnForm)
{
    for (const QString &form : {QStringLiteral("xml1"), QStringLiteral("binary1")}) {
        App app(QStringLiteral("chrome"), QStringLiteral("R&D <Tools>"));
        const QString original =
            app.bundle + QStringLiteral("/Contents/Resources/de.lproj/InfoPlist.strings");
        PropertyList::writeFile(original,
                                QVariantMap{{QStringLiteral("CFBundleName"), QStringLiteral("Chrome")},
                                            {QStringLiteral("NSCameraUsageDescription"),
                                             QStringLiteral("Google Chrome fragt.")}});
        ASSERT_EQ(exec({app.tools + QStringLiteral("/plutil"), QStringLiteral("-convert"), form,
                        QStringLiteral("-o"), original, original})
                      .code,
                  0);
        ASSERT_EQ(app.script().code, 0);
        const QString written = app.resources + QStringLiteral("/de.lproj/InfoPlist.strings");
        EXPECT_EQ(readAll(written).startsWith("bplist"), form == QLatin1String("binary1"));
        EXPECT_EQ(plistJson(written), (QJsonObject{{QStringLiteral("CFBundleName"), app.name},
                                                   {QStringLiteral("NSCameraUsageDescription"),
                                                    QString(app.name + QStringLiteral(" fragt."))}}));
    }
}

TEST(EngineScript, RenamesRegenerationsAndOtherBrowsersLeaveNothingStale)
{
    App app(QStringLiteral("brave"), QStringLiteral("Old Name"));
    ASSERT_EQ(app.script().code, 0);
    app.name = QStringLiteral("New Name");
    ASSERT_EQ(app.script().code, 0);
    EXPECT_FALSE(QFileInfo::exists(app.engine));
    app.engine = app.contents + QStringLiteral("/MacOS/New Name Engine");
    EXPECT_EQ(probe(app.engine), probe(app.browserExecutable()));

    // Sorvane rewrites Info.plist when it regenerates an app; the next start merges again.
    app.writeInfo(QStringLiteral("1.2.4"));
    ASSERT_EQ(app.script().code, 0);
    EXPECT_EQ(plistJson(app.contents + QStringLiteral("/Info.plist"))
                  .value(QStringLiteral("LSHasLocalizedDisplayName")),
              QJsonValue(true));

    const QString opera = app.copyBrowser(BrowserCatalogue::byTypeKey(QStringLiteral("opera")));
    const Exec run =
        exec({QStringLiteral("/bin/sh"), QStringLiteral("createEngine.sh"), app.name, app.resources, opera,
              QStringLiteral("Opera"), QStringLiteral("Opera"), QStringLiteral("Opera Framework.framework")},
             app.resources, QStringLiteral("mac"), app.tools);
    ASSERT_EQ(run.code, 0) << run.err.constData();
    EXPECT_FALSE(QFileInfo::exists(app.contents + QStringLiteral("/Frameworks")));
    EXPECT_EQ(QFileInfo(app.contents + QStringLiteral("/Versions")).symLinkTarget(),
              opera + QStringLiteral("/Contents/Versions"));
    EXPECT_EQ(probe(app.engine), probe(opera + QStringLiteral("/Contents/MacOS/Opera")));
}

TEST(EngineScript, OnLinuxLinksTheEngineExecutableAndNothingElse)
{
    App app(QStringLiteral("chromium"), QStringLiteral("It's \"$HOME\" `id`"));
    const QString first = app.root + QStringLiteral("/opt/chromium $x/chromium");
    const QString second = app.root + QStringLiteral("/opt/other/chrome");
    writeFile(first, "#!/bin/sh\necho \"first $*\"\n", executable);
    writeFile(second, "#!/bin/sh\necho \"second $*\"\n", executable);
    QStringList before = listing(app.contents);

    ASSERT_EQ(app.script(QStringLiteral("linux"), first).code, 0);
    EXPECT_EQ(QFileInfo(app.engine).symLinkTarget(), first);
    EXPECT_EQ(probe(app.engine), "first --probe\n");
    QStringList after = listing(app.contents);
    EXPECT_EQ(after.filter(QStringLiteral("/Contents/MacOS/")).size(), 1);
    const auto outsideMacOS = [](QStringList lines) {
        lines.removeIf([](const QString &line) { return line.contains(QStringLiteral("/Contents/MacOS")); });
        return lines;
    };
    EXPECT_EQ(outsideMacOS(after), outsideMacOS(before));

    EXPECT_EQ(app.script(QStringLiteral("linux"), first, QStringLiteral("/bin/bash")).code, 0);
    EXPECT_EQ(listing(app.contents), after);
    EXPECT_EQ(app.script(QStringLiteral("linux"), second).code, 0);
    EXPECT_EQ(probe(app.engine), "second --probe\n");
    QFile::remove(second);
    const Exec missing = app.script(QStringLiteral("linux"), second);
    EXPECT_EQ(missing.code, 1);
    EXPECT_EQ(missing.err, QByteArray("createEngine.sh: no engine executable at " + second.toUtf8() + '\n'));
}

TEST(EngineScript, RunsAtCreationAndOnlyWarnsWhenItFails)
{
    App app(QStringLiteral("chromium"), QStringLiteral("My App"));
    const QString engine = app.root + QStringLiteral("/opt/chromium/chromium");
    writeFile(engine, "#!/bin/sh\n", executable);
    app.test.context().defaults().setValue(QStringLiteral("chromiumPath"), engine);
    EXPECT_TRUE(EngineBuilder::runEngineScript(app.test.context(), app.resources, app.name,
                                               QStringLiteral("chromium")));
    EXPECT_EQ(app.test.log(), QStringList{QStringLiteral("Engine cloned into root bundle.")});
    EXPECT_EQ(QFileInfo(app.engine).symLinkTarget(), engine);

    app.test.clearLog();
    app.test.context().defaults().setValue(QStringLiteral("chromiumPath"),
                                           QString(engine + QStringLiteral("-gone")));
    EXPECT_FALSE(EngineBuilder::runEngineScript(app.test.context(), app.resources, app.name,
                                                QStringLiteral("chromium")));
    EXPECT_EQ(app.test.log(),
              QStringList{QStringLiteral(
                  "Warning: engine creation exited with status 1 (will retry at first launch)")});

    // macOS hands the browser's bundle, not its executable.
    const BrowserInfo &brave = BrowserCatalogue::byTypeKey(QStringLiteral("brave"));
    EXPECT_EQ(
        EngineBuilder::engineScriptArguments(app.resources, app.name, brave, brave.macEnginePath, true).at(3),
        QStringLiteral("/Applications/Brave Browser.app"));
}

namespace {

struct StringsCase
{
    int type;
    const char *displayName; // the values that type's strings are searched for
    const char *name;
};

void PrintTo(const StringsCase &param, std::ostream *out)
{
    *out << param.type;
}

std::string typeName(const testing::TestParamInfo<StringsCase> &param)
{
    return param.param.type == BrowserCatalogue::byNumber(param.param.type).number
               ? BrowserCatalogue::typeKeyForNumber(param.param.type).toStdString()
               : "unknown";
}

class InProcessStrings : public testing::TestWithParam<StringsCase>
{
};

} // namespace

TEST_P(InProcessStrings, RenameOnlyTheLinesOfTheirBrowserKeepingTheEncoding)
{
    TestContext test;
    ApplicationManager manager(test.context());
    manager.definition().applicationType = GetParam().type;
    manager.definition().appName = QStringLiteral("Ops \\ \"Desk\"");
    QString text;
    QString expected;
    const auto line = [&](const QString &key, const QString &value, const char *searched) {
        text += QStringLiteral("%1 = \"%2\";\n").arg(key, value);
        expected +=
            QStringLiteral("%1 = \"%2\";\n")
                .arg(key, value == QLatin1String(searched) ? QStringLiteral("Ops \\\\ \\\"Desk\\\"") : value);
    };
    for (const BrowserInfo &browser : BrowserCatalogue::all())
        line(QStringLiteral("CFBundleDisplayName"), browser.browserName, GetParam().displayName);
    for (const char *name :
         {"Chrome", "Chrome Canary", "Brave", "Microsoft Edge", "Opera", "Chromium", "Vivaldi", "Helium"})
        line(QStringLiteral("CFBundleName"), QLatin1String(name), GetParam().name);

    const QString resources = test.root() + QStringLiteral("/Resources");
    const std::pair<const char *, QStringConverter::Encoding> files[] = {
        {"en", QStringConverter::Utf16LE}, {"de", QStringConverter::Utf8}, {"fr", QStringConverter::Utf16BE}};
    for (const auto &[language, encoding] : files) {
        QStringEncoder encoder(encoding, encoding == QStringConverter::Utf8
                                             ? QStringConverter::Flag::Default
                                             : QStringConverter::Flag::WriteBom);
        writeFile(QStringLiteral("%1/%2.lproj/InfoPlist.strings").arg(resources, QLatin1String(language)),
                  encoder.encode(text));
    }
    QDir().mkpath(resources + QStringLiteral("/Other"));

    ASSERT_EQ(manager.replaceChromeWithAppName(resources), std::nullopt);
    const QString marks[] = {QStringLiteral("fffe|"), QStringLiteral("|"), QStringLiteral("feff|")};
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(readStrings(QStringLiteral("%1/%2.lproj/InfoPlist.strings")
                                  .arg(resources, QLatin1String(files[i].first))),
                  marks[i] + expected);
}

INSTANTIATE_TEST_SUITE_P(Types, InProcessStrings,
                         testing::Values(StringsCase{BrowserCatalogue::Chrome, "Google Chrome", "Chrome"},
                                         StringsCase{BrowserCatalogue::Canary, "Google Chrome", "Chrome"},
                                         StringsCase{BrowserCatalogue::Brave, "Brave Browser", "Brave"},
                                         StringsCase{BrowserCatalogue::Edge, "Microsoft Edge",
                                                     "Microsoft Edge"},
                                         StringsCase{BrowserCatalogue::Opera, "Opera", "Opera"},
                                         StringsCase{BrowserCatalogue::Chromium, "Google Chrome", "Chrome"},
                                         StringsCase{BrowserCatalogue::Vivaldi, "Vivaldi", "Vivaldi"},
                                         StringsCase{BrowserCatalogue::Helium, "Helium", "Helium"},
                                         StringsCase{42, "Google Chrome", "Chrome"}),
                         typeName);

TEST(InProcessRoute, AnIconReplacesTheIconKeysAndEachFailureEndsItsStep)
{
    App app(QStringLiteral("brave"), QStringLiteral("Mail"));
    ApplicationManager manager(app.test.context());
    manager.definition().appName = app.name;
    manager.definition().applicationType = BrowserCatalogue::Brave;
    QImage image(64, 64, QImage::Format_ARGB32);
    image.fill(Qt::darkCyan);
    manager.definition().appIcon = SNImage({image});
    const QString from = app.bundle + QStringLiteral("/Contents/");
    const QString to = app.resources + QStringLiteral("/Inner.app/Contents/");
    QDir().mkpath(to);
    ASSERT_EQ(manager.copyFilesFromChrome(from, to), std::nullopt);
    const QJsonObject info = plistJson(to + QStringLiteral("Info.plist"));
    EXPECT_EQ(info.value(QStringLiteral("CFBundleIconFile")).toString(), QStringLiteral("icon.icns"));
    for (const char *key :
         {"CFBundleIcons", "CFBundleIcons~mac", "CFBundleIconName", "CFBundleIconFiles", "KSProductID"})
        EXPECT_FALSE(info.contains(QLatin1String(key))) << key;
    EXPECT_TRUE(
        exec({QStringLiteral("icns2png"), QStringLiteral("-l"), to + QStringLiteral("Resources/icon.icns")})
            .out.contains("512x512"));
    EXPECT_EQ(app.test.log().indexOf(QStringLiteral("Images successfully converted.")) + 1,
              app.test.log().indexOf(QStringLiteral("copyFilesFromChrome 2")));

    // The resources are copied whole or not at all.
    app.test.clearLog();
    EXPECT_TRUE(manager.copyFilesFromChrome(from, to).has_value());
    EXPECT_EQ(app.test.log().size(), 2);
    // Links stop at the first one that cannot be made.
    writeFile(to + QStringLiteral("Helpers"), "");
    EXPECT_TRUE(manager.createSymlinkFromGoogleChrome(from, to).has_value());
    EXPECT_TRUE(QFileInfo(to + QStringLiteral("PkgInfo")).isSymLink());
    EXPECT_FALSE(QFileInfo::exists(to + QStringLiteral("_CodeSignature")));
    // A language folder without strings ends the walk there.
    QDir().mkpath(to + QStringLiteral("Resources/ee.lproj"));
    writeFile(to + QStringLiteral("Resources/de.lproj/InfoPlist.strings"), "CFBundleName = \"Brave\";\n");
    writeFile(to + QStringLiteral("Resources/en.lproj/InfoPlist.strings"), "CFBundleName = \"Brave\";\n");
    EXPECT_TRUE(manager.replaceChromeWithAppName(to + QStringLiteral("Resources")).has_value());
    EXPECT_EQ(readAll(to + QStringLiteral("Resources/de.lproj/InfoPlist.strings")),
              "CFBundleName = \"Mail\";\n");
    EXPECT_EQ(readAll(to + QStringLiteral("Resources/en.lproj/InfoPlist.strings")),
              "CFBundleName = \"Brave\";\n");
    // An existing inner bundle stops the whole route before the browser is looked at.
    manager.resourceDirectory = app.resources;
    QDir().mkpath(app.resources + QStringLiteral("/Brave Browser.app"));
    EXPECT_EQ(manager.createInternalApplication()->description,
              QStringLiteral("Application already exists with that name."));

    // An unreadable browser property list is copied as it is.
    writeFile(from + QStringLiteral("Info.plist"), "not a property list");
    QDir(to + QStringLiteral("Resources")).removeRecursively();
    ASSERT_EQ(manager.copyFilesFromChrome(from, to), std::nullopt);
    EXPECT_EQ(readAll(to + QStringLiteral("Info.plist")), "not a property list");
}
