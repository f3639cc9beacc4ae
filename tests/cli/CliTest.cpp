#include "CliSandbox.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// Version and help print on standard output; bad usage exits with 2 and says why on standard error
// (each command's own: EveryCommandAnswersBadUsageWithItsUsageError).
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
        // An option its help says to repeat takes every value given.
        {{u"script"_s, u"--name"_s, u"Tabs"_s, u"--tab"_s, u"https://a.example/"_s, u"--tab"_s, u"https://b.example/"_s},
         0, "TABS=\"https://a.example/ https://b.example/\""},
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

// Every command's usage, walked from the command's own description (`--help --json`), so that a new
// option or command is covered as it is added: a value missing, empty or of the wrong kind for its
// value name, a switch given a value, an unknown option, an option given twice (unless it repeats), options that
// exclude each other, one positional argument too few or too many. Each is a usage error: exit 2,
// one line on standard error that names the culprit, nothing on standard output; never a crash.
TEST(Cli, EveryCommandAnswersBadUsageWithItsUsageError)
{
    const CliSandbox cli;
    const QString file = cli.test.root() + u"/a-file"_s;
    writeFile(file, "x");
    const QString folder = cli.test.root();
    const QString missing = cli.test.root() + u"/missing"_s;
    // A value of the wrong kind for each value name that has a kind, and one of the right kind.
    const QHash<QString, std::pair<QString, QString>> kinds{
        {u"DIR"_s, {file, missing}}, {u"FILE"_s, {folder, missing}}, {u"SECONDS"_s, {u"soon"_s, u"5"_s}}};
    const auto goodValue = [&](const QString &valueName) { return kinds.value(valueName, {{}, u"x"_s}).second; };

    const CliRun overview = cli.sorvane({u"--help"_s});
    const QString commandList = QString::fromUtf8(overview.out).section(u"Commands:\n"_s, 1).section(u"\n\n"_s, 0, 0);
    QStringList commands;
    for (const QString &line : commandList.split(u'\n', Qt::SkipEmptyParts))
        commands.append(line.simplified().section(u' ', 0, 0));
    ASSERT_FALSE(commands.isEmpty()) << overview.out.constData();

    for (const QString &command : commands) {
        SCOPED_TRACE(command.toStdString());
        const CliRun described = cli.sorvane({command, u"--help"_s, u"--json"_s});
        ASSERT_EQ(described.exitCode, 0) << described.err.constData();
        const QJsonObject syntax = QJsonDocument::fromJson(described.out).object();
        const QJsonArray options = syntax.value(u"options"_s).toArray();
        ASSERT_FALSE(options.isEmpty()) << described.out.constData();
        const QStringList positionals = syntax.value(u"positionals"_s).toVariant().toStringList();
        const int required = syntax.value(u"minimumPositionals"_s).toInt();
        // Enough positional arguments that only the case's own fault is left.
        const QStringList given(required, missing);

        struct Case
        {
            QStringList arguments;
            QString field; // what the error line names first
        };
        QList<Case> cases{{given + QStringList{u"--no-such-option"_s}, u"no-such-option"_s}};
        // Runs that give a repeatable option twice: whatever else they fail on, not on that.
        QList<QStringList> repeated;
        if (required > 0)
            cases.append({{}, positionals.value(0).toUpper()});
        if (!syntax.value(u"maximumPositionals"_s).isNull()) {
            const QStringList most(syntax.value(u"maximumPositionals"_s).toInt(), missing);
            cases.append({most + QStringList{u"surplus"_s}, u"'surplus'"_s});
        }
        for (qsizetype i = 0; i < std::min<qsizetype>(required, positionals.size()); ++i) {
            if (const auto kind = kinds.find(positionals.at(i).toUpper()); kind != kinds.end()) {
                QStringList arguments = given;
                arguments[i] = kind->first;
                cases.append({arguments, positionals.at(i).toUpper()});
            }
        }
        for (const QJsonValue &value : options) {
            const QJsonObject option = value.toObject();
            QString name;
            for (const QJsonValue &each : option.value(u"names"_s).toArray())
                name = each.toString().size() > name.size() - 2 ? u"--"_s + each.toString() : name;
            const QString valueName = option.value(u"value"_s).toString();
            if (name == u"--help"_s || name == u"--help-all"_s)
                continue;
            const QString field = name.mid(2);
            if (valueName.isEmpty()) {
                cases.append({given + QStringList{name + u"=yes"_s}, field});
                continue;
            }
            cases.append({given + QStringList{name}, field});
            cases.append({given + QStringList{name + u'='}, field});
            if (kinds.contains(valueName))
                cases.append({given + QStringList{name, kinds.value(valueName).first}, field});
            if (!option.value(u"repeatable"_s).toBool())
                cases.append({given + QStringList{name, goodValue(valueName), name, goodValue(valueName)}, field});
            else
                repeated.append(QStringList{command} + given + QStringList{name, goodValue(valueName), name, goodValue(valueName)});
        }
        for (const QJsonValue &group : syntax.value(u"exclusive"_s).toArray()) {
            QStringList arguments = given;
            for (const QJsonValue &member : group.toArray()) {
                const QString name = member.toString();
                const auto option = std::find_if(options.begin(), options.end(), [&](const QJsonValue &each) {
                    return each.toObject().value(u"names"_s).toArray().contains(name);
                });
                ASSERT_NE(option, options.end()) << name.toStdString();
                arguments.append(u"--"_s + name);
                if (const QString valueName = option->toObject().value(u"value"_s).toString(); !valueName.isEmpty())
                    arguments.append(goodValue(valueName));
            }
            cases.append({arguments, arguments.at(given.size()).mid(2)});
        }

        QList<QStringList> runs;
        for (const Case &c : cases)
            runs.append(QStringList{command} + c.arguments);
        const QList<CliRun> outcomes = cli.sorvaneEach(runs);
        for (qsizetype i = 0; i < cases.size(); ++i) {
            const Case &c = cases.at(i);
            const CliRun &run = outcomes.at(i);
            SCOPED_TRACE(c.arguments.join(u' ').toStdString());
            EXPECT_EQ(run.exitCode, 2) << run.err.constData();
            EXPECT_TRUE(run.out.isEmpty()) << run.out.constData();
            EXPECT_TRUE(run.err.startsWith(u"sorvane %1: %2: "_s.arg(command, c.field).toUtf8())) << run.err.constData();
        }
        for (const CliRun &run : cli.sorvaneEach(repeated))
            EXPECT_FALSE(run.err.contains("given more than once")) << run.err.constData();
        // With no arguments at all a command does its work or says what it needs; it never crashes.
        const CliRun bare = cli.sorvane({command});
        EXPECT_GE(bare.exitCode, 0) << bare.err.constData();
        EXPECT_LE(bare.exitCode, 2) << bare.err.constData();
    }
}

