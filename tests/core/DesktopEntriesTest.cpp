#include "core/DesktopEntries.h"
#include "support/TestContext.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// An entry file read by the freedesktop desktop entry rules, sharing no code with the
// writer: "key=value" lines after the group header, values unescaped; "<bad line>" marks a line
// that is neither.
QStringList readEntry(const QByteArray &text)
{
    static const QRegularExpression keyLine(u"\\A([A-Za-z0-9-]+) *= *(.*)\\z"_s);
    QStringList lines = QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
    if (lines.isEmpty() || lines.takeFirst() != u"[Desktop Entry]"_s)
        return {u"<bad line>"_s};
    for (QString &line : lines) {
        const QRegularExpressionMatch match = keyLine.match(line);
        if (!match.hasMatch()) {
            line = u"<bad line>"_s;
            continue;
        }
        QString value = match.captured(2);
        for (qsizetype at = value.indexOf(u'\\'); at >= 0 && at + 1 < value.size(); at = value.indexOf(u'\\', at + 1)) {
            const QChar code = value[at + 1];
            value.replace(at, 2, code == u's' ? u" "_s : code == u'n' ? u"\n"_s : code == u't' ? u"\t"_s
                                 : code == u'r' ? u"\r"_s : QString(code));
        }
        line = match.captured(1) + u'=' + value;
    }
    return lines;
}

// Exec's arguments, when Exec is one quoted program (inside the quotes '"', '`', '$' and '\' only
// escaped, '%' only doubled), after "env" when the program holds a '%', and an optional " %u";
// empty otherwise.
QStringList execArguments(const QString &exec)
{
    static const QRegularExpression form(u"\\A(env )?\"((?:[^\"`$\\\\%]|\\\\[\"`$\\\\]|%%)*)\"( %u)?\\z"_s);
    static const QRegularExpression escaped(u"\\\\(.)|%(%)"_s, QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(exec);
    if (!match.hasMatch())
        return {};
    QString program = match.captured(2);
    program.replace(escaped, u"\\1\\2"_s);
    // A launcher looks the program up before it undoes "%%", so only env may stand first then.
    if (match.captured(1).isEmpty() == program.contains(u'%'))
        return {};
    return match.captured(3).isEmpty() ? QStringList{program} : QStringList{program, u"%u"_s};
}

struct HostileCase
{
    const char *what;
    QString name;
    QString program;
};

const HostileCase hostileCases[] = {
    {"plain", u"Mail"_s, u"/home/u/Apps/Mail.app/Contents/MacOS/Mail"_s},
    {"line breaks that try to add keys", u"Evil\nExec=/bin/sh\n[Desktop Action x]"_s,
     u"/home/u/Evil\nExec=sh.app/Contents/MacOS/Evil\nExec=sh"_s},
    {"percent signs and field codes", u"100% %u %f"_s, u"/home/u/100% %u %%.app/Contents/MacOS/100% %u"_s},
    {"quotes, dollars, backquotes and backslashes", u"Say \"hi\" $(rm -rf ~) `id` \\"_s,
     u"/home/u/\"$(touch x)\" `id` \\n \\\\ '.app/Contents/MacOS/x"_s},
    {"separators of key files and lists", u"a;b=c[d]#e"_s, u"/home/u/a;b=c[d]#e.app/Contents/MacOS/a;b=c"_s},
    {"spaces, tabs and carriage returns", u"  spaced\tout\r"_s, u"/home/my apps/ x\t\r.app/Contents/MacOS/ x"_s},
};

// What the platform's validator says against the entry `text` (written to a file in `folder`):
// empty when it takes it without an error or a warning (hints are advice); "" unchecked without it.
std::string validatorComplaints(const QString &folder, const QByteArray &text)
{
    static const QString validator = QStandardPaths::findExecutable(u"desktop-file-validate"_s);
    if (validator.isEmpty())
        return {};
    const QString file = folder + u"/checked.desktop"_s;
    writeFile(file, text);
    const Outcome checked = runProgram(validator, {file}, QProcessEnvironment::systemEnvironment());
    const QString said = QString::fromUtf8(checked.out + checked.err);
    if (checked.exitCode == 0 && !said.contains(u"error:"_s) && !said.contains(u"warning:"_s))
        return {};
    return said.toStdString() + text.toStdString();
}

} // namespace

