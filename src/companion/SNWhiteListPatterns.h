#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

// Whitelisting patterns of apps made before routing rules existed, derived from their addresses.
class SNWhiteListPatterns final
{
public:
    SNWhiteListPatterns() = delete;

    // Domains whose apps also need further sites to sign in (one web-mail entry).
    static QMap<QString, QStringList> patterns();

    // The legacy pattern list for an app's addresses (its tab addresses, or its single address).
    // With `splitAtBlanks` (regeneration, where addresses come back from the launcher script) each
    // address is split at blanks and every piece is used once, in first-seen order.
    static QStringList legacyPatterns(const QStringList &addresses, bool splitAtBlanks);
};