#ifdef SORVANE_CLI_DOCS
// The description scripts read (`sorvane --help --json`) says what the help texts say, and the
// manual page and bash completion made from it offer every command and option.
TEST(Cli, HelpDescriptionManualAndCompletionCoverEveryOption)
{
    const CliSandbox cli;
    const CliRun described = cli.sorvane({u"--help"_s, u"--json"_s});
    ASSERT_EQ(described.exitCode, 0) << described.err.constData();
    const QJsonObject all = QJsonDocument::fromJson(described.out).object();
    const QJsonArray commands = all.value(u"commands"_s).toArray();
    const QString overview = QString::fromUtf8(cli.sorvane({u"--help"_s}).out);
    ASSERT_FALSE(commands.isEmpty()) << described.out.constData();

    QFile manFile(u"" SORVANE_CLI_DOCS "/sorvane.1"_s);
    ASSERT_TRUE(manFile.open(QIODevice::ReadOnly));
    // Roff escapes its hyphens; the page is compared in the program's own spelling.
    const QString manual = QString::fromUtf8(manFile.readAll()).replace(u"\\-"_s, u"-"_s);
    const QString completion = u"" SORVANE_CLI_DOCS "/sorvane.bash"_s;
    // What bash offers for the words typed so far, one run per command.
    const auto complete = [&](const QList<QStringList> &typed) {
        QString script = u"source \"$1\"\n"_s;
        for (const QStringList &words : typed) {
            script += u"COMP_WORDS=(%1); COMP_CWORD=%2; COMPREPLY=(); _sorvane; echo \"${COMPREPLY[*]}\"\n"_s.arg(
                words.join(u' '), QString::number(words.size() - 1));
        }
        const CliRun run = CliSandbox::run(u"/bin/bash"_s, {u"-c"_s, script, u"bash"_s, completion}, cli.environment);
        return QString::fromUtf8(run.out).split(u'\n', Qt::SkipEmptyParts);
    };

    for (const QJsonValue &value : commands) {
        const QJsonObject command = value.toObject();
        const QString name = command.value(u"command"_s).toString();
        SCOPED_TRACE(name.toStdString());
        EXPECT_TRUE(overview.contains(u"  "_s + name.leftJustified(15) + u' ' + command.value(u"description"_s).toString()));
        EXPECT_TRUE(manual.contains(u".SS "_s + name + u'\n'));
        EXPECT_TRUE(manual.contains(command.value(u"usage"_s).toString().section(u' ', 2)));

        // A plain run of the command's --help holds each option's description, wrapped.
        const QString help = QString::fromUtf8(cli.sorvane({name, u"--help"_s}).out).simplified();
        QList<QStringList> typed{{u"sorvane"_s, name.left(name.size() - 1)}};
        QStringList offered;
        for (const QJsonValue &each : command.value(u"options"_s).toArray()) {
            const QJsonObject option = each.toObject();
            const QString description = option.value(u"description"_s).toString();
            const QString longName = option.value(u"names"_s).toArray().last().toString();
            EXPECT_FALSE(description.isEmpty()) << longName.toStdString();
            EXPECT_TRUE(help.contains(description)) << description.toStdString();
            EXPECT_TRUE(manual.contains(description.section(u' ', 0, 3))) << description.toStdString();
            typed.append({u"sorvane"_s, name, u"--"_s + longName.left(longName.size() - 1)});
            offered.append(u"--"_s + longName);
        }
        const QStringList completed = complete(typed);
        ASSERT_EQ(completed.size(), typed.size()) << completed.join(u" | "_s).toStdString();
        EXPECT_TRUE(completed.first().split(u' ').contains(name)) << completed.first().toStdString();
        for (qsizetype i = 0; i < offered.size(); ++i)
            EXPECT_TRUE(completed.at(i + 1).split(u' ').contains(offered.at(i))) << completed.at(i + 1).toStdString();
    }
}

