#include "ImportCommand.h"

#include "AppOptions.h"
#include "CliPrompter.h"

#include "core/Context.h"
#include "editing/ImportAppSetJob.h"
#include "editing/SNExporter.h"
#include "generation/DefinitionValidator.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

void ImportCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"file"_s, u"The .sorvane file."_s, u"FILE"_s);
    parser.addOptions({
        {u"into"_s, u"The folder the apps are created in; the applications folder when not given."_s, u"DIR"_s},
        {u"replace"_s, u"Replace existing apps of the same names (the old ones go to the Trash)."_s},
        {u"keep-both"_s, u"Keep existing apps of the same names and number the new ones."_s},
        {u"allow-missing-browser"_s, u"Make apps whose browser is not installed."_s},
    });
}

QList<QStringList> ImportCommand::exclusiveOptions() const
{
    return {{u"replace"_s, u"keep-both"_s}};
}

int ImportCommand::run(const QCommandLineParser &parser, Context &context)
{
    CliPrompter prompter(name(), parser.isSet(u"replace"_s), CliMessage::NoTerminalForReplace);
    prompter.offerKeepBoth();
    ImportAppSetJob importer(context, parser.positionalArguments().constFirst(),
                             {parser.isSet(u"into"_s) ? QDir(parser.value(u"into"_s)).absolutePath() : QString(),
                              parser.isSet(u"keep-both"_s), parser.isSet(u"allow-missing-browser"_s)});
    importer.setPrompter(&prompter);
    if (!importer.exec() && !importer.fileRead()) {
        const QString prefix = SNExporter::InvalidFileMessage + u": "_s;
        const QString reason = importer.errorText();
        printFailure(reason.startsWith(prefix)
                         ? CliMessages::text(CliMessage::NotAnAppSet,
                                             {DefinitionValidator::quoted(parser.positionalArguments().constFirst()),
                                              reason.mid(prefix.size())})
                         : reason);
        return Failure;
    }
    QVariantList created;
    QVariantList refused;
    for (const ImportAppSetJob::Outcome &outcome : importer.outcomes()) {
        if (outcome.made) {
            created.append(outcome.created);
            if (!parser.isSet(u"json"_s))
                print(outcome.created.value(u"path"_s).toString());
            continue;
        }
        const QString label = u"entry %1 (%2)"_s.arg(DefinitionValidator::quoted(outcome.key),
                                                     DefinitionValidator::quoted(outcome.appName));
        const QString reason = AppOptions::creationFailure(outcome.error, outcome.appName);
        refused.append(QVariantMap{{u"key"_s, outcome.key}, {u"appName"_s, outcome.appName}, {u"error"_s, reason}});
        printFailure(label + u": "_s + reason);
    }
    if (parser.isSet(u"json"_s))
        printJson(QVariantMap{{u"created"_s, created}, {u"refused"_s, refused}});
    if (importer.outcomes().isEmpty())
        printWarning(u"the file holds no apps"_s, parser);
    return refused.isEmpty() ? Success : Failure;
}
