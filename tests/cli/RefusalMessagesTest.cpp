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
        QByteArray says;
    };
    const QList<Case> cases{
        {create.split(u' ') + QStringList{u"a/b"_s}, 1, "name: 'a/b' contains '/', which a file name cannot hold"},
        {create.split(u' ') + QStringList{u".."_s}, 1, "name: '..' names a folder itself"},
        {create.split(u' ') + QStringList{u"Tab\there"_s}, 1, "name: the name contains the control character U+0009"},
        {create.split(u' ') + QStringList{QString(300, u'x')}, 1, "name: too long (300 bytes"},
        {{u"create"_s, u"--name"_s, u"Mail"_s, u"--url"_s, u"https://mail.example.org/"_s, u"--browser"_s,
          u"chromium"_s, u"--into"_s, home.apps},
         2, "name: an app named 'Mail' is there already and was kept; --replace"},
        {{u"edit"_s, u"Mail"_s, u"--name"_s, u"a/b"_s}, 1, "name: 'a/b' contains '/'"},
        {{u"edit"_s, u"Mail"_s, u"--replace-rules"_s}, 2, "--replace-rules needs the new rules (--allow or --route)"},
        {{u"script"_s, u"--name"_s, u"a/b"_s, u"--url"_s, u"https://a.example.org/"_s}, 1, "name: 'a/b' contains '/'"},
        {{u"script"_s, u"--name"_s, u"A"_s, u"--url"_s, u"https://a.example.org/"_s, u"--browser"_s, u"nope"_s}, 2,
         "browser: unknown browser 'nope'; `sorvane browsers` lists the keys"},
        {{u"bulk"_s, list, u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps}, 1,
         "entry 2 ('a/b'): appName: 'a/b' contains '/', which a file name cannot hold"},
        {{u"import"_s, set, u"--into"_s, home.apps}, 2, "('Mail'): not created: name: an app named 'Mail' is there"},
        {{u"import"_s, notASet}, 1, "file: " + notASet.toUtf8() + " is not an app set Sorvane can read ("},
        {{u"export"_s, u"Mail"_s, u"--output"_s, home.test.root() + u"/no/such/folder/x"_s}, 1,
         "output: " + home.test.root().toUtf8() + "/no/such/folder/x"},
        {{u"icon"_s, u"not an address"_s}, 1, "URL: 'https://not an address' is not a web address"},
    };
    for (const Case &c : cases) {
        const CliRun run = home.sorvane(c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode) << qPrintable(c.arguments.join(u' ')) << run.err.constData();
        EXPECT_TRUE(run.err.contains(c.says)) << qPrintable(c.arguments.join(u' ')) << "\n" << run.err.constData();
        EXPECT_FALSE(run.err.contains("Invalid Application Name")) << run.err.constData();
    }
    // Nothing refused was made.
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"News"_s)));
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Mail 1"_s)));
}
