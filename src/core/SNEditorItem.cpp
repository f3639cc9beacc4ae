#include "core/SNEditorItem.h"

#include "core/BrowserCatalogue.h"

#include <QFileInfo>
#include <QHash>

QString SNEditorItem::browserName() const
{
    return BrowserCatalogue::byTypeKey(browser).browserName;
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
