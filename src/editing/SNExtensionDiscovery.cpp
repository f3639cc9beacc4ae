#include "editing/SNExtensionDiscovery.h"

#include "generation/ProfileSeeder.h"

#include <QJsonValue>

using namespace Qt::Literals::StringLiterals;

bool SNExtensionDiscovery::isOfferable(const QJsonObject &record)
{
    return record.value(u"manifest"_s).isObject() && record.value(u"from_webstore"_s) == QJsonValue(true) &&
           record.value(u"was_installed_by_default"_s) != QJsonValue(true);
}

QList<ImportableExtension> SNExtensionDiscovery::offerableExtensions(const QJsonObject &preferenceJson)
{
    const QJsonObject settings =
        preferenceJson.value(u"extensions"_s).toObject().value(u"settings"_s).toObject();
    QList<ImportableExtension> extensions;
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        const QJsonObject record = it.value().toObject();
        if (!isOfferable(record) || !ProfileSeeder::isExtensionId(it.key()))
            continue;
        extensions.append({it.key(), record.value(u"manifest"_s).toObject().value(u"name"_s).toString()});
    }
    return extensions;
}

void SNExtensionDiscovery::getExtensions(QJsonObject &preferenceJson, const QStringList &selectedExtensions)
{
    QJsonObject extensions = preferenceJson.value(u"extensions"_s).toObject();
    QJsonObject settings = extensions.value(u"settings"_s).toObject();
    const QStringList ids = settings.keys();
    bool changed = false;
    for (const QString &id : ids) {
        if (isOfferable(settings.value(id).toObject()) &&
            (!selectedExtensions.contains(id) || !ProfileSeeder::isExtensionId(id))) {
            settings.remove(id);
            changed = true;
        }
    }
    if (!changed)
        return;
    extensions.insert(u"settings"_s, settings);
    preferenceJson.insert(u"extensions"_s, extensions);
}
