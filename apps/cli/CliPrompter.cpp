#include "CliPrompter.h"

#include "generation/AppCreator.h"

#include <QTextStream>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {
constexpr int Attempts = 3;
const QString KeepBoth = u"Keep Both"_s;
} // namespace

CliPrompter::CliPrompter(QString command, bool answerFirst, CliMessage noTerminal)
    : m_command(std::move(command)), m_answerFirst(answerFirst), m_noTerminal(noTerminal)
{
}

std::optional<int> CliPrompter::readAnswer(const QString &typed, const QStringList &choices)
{
    const QString answer = typed.trimmed().toLower();
    const int last = int(choices.size()) - 1;
    if (answer.isEmpty() || answer == u"n"_s || answer == u"no"_s)
        return last;
    if (answer == u"y"_s || answer == u"yes"_s)
        return 0;
    bool isNumber = false;
    const int number = answer.toInt(&isNumber);
    if (isNumber)
        return number >= 1 && number <= last + 1 ? std::optional<int>(number - 1) : std::nullopt;
    std::optional<int> started;
    for (int i = 0; i <= last; ++i) {
        const QString choice = choices.at(i).toLower();
        if (choice == answer)
            return i;
        if (choice.startsWith(answer)) {
            if (started)
                return std::nullopt; // the start of more than one
            started = i;
        }
    }
    return started;
}

int CliPrompter::ask(const QString &message, const QString &informativeText, const QStringList &buttons)
{
    if (m_answerFirst)
        return 0;
    const bool keepBoth = m_offerKeepBoth && message == AppCreator::ReplaceMessage && buttons.size() == 2;
    const QStringList choices = keepBoth ? QStringList{buttons.first(), KeepBoth, buttons.last()} : buttons;

    QTextStream err(stderr);
    if (!isatty(STDIN_FILENO)) {
        err << message << (informativeText.isEmpty() ? QString() : u" "_s + informativeText) << '\n'
            << "sorvane " << m_command << ": " << CliMessages::text(m_noTerminal) << '\n';
        m_lackedTerminal = true;
        return -1;
    }
    err << message << '\n';
    if (!informativeText.isEmpty())
        err << informativeText << '\n';
    for (qsizetype i = 0; i < choices.size(); ++i)
        err << "  " << (i + 1) << ") " << choices.at(i) << '\n';
    QTextStream in(stdin);
    for (int attempt = 0; attempt < Attempts; ++attempt) {
        err << "Choose 1-" << choices.size() << " (Enter: " << choices.last() << "): " << Qt::flush;
        const QString line = in.readLine();
        if (line.isNull()) { // end of input: the safe choice
            err << '\n';
            return -1;
        }
        if (const std::optional<int> choice = readAnswer(line, choices)) {
            if (*choice == choices.size() - 1)
                return -1;
            if (keepBoth && *choice == 1)
                return AppCreator::KeepBothAnswer;
            return *choice;
        }
        err << "Answer with a number from 1 to " << choices.size() << ", y or n.\n";
    }
    return -1;
}

void CliPrompter::showError(const QString &message)
{
    QTextStream(stderr) << message << '\n';
}
