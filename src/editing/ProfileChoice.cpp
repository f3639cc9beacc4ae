#include "editing/ProfileChoice.h"

#include "core/BrowserCatalogue.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"
#include "generation/DefinitionValidator.h"
#include "generation/ProfileSeeder.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

bool ProfileChoice::isMissing(Context &context, const AppDefinition &app, const QString &profileKey)
{
    if (!ProfileSeeder::isProfileKey(profileKey))
        return false;
    const SNProfileDiscovery discovery(context, BrowserCatalogue::byNumber(app.applicationType).typeKey);
    const QFileInfo folder(QFileInfo(discovery.getPreferencePath(profileKey)).path());
    return !folder.exists() && !folder.isSymLink();
}

bool ProfileChoice::apply(Context &context, AppDefinition &app, ProfileSource &source, const QString &profileKey,
                          const QStringList &extensions, QString *error)
{
    if (!ProfileSeeder::isProfileKey(profileKey)) {
        *error = u"profile: %1 is not a profile folder name"_s.arg(DefinitionValidator::quoted(profileKey));
        return false;
    }
    for (const QString &id : extensions) {
        if (!ProfileSeeder::isExtensionId(id)) {
            *error = u"extension: %1 is not an extension id (32 letters a to p)"_s.arg(DefinitionValidator::quoted(id));
            return false;
        }
    }
    const QString typeKey = BrowserCatalogue::byNumber(app.applicationType).typeKey;
    SNProfileDiscovery discovery(context, typeKey);
    discovery.setCurrentProfileKey(profileKey);
    std::optional<QJsonObject> preferences = discovery.getPreferenceJson();
    if (!preferences) {
        *error = u"profile: cannot read the preferences of profile %1 (%2)"_s.arg(
            DefinitionValidator::quoted(profileKey), discovery.getPreferencePath(profileKey));
        return false;
    }
    QStringList offered;
    for (const ImportableExtension &extension : SNExtensionDiscovery::offerableExtensions(*preferences))
        offered.append(extension.id);
    for (const QString &id : extensions) {
        if (!offered.contains(id)) {
            *error = u"extension: %1 is not an extension of profile %2 that an app can take over (see `sorvane profiles %3`)"_s
                         .arg(DefinitionValidator::quoted(id), DefinitionValidator::quoted(profileKey), typeKey);
            return false;
        }
    }
    // The new profile starts from these preferences: of the extensions the user could choose, only
    // the chosen ones stay.
    SNExtensionDiscovery::getExtensions(*preferences, extensions);
    source.preferenceJson = *preferences;
    app.currentProfileKey = profileKey;
    app.selectedExtensions = extensions;
    return true;
}
