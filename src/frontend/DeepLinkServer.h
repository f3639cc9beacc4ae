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

// Keeps the desktop app to one instance per user on Linux: the first start listens on a local
// socket in a private folder of the user's; a later start (or `sorvane open-url`) hands its
// "sorvane:" URL to it, one line per connection, and the first instance answers "OK" once the line
// is with its handler.
//
// Whoever can reach the socket cannot take the instance down: at most MaximumConnections are held,
// the oldest giving way to a new one; one that has not sent its line within IdleTimeoutMs is
// dropped; and an accept that fails (no descriptors left) never closes the socket. The instance
// holds a lock beside the socket for its whole life, so no second one listens in its place.
class DeepLinkServer final : public QObject
{
    Q_OBJECT
public:
    enum class SendResult { Delivered, NoInstance, Failed };
    Q_ENUM(SendResult)
    enum class ListenResult { Listening, AlreadyRunning, Failed };
    Q_ENUM(ListenResult)

    explicit DeepLinkServer(DeepLinkHandler &handler, QObject *parent = nullptr);
    ~DeepLinkServer() override;

    // Listens in the first of socketFolders(); otherwise the reason. A socket left behind by an
    // instance that is gone is replaced.
    ListenResult listen(QString *error = nullptr);
    bool isListening() const;
    QString socketPath() const;

    // The private folders the socket may be in, most preferred first, each made (mode 0700) when
    // missing and left out when it is not a private folder of this user: <runtime folder>/sorvane-<uid>
    // (the system's temporary folder when XDG_RUNTIME_DIR is unset), then
    // <cache folder>/sorvane-<uid>, for when someone else holds the first name.
    static QStringList socketFolders(QString *error = nullptr);
    // <first of socketFolders()>/deeplink.sock; empty, with the reason, when there is none.
    static QString defaultSocketPath(QString *error = nullptr);

    // Sends one URL to the instance listening in one of socketFolders() and waits for its answer.
    static SendResult sendToRunningInstance(const QString &url, int timeoutMs, QString *error = nullptr);
    static SendResult sendToRunningInstance(const QString &socketPath, const QString &url, int timeoutMs,
                                            QString *error = nullptr);

    // Longest line accepted, newline included; a longer one is dropped with its connection.
    static constexpr qsizetype MaximumLineBytes = 4096;
    // How long a second start waits for the running instance to take its URL.
    static constexpr int ConnectionTimeoutMs = 5000;
    // A connection that has not sent its whole line by then is dropped.
    static constexpr int IdleTimeoutMs = 2000;
    // Connections held at once.
    static constexpr qsizetype MaximumConnections = 16;

    // A URL that can travel as one line: not empty, no control characters, not too long.
    static bool isSendable(const QString &url);

Q_SIGNALS:
    // A line arrived and was handed to the handler.
    void urlReceived(const QString &url);

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
