#pragma once

#include "core/SNBulkApp.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

class ApplicationManager;
class Context;

// The app-definition options of `sorvane create`, and the checks every definition passes before
// anything is written. Errors name the field: "<field>: <what is wrong>".
namespace AppOptions {

void addCreateOptions(QCommandLineParser &parser);

// The definition given by the options, or nothing with the error.
std::optional<SNBulkApp> definitionFromOptions(const QCommandLineParser &parser, QString *error);

// The routing rules of --allow and --route, in the order given, or nothing with the error.
std::optional<QVariantList> rulesFromOptions(const QCommandLineParser &parser, QString *error);
// The destination of --default-destination, or nothing with the error.
std::optional<QVariantMap> defaultDestinationFromOptions(const QCommandLineParser &parser, QString *error);

// A destination in the command-line form: in-app, default, browser:<bundle id>[:<name>],
// app:<bundle path> (checked, with the rest of the definition, by DefinitionValidator).
std::optional<QVariantMap> parseDestination(const QString &text);

// The engine of --browser (or the first installed one), or -1 with the error. A browser that
// is not installed is refused unless --allow-missing-browser says otherwise.
int chooseBrowser(const QCommandLineParser &parser, Context &context, QString *error);

// The catalogue number of a browser key, or -1 with the error naming the field.
int browserNumber(const QString &key, QString *error);

// Fills the manager's profile seeding from a profile of the installed browser.
bool loadProfile(ApplicationManager &manager, const QString &profileKey, const QStringList &extensions,
                 QString *error);

// What `--json` reports of the app the manager made last: appID, uniqueID, path and linkRouting
// (null when the app has no companion, so nothing to route).
QVariantMap createdApp(const ApplicationManager &manager);

} // namespace AppOptions
