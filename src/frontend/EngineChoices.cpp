#include "frontend/EngineChoices.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"
#include "frontend/InstalledBrowsers.h"

#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;

QVariantList EngineChoices::describe(Context &context, const QList<int> &types)
{
    const CompanionSupport companion(context);
    const BrowserLocator locator = BrowserLocator::forHome(context.homeFolder());
    QVariantList list;
    for (int type : types) {
        const BrowserInfo &browser = BrowserCatalogue::byNumber(type);
        const QString configured = context.defaults().stringForKey(browser.settingsKey);
        QString enginePath = BrowserCatalogue::defaultEnginePath(browser);
        QString installedAs;
        if (InstalledBrowsers::configuredPathCounts(configured)) {
            enginePath = configured;
        } else if (!Platform::isMac()) {
            const QList<BrowserInstallation> found = locator.installations(browser);
            if (!found.isEmpty()) {
                enginePath = found.constFirst().enginePath;
                installedAs = packagingNote(found.constFirst().packaging, enginePath);
            }
        }
        if (installedAs.isEmpty() && !Platform::isMac())
            installedAs = packagingNote(BrowserLocator::packagingOfEnginePath(enginePath), enginePath);
        const CompanionSupport::Verdict verdict = companion.assess(browser, enginePath);
        list.append(QVariantMap{
            {u"type"_s, browser.number},
            {u"name"_s, browser.browserName},
            {u"linkRouting"_s, linkRoutingNote(verdict.routing)},
            {u"installedAs"_s, installedAs},
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
    case CompanionSupport::Routing::No:
        return u"Links open in the app: this browser's confinement keeps the companion's helper from starting."_s;
    case CompanionSupport::Routing::Unknown:
        break;
    }
    return u"Link routing may not work with this version; the app itself works either way."_s;
}

QString EngineChoices::packagingNote(BrowserPackaging packaging, const QString &enginePath)
{
    switch (packaging) {
    case BrowserPackaging::Snap:
        return u"Snap: %1"_s.arg(enginePath);
    case BrowserPackaging::FlatpakSystem:
        return u"Flatpak (system): %1"_s.arg(enginePath);
    case BrowserPackaging::FlatpakUser:
        return u"Flatpak (your own): %1"_s.arg(enginePath);
    case BrowserPackaging::Path:
        return u"From PATH: %1"_s.arg(enginePath);
    case BrowserPackaging::Setting:
    case BrowserPackaging::Native:
    case BrowserPackaging::Vendor:
        break;
    }
    return enginePath;
}
