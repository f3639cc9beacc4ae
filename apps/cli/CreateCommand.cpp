#include "CreateCommand.h"

#include "AppOptions.h"
#include "CliPrompter.h"
#include "DataImportOption.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "editing/ProfileChoice.h"
#include "generation/CreateAppJob.h"
#include "generation/DefinitionValidator.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

void CreateCommand::addOptions(QCommandLineParser &parser)
{
    AppOptions::addCreateOptions(parser);
}

QStringList CreateCommand::repeatableOptions() const
{
    return {u"tab"_s, u"allow"_s, u"route"_s, u"extension"_s, u"engine-switch"_s};
}

QList<QStringList> CreateCommand::exclusiveOptions() const
{
    return {{u"replace"_s, u"keep-both"_s}, {u"url"_s, u"tab"_s}};
}

int CreateCommand::run(const QCommandLineParser &parser, Context &context)
{
    if (!parser.isSet(u"name"_s)) {
        printFailure(CliMessage::NameMissing);
        return BadUsage;
    }
    if (!parser.isSet(u"url"_s) && !parser.isSet(u"tab"_s)) {
        printFailure(CliMessage::AddressMissing);
        return BadUsage;
    }
    if ((parser.isSet(u"extension"_s) || parser.isSet(u"import-data"_s)) && !parser.isSet(u"profile"_s)) {
        printFailure(CliMessage::ProfileMissing);
        return BadUsage;
    }

    if (const QString refusal = AppOptions::nameRefusal(parser.value(u"name"_s)); !refusal.isEmpty()) {
        printFailure(refusal);
        return Failure;
    }

    QString error;
    const int browser = AppOptions::chooseBrowser(parser, context, &error);
    if (browser < 0) {
        printFailure(error);
        return Failure;
    }
    std::optional<AppDefinition> app = AppOptions::definitionFromOptions(parser, &error);
    if (!app || !DefinitionValidator(context, QDir::currentPath()).validate(*app, &error)) {
        printFailure(app ? CliMessages::inOptionTerms(error, app->routingRules) : error);
        return Failure;
    }
    if (!parser.isSet(u"icon"_s) && AppOptions::iconSearchWanted(parser))
        AppOptions::findSiteIcon(
            *app, parser.isSet(u"tab"_s) ? parser.values(u"tab"_s).constFirst() : parser.value(u"url"_s), parser);

    app->applicationType = browser;
    ProfileSource profile;
    // A profile that is not there only costs the import: the app starts from a fresh profile, and
    // the import's summary says that nothing was imported.
    const bool importOnly = parser.isSet(u"import-data"_s) && !parser.isSet(u"extension"_s);
    if (parser.isSet(u"profile"_s) &&
        !(importOnly && ProfileChoice::isMissing(context, *app, parser.value(u"profile"_s))) &&
        !ProfileChoice::apply(context, *app, profile, parser.value(u"profile"_s), parser.values(u"extension"_s), &error)) {
        printFailure(error);
        return Failure;
    }
    std::optional<DataImportOption::Request> dataImport;
    if (!DataImportOption::fromOptions(parser, context, *app, profile, &dataImport, &error)) {
        printFailure(error);
        return Failure;
    }
    CliPrompter prompter(name(), parser.isSet(u"replace"_s), CliMessage::NoTerminalForReplace);
    prompter.offerKeepBoth();
    CreateAppJob job(context, {*app, profile,
                               parser.isSet(u"keep-both"_s) ? WhenNameTaken::Number : WhenNameTaken::Ask,
                               QDir::currentPath()});
    job.setPrompter(&prompter);
    if (!job.exec()) {
        // Without a terminal the question and the options that answer it were said already.
        if (!prompter.lackedTerminal())
            printFailure(AppOptions::creationFailure(job.errorText(), app->appName));
        return Failure;
    }
    QVariantMap result = AppOptions::createdApp(job.result());
    bool imported = true;
    if (dataImport) {
        const ImportSummary summary = DataImportOption::run(*dataImport, result.value(u"path"_s).toString());
        result.insert(u"import"_s, summary.toVariantMap());
        imported = summary.failedItems.isEmpty() && !summary.missingSource;
        for (const QString &message : summary.messages()) {
            if (imported)
                printNote(message, parser);
            else
                printWarning(message, parser);
        }
    }
    if (parser.isSet(u"json"_s))
        printJson(result);
    else
        print(result.value(u"path"_s).toString());
    return imported ? Success : Failure;
}
