#include "companion/SNRoutingConfig.h"

#include "core/Ids.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString BundleIdKey = QStringLiteral("bundleId");
const QString PathKey = QStringLiteral("path");
const QString NameKey = QStringLiteral("name");
const QString AppIdKey = QStringLiteral("appId");

bool isString(const QVariant &value)
{
    return value.typeId() == QMetaType::QString;
}

bool isNonEmptyString(const QVariant &value)
{
    return isString(value) && !value.toString().isEmpty();
}

bool isMap(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap;
}

// Padding is blanks and tabs only; line breaks are deliberately left in place, so a pattern
// with a stray line break stays visibly wrong instead of being silently repaired.
QString trimBlanksAndTabs(const QString &text)
{
    const auto isPadding = [](QChar c) { return c == u' ' || c == u'\t'; };
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isPadding(text.at(begin)))
        ++begin;
    while (end > begin && isPadding(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}

void copyIfString(const QVariantMap &from, QVariantMap &to, const QString &key)
{
    const QVariant value = from.value(key);
    if (isString(value))
        to.insert(key, value);
}

std::optional<QVariantMap> sanitizedRule(const QVariant &rule)
{
    if (!isMap(rule))
        return std::nullopt;
    const QVariantMap map = rule.toMap();
    const QVariant pattern = map.value(SNRoutingConfig::keyPattern());
    if (!isString(pattern))
        return std::nullopt;
    const QString trimmed = trimBlanksAndTabs(pattern.toString());
    if (trimmed.isEmpty())
        return std::nullopt;

    const QVariant id = map.value(SNRoutingConfig::keyId());
    const QVariant action = map.value(SNRoutingConfig::keyAction());
    // Exactly "route" routes; anything else, other spellings included, keeps the link in the app.
    const bool routes = isString(action) && action.toString() == SNRoutingConfig::actionRoute();

    QVariantMap cleaned{
        {SNRoutingConfig::keyId(), isNonEmptyString(id) ? id.toString() : Ids::newRuleId()},
        {SNRoutingConfig::keyPattern(), trimmed},
        {SNRoutingConfig::keyAction(),
         routes ? SNRoutingConfig::actionRoute() : SNRoutingConfig::actionAllow()},
    };
    if (routes) {
        cleaned.insert(
            SNRoutingConfig::keyDestination(),
            SNRoutingConfig::sanitizedDestination(map.value(SNRoutingConfig::keyDestination()))
                .value_or(QVariantMap{{SNRoutingConfig::keyType(), SNRoutingConfig::typeDefault()}}));
    }
    return cleaned;
}

} // namespace

int SNRoutingConfig::schemaVersion()
{
    return 2;
}

QString SNRoutingConfig::keyRules()
{
    return QStringLiteral("rules");
}
QString SNRoutingConfig::keyDefaultDestination()
{
    return QStringLiteral("default_destination");
}
QString SNRoutingConfig::keyPattern()
{
    return QStringLiteral("pattern");
}
QString SNRoutingConfig::keyAction()
{
    return QStringLiteral("action");
}
QString SNRoutingConfig::keyDestination()
{
    return QStringLiteral("destination");
}
QString SNRoutingConfig::keyId()
{
    return QStringLiteral("id");
}
QString SNRoutingConfig::keyType()
{
    return QStringLiteral("type");
}
QString SNRoutingConfig::actionAllow()
{
    return QStringLiteral("allow");
}
QString SNRoutingConfig::actionRoute()
{
    return QStringLiteral("route");
}
QString SNRoutingConfig::typeInApp()
{
    return QStringLiteral("in-app");
}
QString SNRoutingConfig::typeDefault()
{
    return QStringLiteral("default");
}
QString SNRoutingConfig::typeBrowser()
{
    return QStringLiteral("browser");
}
QString SNRoutingConfig::typeSorvaneApp()
{
    return QStringLiteral("sorvaneApp");
}

