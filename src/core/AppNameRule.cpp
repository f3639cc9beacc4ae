#include "core/AppNameRule.h"

#include "core/ShellEscaping.h"

#include <QFile>

using namespace Qt::Literals::StringLiterals;

namespace AppNameRule {

int byteLength(const QString &name)
{
    return int(QFile::encodeName(name).size());
}

Verdict check(const QString &name)
{
    // The script and the bundle layout rule out these; every other character is escaped.
    if (!ShellEscaping::isAcceptableAppName(name) || name == u"."_s || name == u".."_s)
        return Verdict::Invalid;
    return byteLength(name) > maximumBytes() ? Verdict::TooLong : Verdict::Acceptable;
}

QString tooLongMessage(const QString &name)
{
    return u"too long (%1 bytes; an app's name can have at most %2 bytes)"_s.arg(byteLength(name)).arg(maximumBytes());
}

std::optional<Refusal> refusal(const QString &name)
{
    const QString quoted = u"'%1'"_s.arg(name);
    if (name.isEmpty())
        return Refusal{u"empty"_s, u"an app needs a name"_s};
    if (name == u"."_s || name == u".."_s)
        return Refusal{u"%1 names a folder itself and cannot name an app"_s.arg(quoted), u"add letters to it"_s};
    for (const QChar c : name) {
        if (c == u'/')
            return Refusal{u"%1 contains '/', which a file name cannot hold"_s.arg(quoted), u"use another character"_s};
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            return Refusal{u"the name contains the control character U+%1 (a tab or line break, for one)"_s.arg(
                               QString::number(c.unicode(), 16).toUpper().rightJustified(4, u'0')),
                           u"remove it"_s};
    }
    if (check(name) == Verdict::TooLong)
        return Refusal{tooLongMessage(name), u"shorten it"_s};
    return std::nullopt;
}

} // namespace AppNameRule
