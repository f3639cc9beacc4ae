#include "CliPrompter.h"

#include <QTextStream>

#include <cstdio>
#include <unistd.h>

CliPrompter::CliPrompter(bool replace)
    : m_replace(replace)
{
}

int CliPrompter::ask(const QString &message, const QString &informativeText, const QStringList &buttons)
{
    QTextStream err(stderr);
    if (m_replace)
        return 0;
    if (!isatty(STDIN_FILENO)) {
        err << message << ' ' << informativeText << '\n';
        return -1;
    }
    err << message << '\n' << informativeText << '\n';
    for (qsizetype i = 0; i < buttons.size(); ++i)
        err << "  " << (i + 1) << ") " << buttons.at(i) << '\n';
    err << "Choose 1-" << buttons.size() << ": " << Qt::flush;
    QTextStream in(stdin);
    bool ok = false;
    const int choice = in.readLine().trimmed().toInt(&ok);
    // The last button is Cancel; anything that is not a listed number cancels too.
    if (!ok || choice < 1 || choice >= buttons.size())
        return -1;
    return choice - 1;
}

void CliPrompter::showError(const QString &message)
{
    QTextStream(stderr) << message << '\n';
}
