#include "companion/host/LinkOpener.h"

#include "companion/host/LinkAddress.h"

#include "core/BrowserCatalogue.h"

#include <utility>

using namespace Qt::Literals::StringLiterals;

LinkOpener::LinkOpener(std::optional<AppRoutingData> routing) : m_routing(std::move(routing)) {}

LinkOpener::Decision LinkOpener::decide(const QString &link, const LinkDestination &destination) const
{
    const std::optional<QString> encoded = LinkAddress::openable(link);
    if (!encoded)
        return {std::nullopt, u"only http, https and mailto links are opened"_s};
    if (!m_routing)
        return {std::nullopt, u"this app's routing data cannot be read"_s};
    if (!m_routing->names(destination))
        return {std::nullopt, u"the destination is not one this app routes to"_s};
    return launchFor(*encoded, destination);
}

const BrowserInfo *LinkOpener::browserWithBundleId(const QString &bundleId)
{
    const auto same = [&](const QString &identifier) {
        return bundleId.compare(identifier, Qt::CaseInsensitive) == 0;
    };
    if (same(u"com.vivaldi.Vivaldi"_s))
        return &BrowserCatalogue::byNumber(BrowserCatalogue::Vivaldi);
    if (same(u"net.imput.helium"_s))
        return &BrowserCatalogue::byNumber(BrowserCatalogue::Helium);
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        if (same(browser.browserBundleID))
            return &browser;
    }
    return nullptr;
}
