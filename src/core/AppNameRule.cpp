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

} // namespace AppNameRule
