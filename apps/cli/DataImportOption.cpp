#include "DataImportOption.h"

#include "CliMessages.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/UserDefaults.h"
#include "editing/BrowserDataImporter.h"
#include "editing/ImportBrowserDataJob.h"
#include "generation/AppCreator.h"
#include "generation/DefinitionValidator.h"

using namespace Qt::Literals::StringLiterals;

namespace DataImportOption {

bool fromOptions(const QCommandLineParser &parser, Context &context, const AppDefinition &app,
                 const ProfileSource &profile, std::optional<Request> *request, QString *error)
{
    request->reset();
    if (!parser.isSet(u"import-data"_s))
        return true;
    Request wanted;
    const BrowserInfo &browser = BrowserCatalogue::byNumber(app.applicationType);
    wanted.userDataFolder = BrowserLocator::installedUserDataFolder(browser, context.homeFolder(), context.defaults());
    wanted.profileKey = app.currentProfileKey;
    for (const QString &part : parser.value(u"import-data"_s).split(u',')) {
        const QString name = part.trimmed();
        if (name == u"default"_s) {
            wanted.categories.append(ImportCategories::fromSavedList(
                context.defaults().value(u"defaultImportCategories"_s).toStringList()));
            continue;
        }
        const std::optional<ImportCategory> category = ImportCategories::fromRawValue(name);
        if (!category) {
            *error = CliMessages::text(CliMessage::UnknownImportCategory, {DefinitionValidator::quoted(name)});
            return false;
        }
        wanted.categories.append(*category);
    }
    if (profile.preferenceJson)
        wanted.extensions = SNExtensionDiscovery::offerableExtensions(*profile.preferenceJson);

    const BrowserDataImporter importer(wanted.userDataFolder);
    if (!wanted.profileKey.isEmpty() && BrowserDataImporter::needsClosedBrowser(wanted.categories, wanted.extensions) && importer.sourceInUse()) {
        *error = CliMessages::text(CliMessage::SourceBrowserRunning, {browser.browserName});
        return false;
    }
    *request = wanted;
    return true;
}

ImportSummary run(const Request &request, const QString &bundlePath)
{
    ImportBrowserDataJob job({request.userDataFolder, request.profileKey, request.categories, request.extensions,
                              bundlePath});
    job.exec();
    return job.summary();
}

} // namespace DataImportOption
