#include "BrowsersCommand.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"

#include <QFileInfo>

int BrowsersCommand::run(const QCommandLineParser &parser, Context &context)
{
    QVariantList browsers;
    QStringList lines;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const QString enginePath = BrowserCatalogue::enginePathForScript(browser.typeKey, context.defaults());
        const QFileInfo engine(enginePath);
        const bool installed = engine.isFile() && engine.isExecutable();
        browsers.append(QVariantMap{
            {QStringLiteral("key"), browser.typeKey},
            {QStringLiteral("number"), browser.number},
            {QStringLiteral("name"), browser.browserName},
            {QStringLiteral("bundleId"), BrowserCatalogue::bundleIdForNumber(browser.number)},
            {QStringLiteral("settingsKey"), browser.settingsKey},
            {QStringLiteral("enginePath"), enginePath},
            {QStringLiteral("installed"), installed},
            {QStringLiteral("userDataFolder"), BrowserCatalogue::userDataFolder(browser, context.homeFolder())},
        });
        lines.append(QStringLiteral("%1 %2 %3  %4")
                         .arg(browser.typeKey.leftJustified(9), browser.browserName.leftJustified(21),
                              installed ? QStringLiteral("installed    ") : QStringLiteral("not installed"),
                              enginePath));
    }
    if (parser.isSet(QStringLiteral("json")))
        printJson(browsers);
    else
        print(lines.join(u'\n'));
    return Success;
}
