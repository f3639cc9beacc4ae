#pragma once

#include <QList>
#include <QPointer>
#include <QObject>
#include <QString>
#include <QStringList>

class DeepLinkHandler;
class QLocalSocket;
class QSocketNotifier;
class QTimer;

// Keeps the desktop app to one instance per user on Linux: the first start listens on the
// DeepLinkChannel socket in a private folder of the user's; a later start (or `sorvane open-url`)
// hands its "sorvane:" URL to it (or, without one, asks it to come to the front), one line per
// connection, and the first instance answers "OK" once the line is with its handler.
//
// Whoever can reach the socket cannot take the instance down: at most MaximumConnections are held,
// the oldest giving way to a new one; one that has not sent its line within IdleTimeoutMs is
// dropped; and an accept that fails (no descriptors left) never closes the socket. The instance
// holds a lock beside the socket for its whole life, so no second one listens in its place.
class DeepLinkServer final : public QObject
{
    Q_OBJECT
public:
    enum class ListenResult { Listening, AlreadyRunning, Failed };
    Q_ENUM(ListenResult)

    explicit DeepLinkServer(DeepLinkHandler &handler, QObject *parent = nullptr);
    ~DeepLinkServer() override;

    // Listens in the first of DeepLinkChannel::socketFolders(); otherwise the reason. A socket left
    // behind by an instance that is gone is replaced.
    ListenResult listen(QString *error = nullptr);
    bool isListening() const;
    QString socketPath() const;

    // A connection that has not sent its whole line by then is dropped.
    static constexpr int IdleTimeoutMs = 2000;
    // Connections held at once.
    static constexpr qsizetype MaximumConnections = 16;

Q_SIGNALS:
    // A line arrived and was handed to the handler.
    void urlReceived(const QString &url);
    // A later start asked for the window, with the launcher's activation token (maybe empty).
    void activationRequested(const QString &token);

private:
    void acceptConnection();
    void readLine(QLocalSocket *socket);
    void drop(QLocalSocket *socket);
    void close();

    DeepLinkHandler &m_handler;
    int m_listener = -1;
    int m_lock = -1;
    QString m_socketPath;
    QSocketNotifier *m_notifier = nullptr;
    QTimer *m_resume;
    // Oldest first; guarded, so that a connection Qt has already destroyed is never touched.
    QList<QPointer<QLocalSocket>> m_connections;
};
