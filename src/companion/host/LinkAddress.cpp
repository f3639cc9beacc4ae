#include "companion/host/LinkAddress.h"

#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

bool isWebAddress(const QUrl &url)
{
    const QString scheme = url.scheme(); // QUrl lower-cases the scheme
    return (scheme == u"http"_s || scheme == u"https"_s) && !url.host().isEmpty();
}

} // namespace

std::optional<QString> LinkAddress::openable(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid())
        return std::nullopt;
    const bool mail = url.scheme() == u"mailto"_s && !url.path().isEmpty();
    if (!mail && !isWebAddress(url))
        return std::nullopt;
    return url.toString(QUrl::FullyEncoded);
}

std::optional<QString> LinkAddress::restorableTab(const QString &text)
{
    const QUrl url(text, QUrl::TolerantMode);
    // An IPv6 literal host needs its brackets, which the script would split the file at; encoded,
    // the address would name no host at all.
    if (!url.isValid() || !isWebAddress(url) || url.host().contains(u':'))
        return std::nullopt;
    const QString encoded = url.toString(QUrl::FullyEncoded);
    // Full encoding leaves the delimiters '[', ']' and ',' alone; it already encodes '"', '\' and
    // blanks, which are listed so that this loop alone keeps the file readable by the script.
    QString safe;
    safe.reserve(encoded.size());
    for (const QChar c : encoded) {
        if (QStringView(u"\"\\[], ").contains(c))
            safe += u"%%1"_s.arg(uint(c.unicode()), 2, 16, QChar(u'0')).toUpper();
        else
            safe += c;
    }
    return safe;
}
