#pragma once

#include "core/Prompter.h"

// Answers the generator's questions on the command line: from --replace, else from the terminal
// when standard input is one, else Cancel with the question's text on standard error.
class CliPrompter final : public Prompter
{
public:
    explicit CliPrompter(bool replace);

    int ask(const QString &message, const QString &informativeText, const QStringList &buttons) override;
    void showError(const QString &message) override;

private:
    bool m_replace;
};
