#pragma once

#include "editing/ImportCategory.h"
#include "editing/ImportSummary.h"
#include "editing/SNExtensionDiscovery.h"

#include <QCommandLineParser>
#include <QList>
#include <QString>

#include <optional>

class Context;
struct AppDefinition;
struct ProfileSource;

// `create --import-data`: which of the source profile's data goes into the new app, checked before
// anything is written, and the copy once the app exists.
namespace DataImportOption {

struct Request
{
    QString userDataFolder;
    QString profileKey;
    QList<ImportCategory> categories;
    QList<ImportableExtension> extensions; // the chosen ones (--extension)
};

// The import asked for, once `app` and `profile` hold the chosen profile (ProfileChoice), or no
// profile when the chosen one is missing (the import then copies nothing and says so); nothing
// when none was asked for. False with the error when the categories are unknown or the
// browser holds the data open.
bool fromOptions(const QCommandLineParser &parser, Context &context, const AppDefinition &app,
                 const ProfileSource &profile, std::optional<Request> *request, QString *error);

// Copies into the app's own profile and logs the outcome.
ImportSummary run(const Request &request, const QString &bundlePath);

} // namespace DataImportOption
