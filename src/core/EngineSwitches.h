#pragma once

#include <QString>
#include <QStringList>

class UserDefaults;

// Extra switches the user gives an app's engine: the app's own, and Sorvane's default ones for
// every app. Each lands unquoted in the app's launcher script, so it must be one word of
// characters that mean nothing to the shell: "--" and a letter or digit first, then only letters,
// digits and . _ - + , : @ % / = (no blanks, quotes, $, backticks, glob or command characters).
class EngineSwitches final
{
public:
    // The user default holding the switches every app's engine gets, a list of texts.
    static const QString DefaultsKey;

    // Empty when `engineSwitch` is acceptable, else why not, naming the value and the rule.
    static QString problem(const QString &engineSwitch);
    // The first unacceptable switch of a list as "<field>[<index>]: <problem>"; empty when all are.
    static QString check(const QStringList &switches, const QString &field);
    // A user's text (switches between blanks or line breaks) as switches, unchecked.
    static QStringList fromText(const QString &text);

    // Sorvane's default switches as stored (not checked: the script builder leaves out bad ones).
    static QStringList defaults(const UserDefaults &userDefaults);
};
