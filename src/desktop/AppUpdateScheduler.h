#pragma once

#include <QObject>
#include <QString>

#include <chrono>
#include <memory>

class AutoUpdateCheckJob;
class Context;
class DialogBroker;
class QTimer;

// Keeps the user's apps at this version while the desktop app runs: at start (after the one-time
// notice about automatic updates, when it is due) and then every interval, one AutoUpdateCheckJob
// on the thread pool, never two at once. The first pass also moves apps off the companion's old
// folder. The one-hour gate lives in the check, so the timer may tick more often than that.
class AppUpdateScheduler final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool updating READ isUpdating NOTIFY updatingChanged)
    Q_PROPERTY(QString status READ status NOTIFY statusChanged)

public:
    AppUpdateScheduler(Context &context, DialogBroker &dialogs, QObject *parent = nullptr);
    ~AppUpdateScheduler() override;

    // Shows the notice if it is due, then runs the first pass and starts the timer.
    void start(std::chrono::milliseconds interval = std::chrono::hours(1));

    bool isUpdating() const { return m_job != nullptr; }
    // What the last pass did, as one line for the home screen; empty when there is nothing to say.
    QString status() const { return m_status; }

    // The notice's texts: its title and buttons ("Keep On" first).
    static const QString NoticeTitle;
    static const QString NoticeText;
    static const QStringList NoticeButtons;

Q_SIGNALS:
    void updatingChanged();
    void statusChanged();
    // A pass ended (whatever it found).
    void passFinished();

private:
    void runPass();
    void finishPass();
    void setStatus(const QString &status);

    Context &m_context;
    DialogBroker &m_dialogs;
    QTimer *m_timer;
    std::unique_ptr<AutoUpdateCheckJob> m_job;
    bool m_migrated = false;
    QString m_status;
};
