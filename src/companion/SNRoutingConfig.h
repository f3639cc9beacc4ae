#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

// Link-routing rules and destinations as the app definition stores them, their cleaning, and the
// routing data object ("data.json") that the companion extension reads.
//
// A rule is {"id", "pattern", "action" ("allow"/"route"), "destination" (route only)}; a
// destination is {"type"} plus the keys its type needs ("bundleId" for a browser, "path" for
// another app).
class SNRoutingConfig final
{
public:
    SNRoutingConfig() = delete;

    // Version of the routing data layout the extension expects.
    static int schemaVersion();

    static QString keyRules();
    static QString keyDefaultDestination();
    static QString keyPattern();
    static QString keyAction();
    static QString keyDestination();
    static QString keyId();
    static QString keyType();
    static QString actionAllow();
    static QString actionRoute();
    static QString typeInApp();
    static QString typeDefault();
    static QString typeBrowser();
    static QString typeSorvaneApp();

    // The cleaned rules, in their order; rules that cannot be repaired are dropped. Anything that
    // is not a list gives an empty list.
    static QVariantList sanitizedRules(const QVariant &rules);

    // The cleaned destination, or nothing when it is invalid.
    static std::optional<QVariantMap> sanitizedDestination(const QVariant &destination);

    // "allow" rules legacy-0, legacy-1, ... for whitelisting patterns of apps made before rules.
    static QVariantList legacyRules(const QStringList &patterns);

    // The complete routing data object (nine keys) for an app's routing settings.
    static QVariantMap dataJSONDictionaryWithRules(const QVariant &rules, const QVariant &defaultDestination,
                                                   bool whitelistingEnabled, bool restoreSession,
                                                   const QStringList &legacyPatterns);

    // Compact UTF-8 JSON of a routing data object, as written to data.json.
    static QByteArray dataJSON(const QVariantMap &data);
};
