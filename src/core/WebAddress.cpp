#include "core/WebAddress.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace WebAddress {

bool hasScheme(const QString &text)
{
    for (const QString &scheme : {u"http://"_s, u"https://"_s, u"file://"_s}) {
        if (text.startsWith(scheme, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

bool hasAnyScheme(const QString &text)
{
    static const QRegularExpression scheme(u"^[A-Za-z][A-Za-z0-9+.-]*:(?!\\d+([/?#]|$))"_s);
    return scheme.match(text).hasMatch();
}

QString withScheme(const QString &typed, const QString &scheme)
{
    const QString trimmed = typed.trimmed();
    if (trimmed.isEmpty() || hasAnyScheme(trimmed))
        return trimmed;
    return scheme + u"://"_s + trimmed;
}

QStringList candidates(const QString &typed)
{
    const QString trimmed = typed.trimmed();
    if (trimmed.isEmpty())
        return {};
    if (hasAnyScheme(trimmed))
        return {trimmed};
    return {withScheme(trimmed, u"https"_s), withScheme(trimmed, u"http"_s)};
}

} // namespace WebAddress
