#include "core/EngineSwitches.h"

#include "core/UserDefaults.h"

#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

const QString EngineSwitches::DefaultsKey = u"defaultEngineSwitches"_s;

namespace {

// Long enough for any real switch (a feature list); a script line stays readable.
constexpr qsizetype MaximumLength = 1000;

QString shown(const QString &value)
{
    QString text = u"'"_s;
    for (const QChar c : value.left(80)) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            text += u"\\x%1"_s.arg(int(c.unicode()), 2, 16, QChar(u'0'));
        else
            text += c;
    }
    return text + (value.size() > 80 ? u"...'"_s : u"'"_s);
}

} // namespace

QString EngineSwitches::problem(const QString &engineSwitch)
{
    static const QRegularExpression word(u"\\A--[A-Za-z0-9][A-Za-z0-9._+,:@%/=-]*\\z"_s);
    if (engineSwitch.size() <= MaximumLength && word.match(engineSwitch).hasMatch())
        return {};
    if (engineSwitch.size() > MaximumLength)
        return u"%1 is longer than %2 characters"_s.arg(shown(engineSwitch)).arg(MaximumLength);
    return u"%1 is not one engine switch: a switch starts with -- and a letter or digit, and holds only "
           "letters, digits and . _ - + , : @ % / = (no blanks, quotes, $, backticks, * ? [ or ; & | < >)"_s
        .arg(shown(engineSwitch));
}

QString EngineSwitches::check(const QStringList &switches, const QString &field)
{
    for (qsizetype i = 0; i < switches.size(); ++i) {
        const QString reason = problem(switches.at(i));
        if (!reason.isEmpty())
            return u"%1[%2]: %3"_s.arg(field).arg(i).arg(reason);
    }
    return {};
}

QStringList EngineSwitches::fromText(const QString &text)
{
    static const QRegularExpression blanks(u"[ \\t\\r\\n]+"_s);
    return text.split(blanks, Qt::SkipEmptyParts);
}

QStringList EngineSwitches::defaults(const UserDefaults &userDefaults)
{
    const QVariant value = userDefaults.value(DefaultsKey);
    if (value.typeId() == QMetaType::QString)
        return fromText(value.toString());
    return value.toStringList();
}