// Every entry, hostile or not, reads back with one Exec naming the program and is one the
// platform's validator takes (names the launch test of tests/cli/DesktopEntriesTest.cpp does not
// cover: line breaks, key-file separators, tabs and carriage returns).
TEST(DesktopEntriesTest, HostileNamesAndPathsReadBackAsOneExecNamingTheProgram)
{
    TestContext test;
    for (const bool browser : {false, true}) {
        for (const HostileCase &hostile : hostileCases) {
            SCOPED_TRACE(std::string(hostile.what) + (browser ? ", registered as a browser" : ""));
            const QStringList mimeTypes{u"x-scheme-handler/http"_s, u"x-scheme-handler/https"_s};
            const DesktopEntries::Entry entry{hostile.name, hostile.program, u"sorvane-APP-1"_s,
                                              DesktopEntries::windowClass(u"APP-1"_s), browser,
                                              browser ? mimeTypes : QStringList(), {u"Network"_s}};
            QStringList expected{u"Type=Application"_s, u"Version=1.4"_s, u"Name="_s + hostile.name,
                                 u"Exec=<program>"_s, u"Icon=sorvane-APP-1"_s, u"StartupWMClass=sorvane-APP-1"_s,
                                 u"Terminal=false"_s, u"Categories=Network;"_s};
            if (browser)
                expected << u"MimeType=x-scheme-handler/http;x-scheme-handler/https;"_s;
            const QByteArray text = DesktopEntries::entryText(entry);
            EXPECT_EQ(validatorComplaints(test.root(), text), std::string());
            QStringList lines = readEntry(text);
            const qsizetype exec = std::find_if(lines.cbegin(), lines.cend(), [](const QString &line) {
                return line.startsWith(u"Exec="_s);
            }) - lines.cbegin();
            ASSERT_LT(exec, lines.size());
            const QStringList arguments = execArguments(lines[exec].mid(5));
            EXPECT_EQ(arguments, (browser ? QStringList{hostile.program, u"%u"_s} : QStringList{hostile.program}));
            lines[exec] = u"Exec=<program>"_s;
            EXPECT_EQ(lines, expected);
        }
    }
}

TEST(DesktopEntriesTest, UnsafeRegistryIdsReachNoFile)
{
    TestContext test;
    const DesktopEntries entries(test.context());
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    writeFile(dataHome + u"/victim.desktop"_s, "kept");
    for (const QString &id : {u"../../victim"_s, u"a/b"_s, u""_s, u"x y"_s, u"a\nb"_s, QString(65, u'A')}) {
        EXPECT_EQ(DesktopEntries::windowClass(id), QString()) << id.toStdString();
        EXPECT_FALSE(entries.writeAppEntry(id, test.applicationsFolder() + u"/A.app"_s)) << id.toStdString();
        EXPECT_FALSE(entries.removeAppEntry(id)) << id.toStdString();
    }
    EXPECT_EQ(readAll(dataHome + u"/victim.desktop"_s), "kept");
    EXPECT_FALSE(QFileInfo::exists(entries.applicationsFolder()));
}

TEST(DesktopEntriesTest, SorvanesOwnEntryStartsTheDesktopProgramWithSorvaneLinks)
{
    TestContext test;
    const DesktopEntries entries(test.context());
    EXPECT_FALSE(entries.writeSorvaneEntry(u"sorvane-desktop"_s)) << "a relative program";
    const QString program = u"/opt/100% \"So\" $orvane/sorvane-desktop"_s;
    ASSERT_TRUE(entries.writeSorvaneEntry(program));
    const QByteArray text = readAll(entries.applicationsFolder() + u"/sorvane.desktop"_s);
    EXPECT_EQ(validatorComplaints(test.root(), text), std::string());
    const QStringList lines = readEntry(text);
    EXPECT_TRUE(lines.contains(u"MimeType=x-scheme-handler/sorvane;"_s)) << text.toStdString();
    const QStringList exec = lines.filter(QRegularExpression(u"^Exec="_s));
    ASSERT_EQ(exec.size(), 1) << text.toStdString();
    EXPECT_EQ(execArguments(exec.first().mid(5)), (QStringList{program, u"%u"_s})) << text.toStdString();
}

