#include "BrowsersCommand.h"

#include "companion/CompanionSupport.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"

#include <QVariant>

int BrowsersCommand::run(const QCommandLineParser &parser, Context &context)
{
    const CompanionSupport support(context);
    QVariantList browsers;
    QStringList lines;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const QString enginePath = BrowserCatalogue::enginePathForScript(browser.typeKey, context.defaults());
        const CompanionSupport::Verdict verdict = support.assess(browser, enginePath, /*alwaysReadVersion=*/true);
        const bool installed = verdict.installed;
        const QString routing = CompanionSupport::routingKey(verdict.routing);
        browsers.append(QVariantMap{
            {QStringLiteral("key"), browser.typeKey},
            {QStringLiteral("number"), browser.number},
            {QStringLiteral("name"), browser.browserName},
            {QStringLiteral("bundleId"), BrowserCatalogue::bundleIdForNumber(browser.number)},
            {QStringLiteral("settingsKey"), browser.settingsKey},
            {QStringLiteral("enginePath"), enginePath},
            {QStringLiteral("installed"), installed},
            {QStringLiteral("userDataFolder"), BrowserCatalogue::userDataFolder(browser, context.homeFolder())},
            {QStringLiteral("version"), verdict.version.isKnown() ? QVariant(verdict.version.text) : QVariant()},
            {QStringLiteral("linkRouting"), routing},
            {QStringLiteral("linkRoutingReason"), verdict.reason},
        });
        QString line = QStringLiteral("%1 %2 %3  %4 links: %5  %6")
                           .arg(browser.typeKey.leftJustified(9), browser.browserName.leftJustified(21),
                                installed ? QStringLiteral("installed    ") : QStringLiteral("not installed"),
                                (verdict.version.isKnown() ? verdict.version.text : QStringLiteral("-")).leftJustified(15),
                                routing.leftJustified(7), enginePath);
        // Only a verdict other than "yes" needs its why on the line.
        if (verdict.routing != CompanionSupport::Routing::Yes)
            line += QStringLiteral("  (%1)").arg(verdict.reason);
        lines.append(line);
    }
    if (parser.isSet(QStringLiteral("json")))
        printJson(browsers);
    else
        print(lines.join(u'\n'));
    return Success;
}
