#include "BrowsersCommand.h"

#include "companion/CompanionSupport.h"
#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/Platform.h"

#include <QVariant>

int BrowsersCommand::run(const QCommandLineParser &parser, Context &context)
{
    const CompanionSupport support(context);
    const BrowserLocator locator = BrowserLocator::forHome(context.homeFolder());
    QVariantList browsers;
    QStringList lines;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const QString enginePath = BrowserCatalogue::enginePathForScript(browser.typeKey, context.defaults());
        const CompanionSupport::Verdict verdict = support.assess(browser, enginePath, /*alwaysReadVersion=*/true);
        const bool installed = verdict.installed;
        const QString routing = CompanionSupport::routingKey(verdict.routing);
        QVariantMap document{
            {QStringLiteral("key"), browser.typeKey},
            {QStringLiteral("number"), browser.number},
            {QStringLiteral("name"), browser.browserName},
            {QStringLiteral("bundleId"), BrowserCatalogue::bundleIdForNumber(browser.number)},
            {QStringLiteral("settingsKey"), browser.settingsKey},
            {QStringLiteral("enginePath"), enginePath},
            {QStringLiteral("installed"), installed},
            {QStringLiteral("userDataFolder"), BrowserCatalogue::userDataFolder(browser, context.homeFolder())},
            {QStringLiteral("packaging"), QVariant()},
            {QStringLiteral("version"), verdict.version.isKnown() ? QVariant(verdict.version.text) : QVariant()},
            {QStringLiteral("linkRouting"), routing},
            {QStringLiteral("linkRoutingReason"), verdict.reason},
        };
        QString packaging;
        if (!Platform::isMac()) {
            // Which packaging the engine path belongs to, and every other one that is there.
            const BrowserInstallation chosen = locator.locate(browser, context.defaults());
            // A browser found nowhere has no packaging to name.
            if (chosen.found || chosen.packaging == BrowserPackaging::Setting)
                packaging = BrowserLocator::packagingKey(chosen.packaging);
            QVariantList found;
            for (const BrowserInstallation &installation : locator.installations(browser)) {
                found.append(QVariantMap{{QStringLiteral("packaging"), BrowserLocator::packagingKey(installation.packaging)},
                                         {QStringLiteral("enginePath"), installation.enginePath},
                                         {QStringLiteral("foundAt"), installation.source},
                                         {QStringLiteral("note"), installation.note},
                                         {QStringLiteral("userDataFolder"), locator.userDataFolder(browser, installation)}});
            }
            document.insert(QStringLiteral("packaging"), packaging.isEmpty() ? QVariant() : QVariant(packaging));
            document.insert(QStringLiteral("packagingNote"), chosen.note);
            document.insert(QStringLiteral("userDataFolder"), locator.userDataFolder(browser, chosen));
            document.insert(QStringLiteral("installations"), found);
        }
        browsers.append(document);
        QString line = QStringLiteral("%1 %2 %3  %4 links: %5  %6")
                           .arg(browser.typeKey.leftJustified(9), browser.browserName.leftJustified(21),
                                installed ? QStringLiteral("installed    ") : QStringLiteral("not installed"),
                                (verdict.version.isKnown() ? verdict.version.text : QStringLiteral("-")).leftJustified(15),
                                routing.leftJustified(7), enginePath);
        if (!packaging.isEmpty())
            line += QStringLiteral(" [%1]").arg(packaging);
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
