#include "companion/host/LinkOpener.h"

#include "companion/host/AppBundle.h"

#include "core/BrowserCatalogue.h"
#include "core/UserDefaults.h"

#include <QFileInfo>
#include <QStandardPaths>

using namespace Qt::Literals::StringLiterals;

LinkOpener::Decision LinkOpener::launchFor(const QString &encodedLink, const LinkDestination &destination)
{
    switch (destination.type()) {
    case LinkDestination::Type::Default: {
        const QString xdgOpen = QStandardPaths::findExecutable(u"xdg-open"_s);
        if (xdgOpen.isEmpty())
            return {std::nullopt, u"xdg-open is not installed"_s};
        return {LinkLaunch{xdgOpen, {encodedLink}}, {}};
    }
    case LinkDestination::Type::Browser: {
        const BrowserInfo *browser = browserWithBundleId(destination.identifier());
        if (!browser)
            return {std::nullopt, u"unknown browser %1"_s.arg(destination.identifier())};
        // Settings are read only here, so that other requests start without them.
        const UserDefaults defaults;
        const QString engine = BrowserCatalogue::enginePathForScript(browser->typeKey, defaults);
        const QFileInfo program(engine);
        if (!program.isFile() || !program.isExecutable())
            return {std::nullopt, u"%1 is not installed at %2"_s.arg(browser->browserName, engine)};
        return {LinkLaunch{engine, {encodedLink}}, {}};
    }
    case LinkDestination::Type::SorvaneApp: {
        const QString program = AppBundle::launchProgram(destination.identifier());
        if (program.isEmpty())
            return {std::nullopt, u"%1 is not an app that can be started"_s.arg(destination.identifier())};
        return {LinkLaunch{program, {encodedLink}}, {}};
    }
    case LinkDestination::Type::InApp:
        break;
    }
    return {std::nullopt, u"links for the app itself stay in its window"_s};
}
