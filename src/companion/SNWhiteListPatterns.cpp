#include "companion/SNWhiteListPatterns.h"

#include "core/Constants.h"

namespace {

// Strips the scheme and the first host label when there are at least three dot-separated
// pieces, so "mail.example.com" whitelists "example.com". Paths stay as they are.
QString patternForAddress(QString address)
{
    address.remove(QStringLiteral("http://"));
    address.remove(QStringLiteral("https://"));
    QStringList pieces = address.split(u'.');
    if (pieces.size() >= 3)
        pieces.removeFirst();
    return pieces.join(u'.');
}

QStringList distinctPiecesAtBlanks(const QStringList &addresses)
{
    QStringList pieces;
    for (const QString &address : addresses) {
        for (const QString &piece : address.split(u' ', Qt::SkipEmptyParts)) {
            if (!pieces.contains(piece))
                pieces.append(piece);
        }
    }
    return pieces;
}

} // namespace

QMap<QString, QStringList> SNWhiteListPatterns::patterns()
{
    return {{Constants::WebMailDomain, {Constants::WebMailSignInDomain}}};
}

QStringList SNWhiteListPatterns::legacyPatterns(const QStringList &addresses, bool splitAtBlanks)
{
    const QStringList collected = splitAtBlanks ? distinctPiecesAtBlanks(addresses) : addresses;

    QStringList results;
    for (const QString &address : collected) {
        // An app without an address contributes nothing rather than an empty pattern.
        if (!address.isEmpty())
            results.append(patternForAddress(address));
    }

    const QMap<QString, QStringList> table = patterns();
    QStringList list = results;
    for (const QString &result : results)
        list.append(table.value(result));
    return list;
}
