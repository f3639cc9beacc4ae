#include "Command.h"

#include "CommandSyntax.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "editing/StartupRecovery.h"
#include "generation/DefinitionValidator.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <optional>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

Command::~Command() = default;

namespace {

// Why `value` is not of the kind its value name says, or nothing; `field` names where it was
// given.
std::optional<QString> wrongKind(const QString &field, const QString &valueName, const QString &value)
{
    const QFileInfo file(value);
    const QString quoted = DefinitionValidator::quoted(value);
    if (valueName == u"DIR"_s && file.exists() && !file.isDir())
        return CliMessages::text(CliMessage::NotAFolder, {field, quoted});
    if (valueName == u"FILE"_s && file.isDir())
        return CliMessages::text(CliMessage::NotAFile, {field, quoted});
    if (valueName == u"SECONDS"_s) {
        bool number = false;
        value.toUInt(&number);
        if (!number)
            return CliMessages::text(CliMessage::NotWholeSeconds, {field, quoted});
    }
    return std::nullopt;
}

// Qt's parser error ("Unknown option 'x'.", "Missing value after '--x'.") in our words.
QString parserProblem(QString text, const QString &command, const CommandSyntax &syntax)
{
    if (text.endsWith(u'.'))
        text.chop(1);
    static const QRegularExpression unknown(u"^Unknown options?:? '?([^']*)'?$"_s);
    static const QRegularExpression afterOption(u"^(Missing|Unexpected) value after '-*([^'=]*)'$"_s);
    if (const QRegularExpressionMatch match = unknown.match(text); match.hasMatch())
        return CliMessages::text(CliMessage::UnknownOption, {match.captured(1), command});
    if (const QRegularExpressionMatch match = afterOption.match(text); match.hasMatch()) {
        const QString option = match.captured(2);
        if (match.captured(1) == u"Unexpected"_s)
            return CliMessages::text(CliMessage::UnexpectedValue, {option});
        const CommandSyntax::Option *known = syntax.option(option);
        return CliMessages::text(CliMessage::MissingValue, {option, known ? known->valueName : u"VALUE"_s});
    }
    if (!text.isEmpty())
        text[0] = text.at(0).toLower();
    return CliMessages::text(CliMessage::UnreadableCommandLine, {text, command});
}

} // namespace

int Command::execute(const QStringList &arguments, Context &context)
{
    QCommandLineParser parser;
    prepareParser(parser);
    const CommandSyntax syntax = CommandSyntax::of(parser);

    const auto refuse = [&](const QString &text) {
        printFailure(text);
        return BadUsage;
    };
    const auto usageError = [&](CliMessage message, const QStringList &fields) {
        return refuse(CliMessages::text(message, fields));
    };
    if (!parser.parse(arguments))
        return refuse(parserProblem(parser.errorText(), name(), syntax));
    const QStringList positionals = parser.positionalArguments();
    if (positionalArguments() != AnyNumber && positionals.size() > positionalArguments())
        return usageError(CliMessage::ExtraArgument,
                          {DefinitionValidator::quoted(positionals.at(positionalArguments())), name()});
    for (const QString &optionName : parser.optionNames()) {
        if (parser.values(optionName).size() > 1 && !repeatableOptions().contains(optionName))
            return usageError(CliMessage::OptionRepeated, {optionName});
    }
    if (parser.isSet(u"help"_s) || parser.isSet(u"help-all"_s)) {
        if (parser.isSet(u"json"_s))
            printJson(describe(syntax));
        else
            print(helpText(parser));
        return Success;
    }
    // The name of the positional argument at `index` ("APP"); the last names any further ones.
    const auto positionalName = [&](qsizetype index) {
        return syntax.positionals.value(std::min(index, syntax.positionals.size() - 1), u"argument"_s).toUpper();
    };
    if (positionals.size() < requiredPositionalArguments())
        return usageError(CliMessage::MissingArgument, {positionalName(positionals.size()), name()});
    for (qsizetype i = 0; i < positionals.size(); ++i) {
        if (positionals.at(i).isEmpty())
            return usageError(CliMessage::EmptyArgument, {positionalName(i)});
    }
    for (const QStringList &group : exclusiveOptions()) {
        QStringList given;
        for (const QString &option : group) {
            if (parser.isSet(option))
                given.append(option);
        }
        if (given.size() > 1)
            return usageError(CliMessage::ExclusiveOptions,
                              {given.takeFirst(), u"--"_s + given.join(u" and --"_s)});
    }
    for (const QString &optionName : parser.optionNames()) {
        const CommandSyntax::Option *option = syntax.option(optionName);
        if (!option || option->valueName.isEmpty())
            continue;
        for (const QString &value : parser.values(optionName)) {
            if (value.isEmpty())
                return usageError(CliMessage::MissingValue, {optionName, option->valueName});
            if (const std::optional<QString> wrong = wrongKind(optionName, option->valueName, value))
                return refuse(*wrong);
        }
    }
    for (qsizetype i = 0; i < positionals.size(); ++i) {
        // The value name of a positional argument is its name ("FILE").
        if (const std::optional<QString> wrong = wrongKind(positionalName(i), positionalName(i), positionals.at(i)))
            return refuse(*wrong);
    }

    Logger::setLogFile(Platform::logFolder(context.homeFolder()) + u"/sorvane.log"_s);
    const bool verbose = parser.isSet(u"verbose"_s) && !parser.isSet(u"quiet"_s);
    Logger::setSink(verbose ? Logger::Sink::StandardError : Logger::Sink::Silent);
    Logger::setEchoWarnings(!parser.isSet(u"quiet"_s));
    // Whatever a killed earlier run left half-done is finished or undone before anything else.
    StartupRecovery(context).run();
    return run(parser, context);
}