// Where an installed Sorvane's entry lies decides whether the desktop app keeps one of its own.
struct SorvaneEntryCase
{
    const char *name;
    QString installedIn; // the data folder holding applications/com.ondrel.sorvane.desktop; none when empty
    QString dataDirs;    // XDG_DATA_DIRS
    DesktopEntries::SorvaneEntry expected;
};

class SorvaneEntryTest : public ::testing::TestWithParam<SorvaneEntryCase>
{
};

TEST_P(SorvaneEntryTest, OnlyAnInstalledEntryTheMenuFindsReplacesOurs)
{
    const SorvaneEntryCase &param = GetParam();
    TestContext test;
    const DesktopEntries entries(test.context());
    // "<root>" is the test's folder, "<relative>" the same from the working folder, "<data>" the
    // user's data home.
    const auto place = [&](QString path) {
        return path.replace(u"<root>"_s, test.root())
            .replace(u"<relative>"_s, QDir::current().relativeFilePath(test.root()))
            .replace(u"<data>"_s, qEnvironmentVariable("XDG_DATA_HOME"));
    };
    const QByteArray savedDataDirs = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", place(param.dataDirs).toUtf8());
    if (!param.installedIn.isEmpty())
        writeFile(place(param.installedIn) + u"/applications/com.ondrel.sorvane.desktop"_s, "x");
    // An entry an earlier run wrote, from before the package was installed.
    const QString own = entries.applicationsFolder() + u"/sorvane.desktop"_s;
    writeFile(own, "earlier");

    QString error;
    const DesktopEntries::SorvaneEntry result = entries.updateSorvaneEntry(u"/opt/sorvane/sorvane-desktop"_s, &error);
    qputenv("XDG_DATA_DIRS", savedDataDirs);

    EXPECT_EQ(result, param.expected) << error.toStdString();
    if (param.expected == DesktopEntries::SorvaneEntry::Installed) {
        EXPECT_FALSE(QFileInfo::exists(own));
    } else {
        const QStringList lines = readEntry(readAll(own));
        EXPECT_TRUE(lines.contains(u"Exec=\"/opt/sorvane/sorvane-desktop\" %u"_s)) << lines.join(u'\n').toStdString();
    }
    if (!param.installedIn.isEmpty())
        QFile::remove(place(param.installedIn) + u"/applications/com.ondrel.sorvane.desktop"_s);
}

INSTANTIATE_TEST_SUITE_P(
    DesktopEntries, SorvaneEntryTest,
    ::testing::Values(
        SorvaneEntryCase{"InstalledInADataFolder", u"<root>/usr/share"_s, u"<root>/elsewhere:<root>/usr/share"_s,
                         DesktopEntries::SorvaneEntry::Installed},
        SorvaneEntryCase{"NothingInstalled", {}, u"<root>/usr/share"_s, DesktopEntries::SorvaneEntry::Written},
        // A prefix the menu does not read (moved, or never added to the data folders).
        SorvaneEntryCase{"InstalledOutsideTheDataFolders", u"<root>/moved/share"_s, u"<root>/usr/share"_s,
                         DesktopEntries::SorvaneEntry::Written},
        // The base-directory rules ignore a relative folder.
        SorvaneEntryCase{"RelativeDataFolder", u"<root>/usr/share"_s, u"<relative>/usr/share"_s,
                         DesktopEntries::SorvaneEntry::Written},
        // The user's own data home listed among the system folders is still the user's.
        SorvaneEntryCase{"OnlyInTheUsersDataHome", u"<data>"_s, u"<data>"_s, DesktopEntries::SorvaneEntry::Written}),
    [](const ::testing::TestParamInfo<SorvaneEntryCase> &row) { return std::string(row.param.name); });
