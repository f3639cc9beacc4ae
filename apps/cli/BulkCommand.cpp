#include "BulkCommand.h"

#include "AppOptions.h"
#include "CliPrompter.h"

#include "core/AppNameRule.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "editing/SNBulkAppsManager.h"
#include "generation/CreateAppsJob.h"
#include "generation/DefinitionValidator.h"

#include <QFile>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonDocument>


using namespace Qt::Literals::StringLiterals;

void BulkCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"FILE"_s, u"A JSON array of app definitions (see examples/)."_s);
    parser.addOptions({
        {u"browser"_s, u"The engine's browser of every app; the first installed when not given."_s, u"KEY"_s},
        {u"allow-missing-browser"_s, u"Make the apps even when their browser is not installed."_s},
        {u"into"_s, u"The folder of apps whose entry names none; the applications folder when not given."_s,
         u"DIR"_s},
        {u"replace"_s, u"Replace existing apps of the same names (the old ones go to the Trash)."_s},
        {u"keep-both"_s, u"Keep existing apps of the same names and number the new ones."_s},
        {u"no-icon-search"_s, u"Do not look for the site's icon of entries that name none."_s},
    });
}

QList<QStringList> BulkCommand::exclusiveOptions() const
{
    return {{u"replace"_s, u"keep-both"_s}};
}

int BulkCommand::run(const QCommandLineParser &parser, Context &context)
{
    QString error;
    const int browser = AppOptions::chooseBrowser(parser, context, &error);
    if (browser < 0) {
        printFailure(error);
        return Failure;
    }
    const QString path = parser.positionalArguments().constFirst();
    QFile file(path);
    QJsonParseError parseError{};
    const QJsonDocument document =
        file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll(), &parseError) : QJsonDocument();
    if (!document.isArray()) {
        printFailure(CliMessage::NotAnAppList,
                     {DefinitionValidator::quoted(path),
                      parseError.error ? u" (%1 at byte %2)"_s.arg(parseError.errorString()).arg(parseError.offset)
                                       : QString()});
        return Failure;
    }

    // Every entry is checked first: a list whose names or addresses the bulk list refuses makes
    // nothing; otherwise a bad entry is reported and left out, and the rest are made.
    const QString baseFolder = QFileInfo(path).absolutePath();
    const DefinitionValidator validator(context, baseFolder);
    const QJsonArray entries = document.array();
    QList<std::optional<AppDefinition>> parsed;
    QStringList parseErrors;
    SNBulkAppsManager list(context);
    QList<qsizetype> listEntries; // the entry of each row of `list`
    for (qsizetype i = 0; i < entries.size(); ++i) {
        error.clear();
        parsed.append(entries.at(i).isObject()
                          ? AppDefinition::fromDictionary(entries.at(i).toObject().toVariantMap(), baseFolder, &error)
                          : std::nullopt);
        parseErrors.append(entries.at(i).isObject() ? error : QString());
        if (parsed.last()) {
            list.addApp(*parsed.last());
            listEntries.append(i);
        }
    }
    const auto label = [&](qsizetype i) {
        return u"entry %1 (%2)"_s.arg(i + 1).arg(
            DefinitionValidator::quoted(entries.at(i).toObject().value(u"appName"_s).toString()));
    };
    if (const int row = list.firstRowWithInvalidName(); row >= 0) {
        const std::optional<AppNameRule::Refusal> refusal = AppNameRule::refusal(list.cell(row).bulkApp.appName);
        printFailure(label(listEntries.at(row)) + u": "_s +
                     CliMessages::text(CliMessage::EntryNameRefused, {refusal->problem, refusal->remedy}));
        return Failure;
    }
    if (const int row = list.firstRowWithInvalidURL(); row >= 0) {
        printFailure(label(listEntries.at(row)) + u": "_s +
                     CliMessages::text(CliMessage::EntryAddressTooShort,
                                       {QString::number(SNBulkAppsManager::MinimumURLLength)}));
        return Failure;
    }

    QList<AppDefinition> apps;
    QStringList labels;
    bool allGood = true;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        std::optional<AppDefinition> &app = parsed[i];
        error = parseErrors.at(i);
        if (app && validator.validate(*app, &error)) {
            // Each entry without an icon gets its site's, bounded like a single creation.
            if (AppOptions::iconSearchWanted(parser))
                AppOptions::findSiteIcon(*app, app->appURL, parser);
            apps.append(*app);
            labels.append(label(i));
        } else {
            allGood = false;
            printFailure(entries.at(i).isObject() ? label(i) + u": "_s + error
                                                  : CliMessages::text(CliMessage::EntryNotAnObject, {label(i)}));
        }
    }

    CliPrompter prompter(name(), parser.isSet(u"replace"_s), CliMessage::NoTerminalForReplace);
    prompter.offerKeepBoth();
    CreateAppsJob job(context, {apps, browser,
                                parser.isSet(u"into"_s) ? QDir(parser.value(u"into"_s)).absolutePath() : QString(),
                                parser.isSet(u"keep-both"_s) ? WhenNameTaken::Number : WhenNameTaken::Ask,
                                QDir::currentPath()});
    job.setPrompter(&prompter);
    QVariantList results;
    // Run with exec(), so each outcome is complete when its app is announced.
    QObject::connect(&job, &CreateAppsJob::appFinished, [&](qsizetype index) {
        const CreateAppsJob::Outcome &outcome = job.outcomes().at(index);
        if (outcome.created)
            results.append(AppOptions::createdApp(*outcome.created));
        else
            printFailure(labels.at(index) + u": "_s + AppOptions::creationFailure(outcome.error, outcome.app.appName));
        printProgress(index + 1, apps.size(), outcome.app.appName, parser);
    });
    const bool allMade = job.exec();

    if (parser.isSet(u"json"_s)) {
        printJson(results);
    } else {
        for (const QVariant &result : results)
            print(result.toMap().value(u"path"_s).toString());
    }
    return allGood && allMade ? Success : Failure;
}
