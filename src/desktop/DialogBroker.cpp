#include "desktop/DialogBroker.h"

#include <QEventLoop>
#include <QMetaMethod>

DialogBroker::DialogBroker(QObject *parent)
    : QObject(parent)
{
}

int DialogBroker::ask(const QString &message, const QString &informativeText, const QStringList &buttons)
{
    if (m_asking || !isSignalConnected(QMetaMethod::fromSignal(&DialogBroker::questionAsked)))
        return -1;
    m_answer = -1;
    m_asking = true;
    Q_EMIT askingChanged();
    QEventLoop loop;
    connect(this, &DialogBroker::answered, &loop, &QEventLoop::quit);
    Q_EMIT questionAsked(message, informativeText, buttons);
    if (m_asking)
        loop.exec(QEventLoop::DialogExec);
    return m_answer;
}

void DialogBroker::showError(const QString &message)
{
    Q_EMIT errorShown(message);
}

void DialogBroker::answer(int buttonIndex)
{
    if (!m_asking)
        return;
    m_answer = buttonIndex;
    m_asking = false;
    Q_EMIT askingChanged();
    Q_EMIT answered();
}
