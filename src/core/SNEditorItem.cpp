#include "core/SNEditorItem.h"

#include "core/BrowserCatalogue.h"

#include <QFileInfo>
#include <QHash>

QString SNEditorItem::browserName() const
{
    return BrowserCatalogue::byTypeKey(browser).browserName;
}

std::optional<SNEditorItem> SNEditorItem::initWithDictionary(const QVariantMap &dictionary, QString *error)
{
    const auto fail = [error](const QString &message) -> std::optional<SNEditorItem> {
        if (error)
            *error = message;
        return std::nullopt;
    };

    const QVariant appItem = dictionary.value(QStringLiteral("appItem"));
    if (appItem.typeId() != QMetaType::QVariantMap)
        return fail(QStringLiteral("appItem: must be an app definition."));
    for (const char *key : {"appId", "path", "browser"}) {
        const QVariant value = dictionary.value(QString::fromLatin1(key));
        if (value.isValid() && value.typeId() != QMetaType::QString)
            return fail(QStringLiteral("%1: must be a text.").arg(QString::fromLatin1(key)));
    }

    SNEditorItem item;
    item.appId = dictionary.value(QStringLiteral("appId")).toString();
    item.path = dictionary.value(QStringLiteral("path")).toString();
    item.browser = dictionary.value(QStringLiteral("browser")).toString();
    if (item.appId.isEmpty())
        return fail(QStringLiteral("appId: is missing."));

    const QString base = item.path.isEmpty() ? QString() : QFileInfo(item.path).absolutePath();
    auto definition = AppDefinition::fromDictionary(appItem.toMap(), base, error);
    if (!definition)
        return std::nullopt;
    item.appItem = std::move(*definition);

    const QVariant installed = dictionary.value(QStringLiteral("installed"));
    item.installed = installed.typeId() == QMetaType::Bool ? installed.toBool()
                                                           : !item.path.isEmpty() && QFileInfo::exists(item.path);
    return item;
}

SNEditorItem SNEditorItem::initWithAppItem(const SNAppItem &item, const AppDefinition &definition)
{
    SNEditorItem editor;
    editor.appItem = definition;
    editor.appId = item.appId;
    editor.path = item.path;
    editor.browser = item.browserType;
    editor.installed = !item.path.isEmpty() && QFileInfo::exists(item.path);
    return editor;
}

QString SNAppItem::displayNameForBrowserType(const QString &browserType)
{
    static const QHash<QString, QString> names{
        {QStringLiteral("canary"), QStringLiteral("Google Chrome Canary")},
        {QStringLiteral("brave"), QStringLiteral("Brave Browser")},
        {QStringLiteral("edge"), QStringLiteral("Microsoft Edge")},
        {QStringLiteral("opera"), QStringLiteral("Opera")},
        {QStringLiteral("vivaldi"), QStringLiteral("Vivaldi")},
        {QStringLiteral("helium"), QStringLiteral("Helium")},
        {QStringLiteral("chromium"), QStringLiteral("Chromium")},
    };
    return names.value(browserType, QStringLiteral("Google Chrome"));
}
