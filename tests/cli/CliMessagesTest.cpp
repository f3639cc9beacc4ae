// The command line's own messages: every one names the field the user typed, says what is wrong
// and what to do, and names only options and commands that exist.

#include "CliMessages.h"
#include "Commands.h"

#include "core/AppDefinition.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

struct CommandLineWords
{
    QSet<QString> commands;
    QSet<QString> options;     // without dashes
    QSet<QString> arguments;   // as the help writes them: APP, FILE
};

const CommandLineWords &words()
{
    static const CommandLineWords all = [] {
        CommandLineWords found;
        for (const auto &command : Commands::all()) {
            const QVariantMap description = command->describe();
            found.commands.insert(description.value(u"command"_s).toString());
            for (const QVariant &option : description.value(u"options"_s).toList()) {
                for (const QString &name : option.toMap().value(u"names"_s).toStringList())
                    found.options.insert(name);
            }
            for (const QString &argument : description.value(u"positionals"_s).toStringList())
                found.arguments.insert(argument.toUpper());
        }
        return found;
    }();
    return all;
}

QList<int> placeholders(const QString &text)
{
    static const QRegularExpression placeholder(u"%([1-9])"_s);
    QList<int> numbers;
    for (const QRegularExpressionMatch &match : placeholder.globalMatch(text)) {
        if (!numbers.contains(match.captured(1).toInt()))
            numbers.append(match.captured(1).toInt());
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

} // namespace

TEST(CliMessages, EachNamesItsFieldWhatIsWrongAndWhatToDo)
{
    const QList<CliMessages::Entry> &table = CliMessages::table();
    for (qsizetype i = 0; i < table.size(); ++i) {
        const CliMessages::Entry &entry = table.at(i);
        const QString whole = entry.field + u' ' + entry.problem + u' ' + entry.remedy;
        SCOPED_TRACE(whole.toStdString());
        ASSERT_EQ(int(entry.id), i) << "the table is out of the order of CliMessage";

        switch (entry.kind) {
        case CliMessages::FieldKind::Option:
            EXPECT_TRUE(words().options.contains(entry.field)) << "no command has --" << qPrintable(entry.field);
            break;
        case CliMessages::FieldKind::Argument:
            EXPECT_TRUE(words().arguments.contains(entry.field)) << "no command takes " << qPrintable(entry.field);
            break;
        case CliMessages::FieldKind::EntryKey: {
            // A key the reader of app lists reads: given with the wrong type, it is refused by name.
            QString error;
            EXPECT_FALSE(AppDefinition::fromDictionary({{entry.field, QVariantList{}}}, QDir::tempPath(), &error));
            EXPECT_TRUE(error.startsWith(entry.field + u": "_s)) << qPrintable(error);
            break;
        }
        case CliMessages::FieldKind::Given:
            EXPECT_EQ(entry.field, u"%1"_s);
            break;
        }
        EXPECT_FALSE(entry.problem.trimmed().isEmpty());
        EXPECT_FALSE(entry.remedy.trimmed().isEmpty());
        EXPECT_NE(entry.problem, entry.remedy);

        // %1 .. %n, each filled in.
        const QList<int> numbers = placeholders(whole);
        QStringList arguments;
        for (int n = 1; n <= numbers.size(); ++n) {
            EXPECT_EQ(numbers.at(n - 1), n) << "placeholders are not %1 to %" << numbers.size();
            arguments.append(u"<argument %1>"_s.arg(n));
        }
        const QString text = CliMessages::text(entry.id, arguments);
        EXPECT_TRUE(placeholders(text).isEmpty()) << qPrintable(text);
        for (const QString &argument : std::as_const(arguments))
            EXPECT_TRUE(text.contains(argument)) << qPrintable(text);

        // What it tells the user to type exists.
        static const QRegularExpression option(u"--([a-z][a-z-]*)"_s);
        for (const QRegularExpressionMatch &match : option.globalMatch(text))
            EXPECT_TRUE(words().options.contains(match.captured(1))) << "no command has " << qPrintable(match.captured(0));
        static const QRegularExpression command(u"`sorvane ([a-z][a-z-]*)"_s);
        for (const QRegularExpressionMatch &match : command.globalMatch(text))
            EXPECT_TRUE(words().commands.contains(match.captured(1))) << "no command " << qPrintable(match.captured(1));
    }
    EXPECT_EQ(table.constLast().id, CliMessage::NoTerminalForSwitch) << "a message is missing from the table";
}

TEST(CliMessages, ReplacesItsPlaceholdersInOnePass)
{
    // A name that looks like a placeholder stays as it was typed.
    EXPECT_EQ(CliMessages::text(CliMessage::NameKeptOnEdit, {u"'%2' is too long"_s, u"shorten it"_s, u"'%1'"_s}),
              u"name: '%2' is too long, so '%1' keeps its name; shorten it"_s);
}

TEST(CliMessages, NamesADefinitionsFieldByTheOptionThatSetsIt)
{
    const QVariantList rules{QVariantMap{{u"action"_s, u"route"_s}}, QVariantMap{{u"action"_s, u"allow"_s}}};
    const QList<std::pair<QString, QString>> cases{
        {u"appURL: 'x' is not an http or https address with a host"_s, u"url: 'x' is not an http or https address with a host"_s},
        {u"tabsList[2]: 'y' is not an http or https address"_s, u"tab: 'y' is not an http or https address"_s},
        {u"routingRules[0].pattern: 'a b' is not a host"_s, u"route: 'a b' is not a host"_s},
        {u"routingRules[1].pattern: 'a b' is not a host"_s, u"allow: 'a b' is not a host"_s},
        {u"accentColor: 'red' is not six hexadecimal digits"_s, u"accent: 'red' is not six hexadecimal digits"_s},
        {u"Cannot write /x: disk full"_s, u"Cannot write /x: disk full"_s},
        {u"unknownField: kept"_s, u"unknownField: kept"_s},
    };
    for (const auto &[refusal, expected] : cases)
        EXPECT_EQ(CliMessages::inOptionTerms(refusal, rules), expected);
    for (const auto &[field, optionName] : CliMessages::optionsOfDefinitionFields())
        EXPECT_TRUE(words().options.contains(optionName)) << qPrintable(field) << " -> --" << qPrintable(optionName);
}

TEST(CliMessages, CommandsWordNoRefusalOutsideTheTable)
{
    // A message written inline would escape the checks above.
    static const QRegularExpression inlineMessage(u"(printFailure|printError)\\(\\s*(u\"|QStringLiteral)|\\*error = u\""_s);
    const QDir sources(QStringLiteral(SORVANE_SOURCE_DIR "/apps/cli"));
    const QStringList files = sources.entryList({u"*.cpp"_s}, QDir::Files);
    ASSERT_GT(files.size(), 10);
    for (const QString &name : files) {
        if (name == u"CliMessages.cpp"_s || name == u"Command.cpp"_s)
            continue;
        QFile file(sources.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
        const QString text = QString::fromUtf8(file.readAll());
        const QRegularExpressionMatch found = inlineMessage.match(text);
        EXPECT_FALSE(found.hasMatch()) << qPrintable(name) << " line "
                                       << text.left(found.capturedStart()).count(u'\n') + 1;
    }
}
