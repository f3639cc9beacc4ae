#include "maintenance/AppHealth.h"

#include "companion/CompanionSupport.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QFile>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

AppHealth AppHealth::check(Context &context, const QString &bundlePath, const QString &appId, const QVariantMap &info)
{
    AppHealth health;
    const BrowserInfo &browser = BrowserCatalogue::byTypeKey(info.value(u"browserType"_s).toString());
    health.enginePath = BrowserCatalogue::enginePathForScript(browser.typeKey, context.defaults());
    health.engineInstalled = CompanionSupport::isInstalled(health.enginePath);
    if (info.value(u"shouldIncludeWLExt"_s).toBool()) {
        const CompanionSupport::Verdict verdict = CompanionSupport(context).assess(browser, health.enginePath);
        health.linkRouting = CompanionSupport::routingKey(verdict.routing);
        health.linkRoutingReason = verdict.reason;
        // An app made before its engine stopped honouring --load-extension still passes it.
        QFile script(SNUpdaterHelper::scriptPath(bundlePath));
        const bool scriptUsesPipe = script.open(QIODevice::ReadOnly) && script.readAll().contains("--remote-debugging-pipe");
        if (verdict.routing == CompanionSupport::Routing::ThroughPipe && !scriptUsesPipe) {
            health.linkRouting = u"no"_s;
            health.linkRoutingReason = verdict.reason + u", but this app still passes --load-extension"_s;
        }
    } else {
        health.linkRouting = u"off"_s;
    }
    const QVariant stamp =
        PropertyList::readFile(bundlePath + u"/Contents/Info.plist"_s).toMap().value(u"CFBundleShortVersionString"_s);
    health.version = stamp.isValid() ? stamp.toString() : u"Unknown"_s;
    health.currentVersion = context.version();
    health.outdated = !stamp.isValid() || health.version != health.currentVersion;
    health.registryPath = SNAppTracker(context).getTracker().value(appId).toMap().value(u"appPath"_s).toString();
    health.registryStale = health.registryPath != bundlePath;
    health.engineRunning = SNUpdaterHelper::isEngineRunning(bundlePath);
    return health;
}

QVariantMap AppHealth::toMap() const
{
    return {{u"engineInstalled"_s, engineInstalled}, {u"enginePath"_s, enginePath},
            {u"linkRouting"_s, linkRouting},         {u"linkRoutingReason"_s, linkRoutingReason},
            {u"version"_s, version},                 {u"currentVersion"_s, currentVersion},
            {u"outdated"_s, outdated},               {u"registryPath"_s, registryPath},
            {u"registryStale"_s, registryStale},     {u"engineRunning"_s, engineRunning}};
}

QStringList AppHealth::problems() const
{
    QStringList lines;
    if (!engineInstalled)
        lines.append(u"Its engine %1 is not installed: the app cannot start."_s.arg(enginePath));
    if (linkRouting == u"no"_s)
        lines.append(u"Links are not routed: %1. `sorvane update` starts it the pipe way."_s.arg(linkRoutingReason));
    if (linkRouting == CompanionSupport::routingKey(CompanionSupport::Routing::Unknown))
        lines.append(u"Links are perhaps not routed: %1"_s.arg(linkRoutingReason));
    if (outdated)
        lines.append(u"It was made by Sorvane %1 (this is %2): `sorvane update` brings it up to date."_s.arg(
            version, currentVersion));
    if (registryStale)
        lines.append(registryPath.isEmpty()
                         ? u"The registry has no record of it."_s
                         : u"The registry still names %1; the app's next start corrects it."_s.arg(registryPath));
    return lines;
}
