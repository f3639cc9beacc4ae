#include "companion/host/LinkOpener.h"

#include "companion/host/AppBundle.h"

using namespace Qt::Literals::StringLiterals;

LinkOpener::Decision LinkOpener::launchFor(const QString &encodedLink, const LinkDestination &destination)
{
    const QString open = u"/usr/bin/open"_s;
    switch (destination.type()) {
    case LinkDestination::Type::Default:
        return {LinkLaunch{open, {encodedLink}}, {}};
    case LinkDestination::Type::Browser:
        if (!browserWithBundleId(destination.identifier()))
            return {std::nullopt, u"unknown browser %1"_s.arg(destination.identifier())};
        return {LinkLaunch{open, {u"-b"_s, destination.identifier(), encodedLink}}, {}};
    case LinkDestination::Type::SorvaneApp:
        if (!AppBundle::isBundleFolder(destination.identifier()))
            return {std::nullopt, u"%1 is not an app"_s.arg(destination.identifier())};
        return {LinkLaunch{open, {u"-a"_s, destination.identifier(), encodedLink}}, {}};
    case LinkDestination::Type::InApp:
        break;
    }
    return {std::nullopt, u"links for the app itself stay in its window"_s};
}
