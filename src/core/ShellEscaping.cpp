#include "core/ShellEscaping.h"

namespace {

bool isPlainWordCharacter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')
        || QStringView(u"._-+,:@%/=").contains(c);
}

// Inside double quotes a backslash only quotes these; before anything else it is itself.
bool isSpecialInDoubleQuotes(QChar c)
{
    return c == u'"' || c == u'$' || c == u'`' || c == u'\\';
}

} // namespace

QString ShellEscaping::doubleQuoted(const QString &value)
{
    QString result;
    result.reserve(value.size());
    for (const QChar c : value) {
        if (isSpecialInDoubleQuotes(c))
            result += u'\\';
        result += c;
    }
    return result;
}

QString ShellEscaping::unquoted(const QString &value)
{
    if (value.isEmpty())
        return QStringLiteral("''");
    QString result;
    result.reserve(value.size() * 2);
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value.at(i);
        if (c == u'\n') {
            result += QLatin1String("'\n'");
            continue;
        }
        // A surrogate pair is one character to the shell and gets one backslash.
        const bool pair = c.isHighSurrogate() && i + 1 < value.size() && value.at(i + 1).isLowSurrogate();
        if (pair) {
            result += u'\\';
            result += c;
            result += value.at(++i);
            continue;
        }
        if (!isPlainWordCharacter(c))
            result += u'\\';
        result += c;
    }
    return result;
}

QString ShellEscaping::percentEncodeAddress(const QString &address)
{
    static const QStringView raw = u" \"<>`\\^{|}";
    QString result;
    result.reserve(address.size());
    for (const QChar c : address) {
        if (raw.contains(c))
            result += QLatin1Char('%') + QString::number(c.unicode(), 16).toUpper();
        else
            result += c;
    }
    return result;
}

bool ShellEscaping::isAcceptableAppName(const QString &name)
{
    if (name.isEmpty())
        return false;
    for (const QChar c : name) {
        if (c == u'/' || c.unicode() < 0x20 || c.unicode() == 0x7f)
            return false;
    }
    return true;
}

QString ShellEscaping::unescapeDoubleQuoted(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'\\' && i + 1 < text.size()) {
            const QChar next = text.at(i + 1);
            if (isSpecialInDoubleQuotes(next)) {
                result += next;
                ++i;
                continue;
            }
            if (next == u'\n') { // a line continuation
                ++i;
                continue;
            }
        }
        result += c;
    }
    return result;
}

QString ShellEscaping::unescapeUnquoted(const QString &text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'\\') {
            if (++i < text.size() && text.at(i) != u'\n')
                result += text.at(i);
        } else if (c == u'\'') {
            const qsizetype end = text.indexOf(u'\'', i + 1);
            const qsizetype stop = end < 0 ? text.size() : end;
            result += QStringView(text).mid(i + 1, stop - i - 1);
            i = stop;
        } else if (c == u'"') {
            qsizetype end = i + 1;
            while (end < text.size() && text.at(end) != u'"')
                end += text.at(end) == u'\\' ? 2 : 1;
            end = qMin(end, text.size());
            result += unescapeDoubleQuoted(text.mid(i + 1, end - i - 1));
            i = end;
        } else {
            result += c;
        }
    }
    return result;
}
