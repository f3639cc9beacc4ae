#pragma once

#include "core/AppDefinition.h"

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

struct CreatedApp;
class Context;

// The app-definition options of `sorvane create`, and the checks every definition passes before
// anything is written. Errors name the field: "<field>: <what is wrong>".
namespace AppOptions {

void addCreateOptions(QCommandLineParser &parser);

// The definition given by the options, or nothing with the error.
std::optional<AppDefinition> definitionFromOptions(const QCommandLineParser &parser, QString *error);

// "name: <what is wrong>; <what to do>" when an app cannot have `name`, else empty.
QString nameRefusal(const QString &name);

// Why an app named `appName` was not created, for the command line: "not created: " and the
// creation's own reason, or the replace question and the bare refusals turned into what happened
// and what to do.
QString creationFailure(const QString &reason, const QString &appName);

// The routing rules of --allow and --route, in the order given, or nothing with the error.
std::optional<QVariantList> rulesFromOptions(const QCommandLineParser &parser, QString *error);
// The destination of --default-destination, or nothing with the error.
std::optional<QVariantMap> defaultDestinationFromOptions(const QCommandLineParser &parser, QString *error);

// A destination in the command-line form: in-app, default, browser:<bundle id>[:<name>],
// app:<bundle path> (checked, with the rest of the definition, by DefinitionValidator).
std::optional<QVariantMap> parseDestination(const QString &text);
// A destination written back in that form; a rule as "PATTERN -> DEST", an --allow rule as
// "PATTERN -> in-app (allow)".
QString destinationText(const QVariantMap &destination);
QString ruleText(const QVariantMap &rule);

// What `sorvane edit` did to an app's rules, each as ruleText.
struct RuleChanges
{
    QStringList added;
    QStringList removed;
    QStringList alreadyThere;
};
// Adds `given` to `rules`: a rule for a pattern the list already has takes that rule's place
// (rules apply top-down, so a second rule for one pattern would never decide); the others go
// last, with ids the list does not use yet.
RuleChanges addRules(QVariantList &rules, const QVariantList &given);
// What changed between two rule lists, ignoring ids.
RuleChanges ruleChanges(const QVariantList &before, const QVariantList &after);

// The engine of --browser (or the first installed one), or -1 with the error. A browser that
// is not installed is refused unless --allow-missing-browser says otherwise.
int chooseBrowser(const QCommandLineParser &parser, Context &context, QString *error);

// The catalogue number of a browser key, or -1 with the error naming the field.
int browserNumber(const QString &key, QString *error);


// Whether creation looks for a site's icon: not with --no-icon-search, nor when the environment
// sets SORVANE_NO_ICON_SEARCH (test and demo runs, which must stay off the network).
bool iconSearchWanted(const QCommandLineParser &parser);

// Gives a definition without an icon the site's own, searched for at most five seconds from its
// address as `typed`; when there is none (or no network), one line says that the app gets its
// initial as its icon (LetterIcon). An address typed without a scheme takes the one the site answered on.
void findSiteIcon(AppDefinition &app, const QString &typed, const QCommandLineParser &parser);

// What `--json` reports of an app made: appID, uniqueID, path and linkRouting
// (null when the app has no companion, so nothing to route).
QVariantMap createdApp(const CreatedApp &created);

} // namespace AppOptions