void Command::prepareParser(QCommandLineParser &parser)
{
    parser.setApplicationDescription(description());
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addHelpOption();
    parser.addOption({u"json"_s, u"Print one JSON document; diagnostics go to standard error."_s});
    parser.addOption({u"quiet"_s, u"Hide diagnostic lines and warnings."_s});
    parser.addOption({u"verbose"_s, u"Show diagnostic lines on standard error."_s});
    addOptions(parser);
}

QString Command::helpText(const QCommandLineParser &parser) const
{
    // Qt names the program by its path in the usage line; name the subcommand instead.
    QString help = parser.helpText();
    const qsizetype endOfUsage = help.indexOf(u'\n');
    help.replace(0, endOfUsage,
                 help.left(endOfUsage).replace(QCoreApplication::arguments().constFirst(), u"sorvane "_s + name()));
    return help;
}

QVariantMap Command::describe()
{
    QCommandLineParser parser;
    prepareParser(parser);
    QVariantMap description = describe(CommandSyntax::of(parser));
    const QString usage = helpText(parser).section(u'\n', 0, 0);
    description.insert(u"usage"_s, usage.mid(usage.indexOf(u"sorvane"_s)));
    return description;
}

QVariantMap Command::describe(const CommandSyntax &syntax) const
{
    QVariantList options;
    for (const CommandSyntax::Option &option : syntax.options) {
        const bool repeatable = std::any_of(option.names.cbegin(), option.names.cend(), [this](const QString &each) {
            return repeatableOptions().contains(each);
        });
        options.append(QVariantMap{{u"names"_s, option.names},
                                   {u"value"_s, option.valueName.isEmpty() ? QVariant() : QVariant(option.valueName)},
                                   {u"description"_s, option.description},
                                   {u"repeatable"_s, repeatable}});
    }
    QVariantList exclusive;
    for (const QStringList &group : exclusiveOptions())
        exclusive.append(group);
    return {{u"command"_s, name()},
            {u"description"_s, description()},
            {u"options"_s, options},
            {u"positionals"_s, syntax.positionals},
            {u"positionalDescriptions"_s, syntax.positionalDescriptions},
            {u"minimumPositionals"_s, requiredPositionalArguments()},
            {u"maximumPositionals"_s, positionalArguments() == AnyNumber ? QVariant() : QVariant(positionalArguments())},
            {u"exclusive"_s, exclusive}};
}

void Command::addOptions(QCommandLineParser &)
{
}

void Command::printJson(const QVariant &document)
{
    const QJsonDocument json = document.typeId() == QMetaType::QVariantList
                                   ? QJsonDocument::fromVariant(document)
                                   : QJsonDocument::fromVariant(document.toMap());
    QTextStream(stdout) << json.toJson(QJsonDocument::Indented);
}

void Command::print(const QString &text)
{
    QTextStream out(stdout);
    out << text;
    if (!text.endsWith(u'\n'))
        out << '\n';
}

void Command::printError(const QString &text)
{
    QTextStream(stderr) << text << '\n';
}

void Command::printFailure(const QString &text) const
{
    printError(u"sorvane %1: %2"_s.arg(name(), text));
}

void Command::printFailure(CliMessage message, const QStringList &arguments) const
{
    printFailure(CliMessages::text(message, arguments));
}

void Command::printNote(const QString &text, const QCommandLineParser &parser)
{
    if (!parser.isSet(QStringLiteral("quiet")) && !parser.isSet(QStringLiteral("json")))
        printError(text);
}

void Command::printProgress(qsizetype done, qsizetype total, const QString &item, const QCommandLineParser &parser)
{
    if (isatty(STDERR_FILENO) && !parser.isSet(QStringLiteral("quiet")) && !parser.isSet(QStringLiteral("json")))
        printError(u"[%1/%2] %3"_s.arg(done).arg(total).arg(item));
}

void Command::printWarning(const QString &text, const QCommandLineParser &parser)
{
    if (!parser.isSet(QStringLiteral("quiet")))
        printError(QString::fromUtf8("\u26a0\ufe0f ") + text);
}
