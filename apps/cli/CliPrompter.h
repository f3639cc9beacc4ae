#pragma once

#include "CliMessages.h"

#include "core/Prompter.h"

#include <QString>
#include <QStringList>

#include <optional>

// Answers questions on the command line. An option (--yes, --replace) answers with the first
// choice; otherwise a terminal is asked. A run without one answers Cancel: it prints the question
// and the options that answer it, and the command fails (exit 1) as it would on Cancel.
class CliPrompter final : public Prompter
{
public:
    // `command`: the asking command's name. `answerFirst`: the option that answers every question
    // was given. `noTerminal`: the refusal that names the options that answer without a terminal.
    CliPrompter(QString command, bool answerFirst, CliMessage noTerminal);

    // The generator's replace question also offers to keep both apps.
    void offerKeepBoth() { m_offerKeepBoth = true; }

    int ask(const QString &message, const QString &informativeText, const QStringList &buttons) override;
    void showError(const QString &message) override;

    // A question came while standard input was no terminal (and no option answered it).
    bool lackedTerminal() const { return m_lackedTerminal; }

    // What a typed line answers, as an index of `choices`: Enter (or nothing) and "n"/"no" the
    // last, safe choice; "y"/"yes" the first; a number from 1; a choice's word or the start of
    // only one. Nothing when the line is none of these.
    static std::optional<int> readAnswer(const QString &typed, const QStringList &choices);

private:
    QString m_command;
    bool m_answerFirst;
    CliMessage m_noTerminal;
    bool m_offerKeepBoth = false;
    bool m_lackedTerminal = false;
};
