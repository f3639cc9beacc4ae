#include "core/AppDefinition.h"

#include <QDir>

#include <algorithm>

namespace {

// Reads one optional field; false (with the error filled) when it is present with the wrong type.
class FieldReader
{
public:
    FieldReader(const QVariantMap &dictionary, QString *error)
        : m_dictionary(dictionary)
        , m_error(error)
    {
    }

    bool text(const QString &key, QString &target)
    {
        const QVariant value = m_dictionary.value(key);
        if (!value.isValid() || value.isNull())
            return true;
        if (value.typeId() != QMetaType::QString)
            return fail(key, QStringLiteral("a text"));
        target = value.toString();
        return true;
    }

    bool boolean(const QString &key, bool &target)
    {
        const QVariant value = m_dictionary.value(key);
        if (!value.isValid() || value.isNull())
            return true;
        if (value.typeId() != QMetaType::Bool)
            return fail(key, QStringLiteral("true or false"));
        target = value.toBool();
        return true;
    }

    bool fail(const QString &key, const QString &expected)
    {
        if (m_error)
            *m_error = QStringLiteral("%1: must be %2.").arg(key, expected);
        return false;
    }

private:
    const QVariantMap &m_dictionary;
    QString *m_error;
};

bool isList(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantList || value.typeId() == QMetaType::QStringList;
}

} // namespace

std::optional<AppDefinition> AppDefinition::fromDictionary(const QVariantMap &dictionary, const QString &baseFolder,
                                                           QString *error)
{
    AppDefinition app;
    FieldReader read(dictionary, error);
    if (!read.text(QStringLiteral("appName"), app.appName) || !read.text(QStringLiteral("appURL"), app.appURL)
        || !read.text(QStringLiteral("creationPath"), app.applicationsPath)
        || !read.boolean(QStringLiteral("registerAsBrowser"), app.registerAsBrowser)
        || !read.boolean(QStringLiteral("incognito"), app.incognito)
        || !read.boolean(QStringLiteral("whitelistingEnabled"), app.isWhitelistingEnabled)
        || !read.boolean(QStringLiteral("tabbedApp"), app.needTab)
        || !read.boolean(QStringLiteral("forceDarkMode"), app.forceDarkMode)
        || !read.text(QStringLiteral("accentColor"), app.accentColor)
        || !read.boolean(QStringLiteral("restoreSession"), app.restoreSession)
        || !read.boolean(QStringLiteral("passwordManagerCompatibility"), app.passwordManagerCompatibility))
        return std::nullopt;

    const QVariant tabs = dictionary.value(QStringLiteral("tabsList"));
    if (tabs.isValid() && !tabs.isNull()) {
        if (!isList(tabs)) {
            read.fail(QStringLiteral("tabsList"), QStringLiteral("a list of addresses"));
            return std::nullopt;
        }
        for (const QVariant &tab : tabs.toList()) {
            if (tab.typeId() == QMetaType::QString)
                app.tabsList.append(TabAddress(tab.toString()));
            else if (tab.typeId() == QMetaType::QVariantMap
                     && tab.toMap().value(QStringLiteral("tabUrlString")).typeId() == QMetaType::QString)
                app.tabsList.append(TabAddress(tab.toMap().value(QStringLiteral("tabUrlString")).toString()));
            else {
                read.fail(QStringLiteral("tabsList"), QStringLiteral("a list of addresses"));
                return std::nullopt;
            }
        }
    }

    // A list of tabs makes the app tabbed.
    if (!app.tabsList.isEmpty())
        app.needTab = true;

    // A relative folder is the list's own business: it means a folder beside the list.
    if (!app.applicationsPath.isEmpty())
        app.applicationsPath = QDir::cleanPath(QDir(baseFolder).absoluteFilePath(app.applicationsPath));
    const QVariant switches = dictionary.value(QStringLiteral("engineSwitches"));
    if (switches.isValid() && !switches.isNull()) {
        const QVariantList items = switches.toList();
        const bool texts = isList(switches) && std::all_of(items.begin(), items.end(), [](const QVariant &item) {
            return item.typeId() == QMetaType::QString;
        });
        if (!texts) {
            read.fail(QStringLiteral("engineSwitches"), QStringLiteral("a list of switches"));
            return std::nullopt;
        }
        app.engineSwitches = switches.toStringList();
    }

    const QVariant rules = dictionary.value(QStringLiteral("routingRules"));
    if (rules.isValid() && !rules.isNull()) {
        if (!isList(rules)) {
            read.fail(QStringLiteral("routingRules"), QStringLiteral("a list of rules"));
            return std::nullopt;
        }
        app.routingRules = rules.toList();
    }

    const QVariant destination = dictionary.value(QStringLiteral("defaultDestination"));
    if (destination.isValid() && !destination.isNull()) {
        if (destination.typeId() != QMetaType::QVariantMap) {
            read.fail(QStringLiteral("defaultDestination"), QStringLiteral("a destination"));
            return std::nullopt;
        }
        app.defaultDestination = destination.toMap();
    }

    const QVariant icon = dictionary.value(QStringLiteral("appIcon"));
    if (icon.isValid() && !icon.isNull()) {
        QString iconError;
        if (icon.typeId() == QMetaType::QByteArray) {
            app.appIcon = SNImage::fromData(icon.toByteArray(), &iconError);
        } else if (icon.typeId() == QMetaType::QString) {
            const QString path = QDir(baseFolder).absoluteFilePath(icon.toString());
            app.appIcon = SNImage::fromFile(path, &iconError);
        } else {
            read.fail(QStringLiteral("appIcon"), QStringLiteral("image data or an image file"));
            return std::nullopt;
        }
        if (app.appIcon.isNull()) {
            if (error)
                *error = QStringLiteral("appIcon: %1").arg(iconError);
            return std::nullopt;
        }
    }
    return app;
}

void AppDefinition::applyTabRules()
{
    if (incognito)
        needTab = true;
    if (!needTab)
        tabsList.clear();
    else if (tabsList.isEmpty())
        tabsList.append(TabAddress(appURL));
}
