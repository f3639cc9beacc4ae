#include "frontend/EngineChoices.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/UserDefaults.h"
#include "frontend/InstalledBrowsers.h"

#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;

QVariantList EngineChoices::describe(Context &context, const QList<int> &types)
{
    const CompanionSupport companion(context);
    QVariantList list;
    for (int type : types) {
        const BrowserInfo &browser = BrowserCatalogue::byNumber(type);
        const QString configured = context.defaults().stringForKey(browser.settingsKey);
        const QString enginePath = InstalledBrowsers::configuredPathCounts(configured)
                                       ? configured
                                       : BrowserCatalogue::defaultEnginePath(browser);
        const CompanionSupport::Verdict verdict = companion.assess(browser, enginePath);
        list.append(QVariantMap{
            {u"type"_s, browser.number},
            {u"name"_s, browser.browserName},
            {u"linkRouting"_s, linkRoutingNote(verdict.routing)},
        });
    }
    return list;
}

QString EngineChoices::linkRoutingNote(CompanionSupport::Routing routing)
{
    switch (routing) {
    case CompanionSupport::Routing::Yes:
        return u"Link routing works: the companion extension loads with this browser."_s;
    case CompanionSupport::Routing::ThroughPipe:
        return u"Link routing works: the app's launch program loads the companion extension itself."_s;
    case CompanionSupport::Routing::Unknown:
        break;
    }
    return u"Link routing may not work with this version; the app itself works either way."_s;
}
