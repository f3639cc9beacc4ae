#pragma once

#include "companion/host/AppRoutingData.h"
#include "companion/host/LinkDestination.h"
#include "companion/host/LinkLaunch.h"

#include <QString>

#include <optional>

struct BrowserInfo;

// Decides how an "openLink" request is carried out, and whether at all: the link must be an
// http, https or mailto address, and the destination one that this app's own routing names.
// Starts nothing itself; the platform part (LinkOpener_<platform>.cpp) picks the program.
class LinkOpener final
{
public:
    struct Decision
    {
        std::optional<LinkLaunch> launch; // set when the link may be opened
        QString refusal;                  // why not, otherwise
    };

    explicit LinkOpener(std::optional<AppRoutingData> routing);

    Decision decide(const QString &link, const LinkDestination &destination) const;

    // The catalogue browser of a bundle identifier. Besides the catalogue's own identifiers this
    // takes Vivaldi's and Helium's real ones, which the catalogue lists as Chrome's.
    static const BrowserInfo *browserWithBundleId(const QString &bundleId);

private:
    // The platform's program for a checked link and a destination the app routes to; "in-app"
    // links open nothing.
    static Decision launchFor(const QString &encodedLink, const LinkDestination &destination);

    std::optional<AppRoutingData> m_routing;
};
