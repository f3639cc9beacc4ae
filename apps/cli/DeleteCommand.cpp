#include "DeleteCommand.h"

#include "AppReference.h"
#include "CliPrompter.h"

#include "maintenance/AppRemover.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

void DeleteCommand::addOptions(QCommandLineParser &parser)
{
    parser.addOption({u"yes"_s, u"Do not ask; without a terminal nothing is deleted without it."_s});
    parser.addPositionalArgument(u"app"_s, u"An app: its name, registry id (or its first 8 characters) or bundle path."_s, u"APP ..."_s);
}

int DeleteCommand::run(const QCommandLineParser &parser, Context &context)
{
    if (parser.positionalArguments().isEmpty()) {
        printFailure(CliMessage::NoAppsNamed);
        return BadUsage;
    }
    QList<AppReference> apps;
    for (const QString &argument : parser.positionalArguments()) {
        QString error;
        bool ambiguous = false;
        const std::optional<AppReference> app = AppReference::resolve(argument, context, &error, &ambiguous);
        if (!app) {
            printFailure(error);
            return ambiguous ? BadUsage : Failure;
        }
        apps.append(*app);
    }
    CliPrompter prompter(name(), parser.isSet(u"yes"_s), CliMessage::NoTerminalForDelete);
    QVariantList results;
    bool allDeleted = true;
    for (const AppReference &app : apps) {
        QString name = QFileInfo(app.path).fileName();
        name.chop(name.endsWith(u".app"_s) ? 4 : 0);
        QVariantMap result{{u"path"_s, app.path}, {u"deleted"_s, false}};
        // The command line names the app's real folder (the window's text says "Applications").
        const QString folder = QFileInfo(app.path).absolutePath();
        if (prompter.ask(AppRemover::confirmationMessage(name),
                         u"It goes from %1 to the Trash, with its data (history, sign-ins, extensions)."_s.arg(folder),
                         AppRemover::ConfirmationButtons) != 0) {
            printNote(u"Kept %1."_s.arg(app.path), parser);
            result.insert(u"error"_s, u"not confirmed"_s);
            results.append(result);
            allDeleted = false;
            continue;
        }
        QString error;
        QString trashed;
        if (!AppRemover::deleteApp(context, app.appId, app.path, &error, &trashed)) {
            printFailure(error);
            result.insert(u"error"_s, error);
            allDeleted = false;
        } else {
            result.insert(u"deleted"_s, true);
            if (!trashed.isEmpty())
                result.insert(u"trashedPath"_s, trashed);
            if (!parser.isSet(u"json"_s))
                print(trashed.isEmpty() ? u"Deleted %1 (its bundle was already gone)"_s.arg(app.path)
                                        : u"Deleted %1 (moved to the Trash)"_s.arg(app.path));
        }
        results.append(result);
    }
    if (parser.isSet(u"json"_s))
        printJson(results);
    return allDeleted ? Success : Failure;
}
