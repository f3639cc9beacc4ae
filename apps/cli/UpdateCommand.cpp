#include "UpdateCommand.h"

#include "AppReference.h"

#include "maintenance/SNAutoUpdateManager.h"
#include "maintenance/UpdateAppsJob.h"

#include <QFileInfo>


using namespace Qt::Literals::StringLiterals;

void UpdateCommand::addOptions(QCommandLineParser &parser)
{
    parser.addOption({u"outdated"_s, u"Every app made by another version of Sorvane."_s});
    parser.addPositionalArgument(u"app"_s, u"An app: its name, registry id (or its first 8 characters) or bundle path."_s, u"[APP ...]"_s);
}

int UpdateCommand::run(const QCommandLineParser &parser, Context &context)
{
    const QStringList arguments = parser.positionalArguments();
    if (arguments.isEmpty() == !parser.isSet(u"outdated"_s)) {
        printFailure(CliMessage::NoAppsNamedOrOutdated);
        return BadUsage;
    }
    QStringList paths;
    for (const QString &argument : arguments) {
        QString error;
        bool ambiguous = false;
        const std::optional<AppReference> app = AppReference::resolve(argument, context, &error, &ambiguous);
        if (!app) {
            printFailure(error);
            return ambiguous ? BadUsage : Failure;
        }
        if (!paths.contains(app->path))
            paths.append(app->path);
    }
    if (parser.isSet(u"outdated"_s))
        paths = SNAutoUpdateManager(context).getOutdatedApps();

    UpdateAppsJob job(context, UpdateAppsRequest{paths});
    QVariantList results;
    QObject::connect(&job, &UpdateAppsJob::appFinished, [&](qsizetype index) {
        const UpdateAppsJob::Outcome &outcome = job.outcomes().at(index);
        printProgress(index + 1, paths.size(), QFileInfo(outcome.path).fileName(), parser);
        if (!outcome.updated && !parser.isSet(u"json"_s))
            printFailure(outcome.reason);
        QVariantMap result{{u"path"_s, outcome.path}, {u"updated"_s, outcome.updated}};
        if (!outcome.updated)
            result.insert(u"error"_s, outcome.reason);
        results.append(result);
    });
    job.exec();
    const int updated = job.updatedCount();
    if (parser.isSet(u"json"_s))
        printJson(QVariantMap{{u"updated"_s, updated}, {u"total"_s, paths.size()}, {u"apps"_s, results}});
    else
        print(u"Updated %1 out of %2 apps"_s.arg(updated).arg(paths.size()));
    return updated == paths.size() ? Success : Failure;
}
