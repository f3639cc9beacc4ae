#include "core/DesktopEntries.h"
#include "support/TestContext.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A reader of entry files written from the Desktop Entry Specification, sharing no code with the
// writer: every line of the group as a key and its unescaped value, in file order.
QList<std::pair<QString, QString>> readEntry(const QByteArray &text, QString *problem)
{
    QList<std::pair<QString, QString>> keys;
    const QStringList lines = QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
    if (lines.value(0) != u"[Desktop Entry]"_s)
        *problem = u"no group header"_s;
    static const QRegularExpression keyLine(u"\\A([A-Za-z0-9-]+)=(.*)\\z"_s);
    for (const QString &line : lines.mid(1)) {
        const QRegularExpressionMatch match = keyLine.match(line);
        if (!match.hasMatch()) {
            *problem = u"not a key line: "_s + line;
            continue;
        }
        QString value;
        const QString raw = match.captured(2);
        for (qsizetype i = 0; i < raw.size(); ++i) {
            if (raw[i] != u'\\' || i + 1 == raw.size()) {
                value += raw[i];
                continue;
            }
            const QChar next = raw[++i];
            value += next == u's' ? u' ' : next == u'n' ? u'\n' : next == u't' ? u'\t' : next == u'r' ? u'\r' : next;
        }
        keys.append({match.captured(1), value});
    }
    return keys;
}

// Exec's arguments: quoted arguments unescaped, "%%" read as '%', field codes kept as they are.
QStringList execArguments(const QString &exec, QString *problem)
{
    QStringList arguments;
    QString current;
    bool quoted = false;
    bool inArgument = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (quoted) {
            if (c == u'\\' && i + 1 < exec.size() && u"\"`$\\"_s.contains(exec[i + 1]))
                current += exec[++i];
            else if (c == u'"')
                quoted = false;
            else if (c == u'%' && exec.mid(i, 2) == u"%%"_s)
                current += exec[++i];
            else if (c == u'%')
                *problem = u"a field code inside quotes"_s;
            else
                current += c;
        } else if (c == u' ') {
            if (inArgument)
                arguments << current;
            current.clear();
            inArgument = false;
        } else if (c == u'"') {
            quoted = inArgument = true;
        } else if (u"\t\n'\\><~|&;$*?#()`"_s.contains(c)) {
            *problem = u"a reserved character outside quotes: "_s + c;
        } else {
            current += c;
            inArgument = true;
        }
    }
    if (quoted)
        *problem = u"an unclosed quote"_s;
    if (inArgument)
        arguments << current;
    return arguments;
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

} // namespace

TEST(DesktopEntriesTest, HostileNamesAndPathsReadBackAsOneExecNamingTheProgram)
{
    for (const bool browser : {false, true}) {
        for (const HostileCase &test : hostileCases) {
            SCOPED_TRACE(std::string(test.what) + (browser ? ", registered as a browser" : ""));
            const QStringList mimeTypes{u"x-scheme-handler/http"_s, u"x-scheme-handler/https"_s};
            const DesktopEntries::Entry entry{test.name, test.program, u"sorvane-APP-1"_s,
                                              DesktopEntries::windowClass(u"APP-1"_s), browser,
                                              browser ? mimeTypes : QStringList(), {u"Network"_s}};
            QString problem;
            const auto keys = readEntry(DesktopEntries::entryText(entry), &problem);
            EXPECT_EQ(problem, QString());
            QStringList names;
            QMap<QString, QString> values;
            for (const auto &[key, value] : keys) {
                names << key;
                values.insert(key, value);
            }
            QStringList expected{u"Type"_s, u"Version"_s, u"Name"_s, u"Exec"_s, u"Icon"_s, u"StartupWMClass"_s,
                                 u"Terminal"_s, u"Categories"_s};
            if (browser)
                expected << u"MimeType"_s;
            EXPECT_EQ(names, expected);
            EXPECT_EQ(values.value(u"Name"_s), test.name);
            EXPECT_EQ(values.value(u"StartupWMClass"_s), u"sorvane-APP-1"_s);
            const QStringList exec = execArguments(values.value(u"Exec"_s), &problem);
            EXPECT_EQ(problem, QString());
            const QStringList expectedExec =
                browser ? QStringList{test.program, u"%u"_s} : QStringList{test.program};
            EXPECT_EQ(exec, expectedExec);
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
