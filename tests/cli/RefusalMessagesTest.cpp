// What the command line says when it refuses: each refusal names the field at fault and what to
// do, and the command exits with its status.

#include "CliSandbox.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(RefusalMessages, EachRefusalNamesItsFieldAndWhatToDo)
{
    Home home;
    ASSERT_EQ(home.create(u"Mail"_s).exitCode, 0);
    const QString set = home.test.root() + u"/mail.sorvane"_s;
    const CliRun exported = home.sorvane({u"export"_s, u"Mail"_s, u"--output"_s, set});
    ASSERT_EQ(exported.exitCode, 0) << exported.err.constData();
    EXPECT_EQ(exported.out, "Exported 1 app to " + set.toUtf8() + '\n');
    const QByteArray appId = home.tracker().keys().constFirst().toUtf8();

    const QString list = home.test.root() + u"/apps.json"_s;
    writeFile(list, R"([{"appName": "News", "appURL": "https://news.example.org/"},
                        {"appName": "a/b", "appURL": "https://b.example.org/"}])");
    const QString notASet = home.test.root() + u"/notes.sorvane"_s;
    writeFile(notASet, "plain words");
    const QString create = u"create --url https://a.example.org/ --browser chromium --into "_s + home.apps + u" --name"_s;

    struct Case
    {
        QStringList arguments;
        int exitCode;
        QByteArray line; // the last line on standard error, whole
    };
    const QByteArray root = home.test.root().toUtf8();
    const QList<Case> cases{
        {create.split(u' ') + QStringList{u"a/b"_s}, 1,
         "sorvane create: name: 'a/b' contains '/', which a file name cannot hold; use another character"},
        {create.split(u' ') + QStringList{u".."_s}, 1,
         "sorvane create: name: '..' names a folder itself and cannot name an app; add letters to it"},
        {create.split(u' ') + QStringList{u"Tab\there"_s}, 1,
         "sorvane create: name: the name contains the control character U+0009 (a tab or line break, for one); "
         "remove it"},
        {create.split(u' ') + QStringList{QString(300, u'x')}, 1,
         "sorvane create: name: too long (300 bytes; an app's name can have at most 236 bytes); shorten it"},
        {{u"create"_s, u"--name"_s, u"Mail"_s, u"--url"_s, u"https://mail.example.org/"_s, u"--browser"_s,
          u"chromium"_s, u"--into"_s, home.apps},
         1, "sorvane create: replace: no terminal to ask on whether to replace the app; run again with --replace or "
            "--keep-both"},
        {{u"create"_s, u"--name"_s, u"A"_s, u"--url"_s, u"https://a.example.org/"_s, u"--browser"_s, u"nope"_s}, 1,
         "sorvane create: browser: unknown browser 'nope'; `sorvane browsers` lists the keys"},
        {{u"edit"_s, u"Mail"_s, u"--name"_s, u"a/b"_s}, 1,
         "sorvane edit: name: 'a/b' contains '/', which a file name cannot hold, so 'Mail' keeps its name; use "
         "another character"},
        {{u"edit"_s, u"Mail"_s, u"--replace-rules"_s}, 2,
         "sorvane edit: replace-rules: needs the new rules; give them with --allow or --route (--no-rules drops "
         "them all)"},
        {{u"edit"_s, u"Mail"_s, u"--route"_s, u"news.example.org"_s}, 1,
         "sorvane edit: route: 'news.example.org' is not PATTERN=DEST; write DEST as in-app, default, "
         "browser:<id>[:<name>] or app:<path>"},
        {{u"info"_s, u"Nobody"_s}, 1,
         "sorvane info: APP: no app is named 'Nobody', has that id (or id start), or is a bundle at that path; "
         "`sorvane list` shows them"},
        {{u"script"_s, u"--name"_s, u"A"_s, u"--url"_s, u"https://a.example.org/"_s, u"--browser"_s, u"nope"_s}, 2,
         "sorvane script: browser: unknown browser 'nope'; `sorvane browsers` lists the keys"},
        {{u"profiles"_s, u"nope"_s}, 1, "sorvane profiles: BROWSER: unknown browser 'nope'; `sorvane browsers` lists the keys"},
        {{u"bulk"_s, list, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps}, 1,
         "sorvane bulk: entry 2 ('a/b'): appName: 'a/b' contains '/', which a file name cannot hold, so nothing was "
         "created; use another character in that entry"},
        {{u"import"_s, set, u"--into"_s, home.apps, u"--quiet"_s}, 1,
         "sorvane import: entry '" + appId + "' ('Mail'): name: an app named 'Mail' is there already and was kept; "
         "--replace moves it to the Trash, --keep-both numbers the new one"},
        {{u"export"_s, u"Mail"_s, u"--output"_s, home.test.root() + u"/no/such/folder/x"_s}, 1,
         "sorvane export: output: " + root + "/no/such/folder/x was not written ("},
        {{u"export"_s, u"--all"_s, u"Mail"_s, u"--output"_s, set}, 2,
         "sorvane export: APP: missing, or given together with --all; name the apps by name, id or bundle path, or "
         "give --all alone"},
        {{u"icon"_s, u"not an address"_s}, 1,
         "sorvane icon: URL: 'https://not an address' is not a web address; give an http or https address such as "
         "https://example.org"},
        {{u"icon"_s, u"https://a.example.org/"_s, u"--timeout"_s, u"0"_s}, 2,
         "sorvane icon: timeout: 0 seconds is not from 1 to 120; give a number in that range"},
        {{u"create"_s, u"--nmae"_s, u"A"_s}, 2,
         "sorvane create: nmae: unknown to sorvane create; `sorvane create --help` lists its options"},
        {{u"export"_s, u"Mail"_s, u"--output"_s, set, u"--output"_s, set}, 2,
         "sorvane export: output: given more than once; give it once"},
    };
    for (const Case &c : cases) {
        const CliRun run = home.sorvane(c.arguments);
        const QByteArray last = run.err.trimmed().split('\n').constLast();
        EXPECT_EQ(run.exitCode, c.exitCode) << qPrintable(c.arguments.join(u' ')) << run.err.constData();
        EXPECT_TRUE(last.startsWith(c.line)) << qPrintable(c.arguments.join(u' ')) << "\n"
                                             << last.constData() << "\ninstead of\n" << c.line.constData();
    }
    // Nothing refused was made.
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"News"_s)));
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Mail 1"_s)));
}