QVariantList SNRoutingConfig::sanitizedRules(const QVariant &rules)
{
    QVariantList cleaned;
    if (rules.typeId() != QMetaType::QVariantList)
        return cleaned;
    for (const QVariant &rule : rules.toList()) {
        if (const auto result = sanitizedRule(rule))
            cleaned.append(*result);
    }
    return cleaned;
}

std::optional<QVariantMap> SNRoutingConfig::sanitizedDestination(const QVariant &destination)
{
    if (!isMap(destination))
        return std::nullopt;
    const QVariantMap map = destination.toMap();
    const QVariant typeValue = map.value(keyType());
    if (!isString(typeValue))
        return std::nullopt;
    const QString type = typeValue.toString();

    QVariantMap cleaned{{keyType(), type}};
    if (type == typeInApp() || type == typeDefault())
        return cleaned;
    if (type == typeBrowser()) {
        if (!isNonEmptyString(map.value(BundleIdKey)))
            return std::nullopt;
        cleaned.insert(BundleIdKey, map.value(BundleIdKey));
        copyIfString(map, cleaned, NameKey);
        return cleaned;
    }
    if (type == typeSorvaneApp()) {
        if (!isNonEmptyString(map.value(PathKey)))
            return std::nullopt;
        cleaned.insert(PathKey, map.value(PathKey));
        copyIfString(map, cleaned, NameKey);
        copyIfString(map, cleaned, AppIdKey);
        return cleaned;
    }
    return std::nullopt;
}

QVariantList SNRoutingConfig::legacyRules(const QStringList &patterns)
{
    QVariantList rules;
    rules.reserve(patterns.size());
    for (qsizetype n = 0; n < patterns.size(); ++n) {
        rules.append(QVariantMap{
            {keyId(), QStringLiteral("legacy-%1").arg(n)},
            {keyPattern(), patterns.at(n)},
            {keyAction(), actionAllow()},
        });
    }
    return rules;
}

QVariantMap SNRoutingConfig::dataJSONDictionaryWithRules(const QVariant &rules,
                                                         const QVariant &defaultDestination,
                                                         bool whitelistingEnabled, bool restoreSession,
                                                         const QStringList &legacyPatterns)
{
    const QVariantList ownRules = sanitizedRules(rules);
    const QVariantList finalRules = ownRules.isEmpty() ? legacyRules(legacyPatterns) : ownRules;
    const QVariantMap destination =
        sanitizedDestination(defaultDestination).value_or(QVariantMap{{keyType(), typeDefault()}});
    const bool inApp = destination.value(keyType()).toString() == typeInApp();

    // "allow_all" looks at the app's own rules only: generated legacy rules do not count, so an
    // old app with whitelisting off stays open even though its legacy rules are written out.
    const bool allowAll = inApp && !whitelistingEnabled && ownRules.isEmpty();

    // "rule_list" lists the rules the extension must act on against the default: with an in-app
    // default only routes matter, otherwise only allows. It reads the final rules, legacy ones
    // included.
    const QString listedAction = inApp ? actionRoute() : actionAllow();
    QVariantList ruleList;
    for (const QVariant &rule : finalRules) {
        const QVariantMap map = rule.toMap();
        if (map.value(keyAction()).toString() == listedAction)
            ruleList.append(map.value(keyPattern()));
    }

    return {
        {QStringLiteral("schema_version"), schemaVersion()},
        {QStringLiteral("allow_rules"), !allowAll},
        {QStringLiteral("allow_all"), allowAll},
        {QStringLiteral("allow_subdomains"), true},
        {QStringLiteral("allow_from_list"), inApp},
        {QStringLiteral("rule_list"), ruleList},
        {QStringLiteral("restore_session"), restoreSession},
        {keyRules(), finalRules},
        {keyDefaultDestination(), destination},
    };
}

QByteArray SNRoutingConfig::dataJSON(const QVariantMap &data)
{
    return QJsonDocument(QJsonObject::fromVariantMap(data)).toJson(QJsonDocument::Compact);
}
