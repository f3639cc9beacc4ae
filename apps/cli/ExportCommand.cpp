#include "ExportCommand.h"

#include "AppReference.h"

#include "editing/SNExporter.h"
#include "generation/DefinitionValidator.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

void ExportCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"app"_s, u"An app: its name, registry id (or its first 8 characters) or bundle path."_s, u"APP ..."_s);
    parser.addOptions({
        {u"all"_s, u"Every app Sorvane made."_s},
        {u"output"_s, u"The file to write (\".sorvane\" is added when missing)."_s, u"FILE"_s},
    });
}

int ExportCommand::run(const QCommandLineParser &parser, Context &context)
{
    if (parser.isSet(u"all"_s) == !parser.positionalArguments().isEmpty()) {
        printFailure(CliMessage::NoAppsNamedOrAll);
        return BadUsage;
    }
    if (parser.value(u"output"_s).isEmpty()) {
        printFailure(CliMessage::OutputMissing);
        return BadUsage;
    }
    SNExporter exporter(context);
    const QList<SNExporter::ExportRow> offered = exporter.rows();
    QList<SNExporter::ExportRow> chosen;
    if (parser.isSet(u"all"_s))
        chosen = offered;
    for (const QString &argument : parser.positionalArguments()) {
        QString error;
        bool ambiguous = false;
        const std::optional<AppReference> app = AppReference::resolve(argument, context, &error, &ambiguous);
        const auto row = std::find_if(offered.cbegin(), offered.cend(), [&](const SNExporter::ExportRow &candidate) {
            return app && candidate.appPath == app->path;
        });
        if (!app || row == offered.cend()) {
            printFailure(app ? CliMessages::text(CliMessage::NothingToExport,
                                                 {DefinitionValidator::quoted(argument), app->path})
                             : error);
            return ambiguous ? BadUsage : Failure;
        }
        chosen.append(*row);
    }
    QString error;
    const std::optional<QString> written =
        SNExporter::save(exporter.exportConfig(chosen), QDir(parser.value(u"output"_s)).absolutePath(), &error);
    if (!written) {
        printFailure(CliMessage::OutputNotWritten, {QDir(parser.value(u"output"_s)).absolutePath(), error});
        return Failure;
    }
    if (parser.isSet(u"json"_s))
        printJson(QVariantMap{{u"path"_s, *written}, {u"count"_s, chosen.size()}});
    else
        print(u"Exported %1 %2 to %3"_s.arg(chosen.size()).arg(chosen.size() == 1 ? u"app"_s : u"apps"_s, *written));
    return Success;
}
