#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

// An extension the user installed in a browser profile and can take over into a new app.
struct ImportableExtension
{
    QString id;
    QString name; // its manifest's name
};

// The extensions a profile's preferences offer, and the pruning that leaves only the chosen ones
// in the preferences a new app's profile starts from. An extension is offered when its record
// (extensions.settings.<id>) has a manifest, comes from the store (from_webstore) and was not
// installed by default; records of other extensions are never offered and never removed.
class SNExtensionDiscovery final
{
public:
    static bool isOfferable(const QJsonObject &record);
    // The offerable extensions in id order; records under ids that are not extension ids are
    // left out.
    static QList<ImportableExtension> offerableExtensions(const QJsonObject &preferenceJson);
    // Removes from `preferenceJson` every offerable extension that is not in `selectedExtensions`,
    // and store records under ids that are not extension ids, which can never be chosen.
    static void getExtensions(QJsonObject &preferenceJson, const QStringList &selectedExtensions);
};
