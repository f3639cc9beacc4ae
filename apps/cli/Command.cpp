#include "Command.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/Platform.h"
#include "editing/StartupRecovery.h"
#include "generation/DefinitionValidator.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QTextStream>

#include <cstdio>

Command::~Command() = default;

int Command::execute(const QStringList &arguments, Context &context)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(description());
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addHelpOption();
    parser.addOption({QStringLiteral("json"), QStringLiteral("Print one JSON document; diagnostics go to standard error.")});
    parser.addOption({QStringLiteral("quiet"), QStringLiteral("Hide diagnostic lines and warnings.")});
    parser.addOption({QStringLiteral("verbose"), QStringLiteral("Show diagnostic lines on standard error.")});
    addOptions(parser);

    const auto usageError = [&](const QString &text) {
        printError(QStringLiteral("sorvane %1: %2").arg(name(), text));
        return BadUsage;
    };
    if (!parser.parse(arguments))
        return usageError(parser.errorText());
    if (positionalArguments() != AnyNumber && parser.positionalArguments().size() > positionalArguments())
        return usageError(QStringLiteral("unexpected argument %1")
                              .arg(DefinitionValidator::quoted(parser.positionalArguments().at(positionalArguments()))));
    for (const QString &optionName : parser.optionNames()) {
        if (parser.values(optionName).size() > 1 && !repeatableOptions().contains(optionName))
            return usageError(QStringLiteral("--%1 may be given only once").arg(optionName));
    }
    if (parser.isSet(QStringLiteral("help")) || parser.isSet(QStringLiteral("help-all"))) {
        // Qt names the program by its path in the usage line; name the subcommand instead.
        QString help = parser.helpText();
        const qsizetype endOfUsage = help.indexOf(u'\n');
        help.replace(0, endOfUsage,
                     help.left(endOfUsage).replace(QCoreApplication::arguments().constFirst(),
                                                   QStringLiteral("sorvane ") + name()));
        print(help);
        return Success;
    }
    Logger::setLogFile(Platform::logFolder(context.homeFolder()) + QStringLiteral("/sorvane.log"));
    const bool verbose = parser.isSet(QStringLiteral("verbose")) && !parser.isSet(QStringLiteral("quiet"));
    Logger::setSink(verbose ? Logger::Sink::StandardError : Logger::Sink::Silent);
    Logger::setEchoWarnings(!parser.isSet(QStringLiteral("quiet")));
    // Whatever a killed earlier run left half-done is finished or undone before anything else.
    StartupRecovery(context).run();
    return run(parser, context);
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