// Bash completes an APP argument with the names `sorvane list` prints, and a word that looks like
// a path with the files there.
TEST(Cli, BashCompletesAppNamesFromTheList)
{
    const CliSandbox cli;
    const QString apps = cli.test.root() + u"/Apps"_s;
    for (const QString &name : {u"Mail"_s, u"Mail Archive"_s, u"Chat"_s}) {
        const CliRun made = cli.sorvane({u"create"_s, u"--name"_s, name, u"--url"_s, u"https://example.org/"_s,
                                         u"--browser"_s, u"chromium"_s, u"--allow-missing-browser"_s, u"--into"_s, apps});
        ASSERT_EQ(made.exitCode, 0) << made.err.constData();
    }
    const struct
    {
        QString typed; // the words after the program, as bash hands them over
        QStringList offered;
    } cases[] = {
        {u"info Ma"_s, {u"Mail"_s, u"Mail Archive"_s}},
        {u"edit 'Mail\\ A'"_s, {u"Mail Archive"_s}},
        {u"delete ''"_s, {u"Chat"_s, u"Mail"_s, u"Mail Archive"_s}},
        {u"export --all C"_s, {u"Chat"_s}},
        {u"update X"_s, {}},
        {u"info "_s + apps + u"/Ch"_s, {apps + u"/Chat.app"_s}},
        {u"browsers Ma"_s, {}},
    };
    QString script = u"source \"$1\"\n"_s;
    for (const auto &c : cases) {
        script += u"COMP_WORDS=(\"$2\" %1); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); COMPREPLY=(); _sorvane; "
                  u"printf '%s|' \"${COMPREPLY[@]}\"; echo\n"_s.arg(c.typed);
    }
    const CliRun run = CliSandbox::run(u"/bin/bash"_s,
                                       {u"-c"_s, script, u"bash"_s, u"" SORVANE_CLI_DOCS "/sorvane.bash"_s,
                                        QStringLiteral(SORVANE_CLI)},
                                       cli.environment);
    const QStringList lines = QString::fromUtf8(run.out).split(u'\n');
    ASSERT_GE(lines.size(), std::size(cases)) << run.out.constData() << run.err.constData();
    for (qsizetype i = 0; i < qsizetype(std::size(cases)); ++i) {
        QStringList offered = lines.at(i).split(u'|', Qt::SkipEmptyParts);
        offered.sort();
        EXPECT_EQ(offered, cases[i].offered) << qPrintable(cases[i].typed);
    }
}
#endif

// The READMEs name the commands people can run: the command list of README.md holds exactly the
// commands `sorvane --help` lists, and the examples run only commands that exist.
TEST(Cli, TheReadmesNameTheCommandsHelpLists)
{
    const CliRun help = CliSandbox().sorvane({u"--help"_s});
    ASSERT_EQ(help.exitCode, 0);
    QStringList helpVerbs;
    const QString helpText = QString::fromUtf8(help.out);
    const QString commands = helpText.section(u"Commands:\n"_s, 1).section(u"\n\n"_s, 0, 0);
    for (const QString &line : commands.split(u'\n', Qt::SkipEmptyParts))
        helpVerbs.append(line.trimmed().section(u' ', 0, 0));
    ASSERT_GE(helpVerbs.size(), 10) << help.out.constData();

    const QRegularExpression verbAtLineStart(u"^sorvane ([a-z][a-z-]*)\\b"_s, QRegularExpression::MultilineOption);
    const auto verbsIn = [&](const QString &text) {
        QStringList verbs;
        for (auto it = verbAtLineStart.globalMatch(text); it.hasNext();)
            verbs.append(it.next().captured(1));
        verbs.removeDuplicates();
        verbs.sort();
        return verbs;
    };
    const QString readme = QString::fromUtf8(readAll(QStringLiteral(SORVANE_SOURCE_DIR "/README.md")));
    const QString listing = readme.section(u"## The `sorvane` command"_s, 1).section(u"```"_s, 1, 1);
    helpVerbs.sort();
    EXPECT_EQ(verbsIn(listing), helpVerbs);
    for (const QString &verb : verbsIn(QString::fromUtf8(readAll(QStringLiteral(SORVANE_SOURCE_DIR "/examples/README.md")))))
        EXPECT_TRUE(helpVerbs.contains(verb)) << "examples/README.md runs `sorvane " << qPrintable(verb) << "`";
}
