#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

// The desktop app's answers to questions from the generator and the stores. A question is put to
// the views as a signal and waits, in a nested event loop like a modal dialog's, until a view
// calls answer(); errors are shown without waiting. A question asked while no view listens (no
// window yet, or a test without one) is cancelled at once instead of blocking.
class DialogBroker final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool asking READ isAsking NOTIFY askingChanged)

public:
    explicit DialogBroker(QObject *parent = nullptr);

    bool isAsking() const { return m_asking; }

    // The index of the chosen button, or -1 when cancelled.
    int ask(const QString &message, const QString &informativeText, const QStringList &buttons);
    void showError(const QString &message);

    Q_INVOKABLE void answer(int buttonIndex);
    Q_INVOKABLE void cancel() { answer(-1); }

Q_SIGNALS:
    void questionAsked(const QString &message, const QString &informativeText, const QStringList &buttons);
    void errorShown(const QString &message);
    void askingChanged();
    // Emitted when the pending question is answered (internal: ends the nested loop).
    void answered();

private:
    bool m_asking = false;
    int m_answer = -1;
};
