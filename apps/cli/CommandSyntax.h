#pragma once

#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

// What a command's parser accepts, read back from it. Qt keeps no list of the options a parser was
// given other than its help text, which is made from exactly that list; reading it back means an
// option added anywhere is checked and listed without being named twice.
struct CommandSyntax
{
    struct Option
    {
        QStringList names;  // without dashes
        QString valueName;  // empty for a switch
        QString description; // its help text, on one line
    };

    QList<Option> options;
    QStringList positionals; // the names of the positional arguments, in order
    QStringList positionalDescriptions; // their help texts, in the same order

    static CommandSyntax of(const QCommandLineParser &parser);
    // The option called `name`, or nullptr.
    const Option *option(const QString &name) const;
};
