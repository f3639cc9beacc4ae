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
#include <QTextStream>

#include <algorithm>
#include <cstdio>
#include <optional>

using namespace Qt::Literals::StringLiterals;

Command::~Command() = default;

namespace {

// Why `value` is not of the kind its value name says, or nothing.
std::optional<QString> wrongKind(const QString &valueName, const QString &value)
{
    const QFileInfo file(value);
    if (valueName == u"DIR"_s && file.exists() && !file.isDir())
        return u"%1 is not a folder"_s.arg(DefinitionValidator::quoted(value));
    if (valueName == u"FILE"_s && file.isDir())
        return u"%1 is a folder, not a file"_s.arg(DefinitionValidator::quoted(value));
    if (valueName == u"SECONDS"_s) {
        bool number = false;
        value.toUInt(&number);
        if (!number)
            return u"%1 is not a whole number of seconds"_s.arg(DefinitionValidator::quoted(value));
    }
    return std::nullopt;
}

} // namespace

int Command::execute(const QStringList &arguments, Context &context)
{
    QCommandLineParser parser;
    prepareParser(parser);
    const CommandSyntax syntax = CommandSyntax::of(parser);

    const auto usageError = [&](const QString &text) {
        printError(u"sorvane %1: %2"_s.arg(name(), text));
        return BadUsage;
    };
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    const QStringList positionals = parser.positionalArguments();
    if (positionalArguments() != AnyNumber && positionals.size() > positionalArguments())
        return usageError(u"unexpected argument %1"_s.arg(DefinitionValidator::quoted(positionals.at(positionalArguments()))));
    for (const QString &optionName : parser.optionNames()) {
        if (parser.values(optionName).size() > 1 && !repeatableOptions().contains(optionName))
            return usageError(u"--%1 may be given only once"_s.arg(optionName));
    }
    if (parser.isSet(u"help"_s) || parser.isSet(u"help-all"_s)) {
        if (parser.isSet(u"json"_s))
            printJson(describe(syntax));
        else
            print(helpText(parser));
        return Success;
    }
    if (positionals.size() < requiredPositionalArguments())
        return usageError(u"missing %1"_s.arg(syntax.positionals.value(positionals.size(), u"argument"_s)));
    for (const QString &positional : positionals) {
        if (positional.isEmpty())
            return usageError(u"an argument is empty"_s);
    }
    for (const QStringList &group : exclusiveOptions()) {
        QStringList given;
        for (const QString &option : group) {
            if (parser.isSet(option))
                given.append(u"--"_s + option);
        }
        if (given.size() > 1)
            return usageError(u"%1 exclude each other"_s.arg(given.join(u" and "_s)));
    }
    for (const QString &optionName : parser.optionNames()) {
        const CommandSyntax::Option *option = syntax.option(optionName);
        if (!option || option->valueName.isEmpty())
            continue;
        for (const QString &value : parser.values(optionName)) {
            if (value.isEmpty())
                return usageError(u"--%1 needs a value (%2)"_s.arg(optionName, option->valueName));
            if (const std::optional<QString> wrong = wrongKind(option->valueName, value))
                return usageError(u"--%1: %2"_s.arg(optionName, *wrong));
        }
    }
    for (qsizetype i = 0; i < positionals.size(); ++i) {
        // The value name of a positional argument is its name ("FILE").
        const QString kind = syntax.positionals.value(std::min(i, syntax.positionals.size() - 1)).toUpper();
        if (const std::optional<QString> wrong = wrongKind(kind, positionals.at(i)))
            return usageError(*wrong);
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

void Command::printNote(const QString &text, const QCommandLineParser &parser)
{
    if (!parser.isSet(QStringLiteral("quiet")) && !parser.isSet(QStringLiteral("json")))
        printError(text);
}

void Command::printWarning(const QString &text, const QCommandLineParser &parser)
{
    if (!parser.isSet(QStringLiteral("quiet")))
        printError(QString::fromUtf8("\u26a0\ufe0f ") + text);
}
