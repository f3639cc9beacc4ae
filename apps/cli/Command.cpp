#include "Command.h"

#include "core/Logger.h"

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
    parser.addOption({QStringLiteral("quiet"), QStringLiteral("Hide diagnostic lines.")});
    addOptions(parser);

    if (!parser.parse(arguments)) {
        printError(QStringLiteral("sorvane %1: %2").arg(name(), parser.errorText()));
        return BadUsage;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        // Qt names the program by its path in the usage line; name the subcommand instead.
        QString help = parser.helpText();
        const qsizetype endOfUsage = help.indexOf(u'\n');
        help.replace(0, endOfUsage,
                     help.left(endOfUsage).replace(QCoreApplication::arguments().constFirst(),
                                                   QStringLiteral("sorvane ") + name()));
        print(help);
        return Success;
    }
    if (parser.isSet(QStringLiteral("quiet")))
        Logger::setSink(Logger::Sink::Silent);
    else if (parser.isSet(QStringLiteral("json")))
        Logger::setSink(Logger::Sink::StandardError);
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
