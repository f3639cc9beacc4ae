#pragma once

#include <QString>
#include <QStringList>

// Questions to the user: the command line answers from its flags or the terminal, the desktop
// app from dialogs, tests from a script. Core code never shows anything itself.
class Prompter
{
public:
    virtual ~Prompter() = default;

    // Returns the index of the chosen button, or -1 when the question was cancelled.
    virtual int ask(const QString &message, const QString &informativeText, const QStringList &buttons) = 0;
    virtual void showError(const QString &message) = 0;
};
