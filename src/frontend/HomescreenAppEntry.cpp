#include "frontend/HomescreenAppEntry.h"

#include "core/BrowserCatalogue.h"
#include "core/SNAppItem.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

HomescreenAppEntry HomescreenAppEntry::fromAppItem(const SNAppItem &item)
{
    HomescreenAppEntry entry;
    entry.id = item.appId;
    entry.name = item.name;
    entry.iconImage = item.appIcon;
    entry.appPath = item.path;
    entry.appType = item.isTabbed() ? AppType::Tabbed : AppType::Standard;
    entry.browserType = BrowserCatalogue::numberForTypeKey(item.browserType);
    entry.browserName = item.browserName;
    entry.urls = item.urls;
    const QFileInfo bundle(item.path);
    entry.date = bundle.birthTime().isValid() ? bundle.birthTime() : bundle.lastModified();
    return entry;
}
