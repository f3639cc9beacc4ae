#include "generation/AppConfigFile.h"

#include "companion/SNRoutingConfig.h"
#include "core/BrowserCatalogue.h"
#include "core/PropertyList.h"

using namespace Qt::Literals::StringLiterals;

namespace {

bool boolValue(const QVariantMap &map, const QString &key, bool fallback)
{
    const QVariant value = map.value(key);
    return value.typeId() == QMetaType::Bool ? value.toBool() : fallback;
}

QString stringValue(const QVariantMap &map, const QString &key)
{
    const QVariant value = map.value(key);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

QStringList stringList(const QVariant &value)
{
    QStringList strings;
    for (const QVariant &item : value.toList()) {
        if (item.typeId() == QMetaType::QString)
            strings.append(item.toString());
    }
    return strings;
}

} // namespace

QString AppConfigFile::path(const QString &supportFolder, const QString &appID)
{
    return QStringLiteral("%1/%2.config").arg(supportFolder, appID);
}

QVariantMap AppConfigFile::dictionaryForDefinition(const AppDefinition &definition)
{
    QVariantMap config;
    config.insert(QStringLiteral("needTab"), definition.needTab);
    config.insert(QStringLiteral("isWhitelistingEnabled"), definition.isWhitelistingEnabled);
    config.insert(QStringLiteral("registerAsBrowser"), definition.registerAsBrowser);
    config.insert(QStringLiteral("applicationType"), definition.applicationType);
    config.insert(QStringLiteral("browserType"), BrowserCatalogue::typeKeyForNumber(definition.applicationType));

    QVariantList tabList;
    if (definition.needTab) {
        for (const TabAddress &tab : definition.tabsList)
            tabList.append(tab.tabUrlString);
    }
    config.insert(QStringLiteral("tabList"), tabList);

    if (!definition.currentProfileKey.isEmpty())
        config.insert(QStringLiteral("currentProfileKey"), definition.currentProfileKey);
    config.insert(QStringLiteral("appName"), definition.appName);
    config.insert(QStringLiteral("appURL"), definition.appURL);
    if (!definition.selectedExtensions.isEmpty())
        config.insert(QStringLiteral("selectedExtensions"), definition.selectedExtensions);
    config.insert(QStringLiteral("appIcon"), SNImage::imageData(definition.appIcon));
    config.insert(QStringLiteral("useIncognito"), definition.incognito);
    config.insert(QStringLiteral("routingRules"), SNRoutingConfig::sanitizedRules(definition.routingRules));
    if (definition.defaultDestination) {
        if (const auto cleaned = SNRoutingConfig::sanitizedDestination(*definition.defaultDestination))
            config.insert(QStringLiteral("defaultDestination"), *cleaned);
    }
    config.insert(QStringLiteral("forceDarkMode"), definition.forceDarkMode);
    if (!definition.engineSwitches.isEmpty())
        config.insert(QStringLiteral("engineSwitches"), definition.engineSwitches);
    if (!definition.accentColor.isEmpty())
        config.insert(QStringLiteral("accentColor"), definition.accentColor);
    config.insert(QStringLiteral("restoreSession"), definition.restoreSession);
    config.insert(QStringLiteral("passwordManagerCompatibility"), definition.passwordManagerCompatibility);
    return config;
}

AppDefinition AppConfigFile::definitionFromDictionary(const QVariantMap &config)
{
    AppDefinition definition;
    definition.needTab = boolValue(config, QStringLiteral("needTab"), false);
    definition.isWhitelistingEnabled = boolValue(config, QStringLiteral("isWhitelistingEnabled"), false);
    definition.registerAsBrowser = boolValue(config, QStringLiteral("registerAsBrowser"), false);

    const QVariant type = config.value(QStringLiteral("applicationType"));
    if (type.typeId() == QMetaType::LongLong || type.typeId() == QMetaType::Int)
        definition.applicationType = BrowserCatalogue::byNumber(type.toInt()).number;
    else
        definition.applicationType = BrowserCatalogue::numberForTypeKey(stringValue(config, QStringLiteral("browserType")));

    for (const QString &address : stringList(config.value(QStringLiteral("tabList"))))
        definition.tabsList.append(TabAddress(address));
    definition.currentProfileKey = stringValue(config, QStringLiteral("currentProfileKey"));
    definition.appName = stringValue(config, QStringLiteral("appName"));
    definition.appURL = stringValue(config, QStringLiteral("appURL"));
    definition.selectedExtensions = stringList(config.value(QStringLiteral("selectedExtensions")));

    const QString icon = stringValue(config, QStringLiteral("appIcon"));
    if (!icon.isEmpty())
        definition.appIcon = SNImage::fromData(QByteArray::fromBase64(icon.toLatin1()));

    definition.incognito = boolValue(config, QStringLiteral("useIncognito"), false);
    definition.routingRules = SNRoutingConfig::sanitizedRules(config.value(QStringLiteral("routingRules")));
    definition.defaultDestination = SNRoutingConfig::sanitizedDestination(config.value(QStringLiteral("defaultDestination")));
    definition.forceDarkMode = boolValue(config, QStringLiteral("forceDarkMode"), false);
    definition.engineSwitches = stringList(config.value(QStringLiteral("engineSwitches")));
    definition.accentColor = stringValue(config, QStringLiteral("accentColor"));
    definition.restoreSession = boolValue(config, QStringLiteral("restoreSession"), true);
    definition.passwordManagerCompatibility = boolValue(config, QStringLiteral("passwordManagerCompatibility"), false);
    return definition;
}

bool AppConfigFile::write(const QString &path, const AppDefinition &definition, QString *error,
                          const QVariantMap &earlier)
{
    static const QStringList owned{
        u"needTab"_s, u"isWhitelistingEnabled"_s, u"registerAsBrowser"_s, u"applicationType"_s, u"browserType"_s,
        u"tabList"_s, u"currentProfileKey"_s, u"appName"_s, u"appURL"_s, u"selectedExtensions"_s, u"appIcon"_s,
        u"useIncognito"_s, u"routingRules"_s, u"defaultDestination"_s, u"forceDarkMode"_s, u"engineSwitches"_s, u"accentColor"_s,
        u"restoreSession"_s, u"passwordManagerCompatibility"_s};
    QVariantMap config = earlier;
    for (const QString &key : owned)
        config.remove(key);
    const QVariantMap written = dictionaryForDefinition(definition);
    for (auto it = written.cbegin(); it != written.cend(); ++it)
        config.insert(it.key(), it.value());
    return PropertyList::writeFile(path, config, error);
}

std::optional<AppDefinition> AppConfigFile::read(const QString &path, QString *error)
{
    const QVariant root = PropertyList::readFile(path, error);
    if (root.typeId() != QMetaType::QVariantMap) {
        if (error && root.isValid())
            *error = QStringLiteral("%1 does not hold an app configuration.").arg(path);
        return std::nullopt;
    }
    return definitionFromDictionary(root.toMap());
}
