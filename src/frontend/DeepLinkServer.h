#pragma once

#include <QObject>
#include <QString>

class DeepLinkHandler;
class QLocalServer;
class QLocalSocket;

// Keeps the desktop app to one instance per user on Linux: the first start listens on a local
// socket in a private folder of the user's runtime folder; a later start (or `sorvane open-url`)
// hands its "sorvane:" URL to it, one line per connection, and the first instance answers "OK"
// once the line is with its handler.
class DeepLinkServer final : public QObject
{
    Q_OBJECT
public:
    enum class SendResult { Delivered, NoInstance, Failed };
    Q_ENUM(SendResult)

    explicit DeepLinkServer(DeepLinkHandler &handler, QObject *parent = nullptr);
    ~DeepLinkServer() override;

    // False, with the reason, when another instance already listens or the socket cannot be
    // made. A socket left behind by an instance that is gone is replaced.
    bool listen(QString *error = nullptr);
    QString socketPath() const;

    // <runtime folder>/sorvane-<uid>/deeplink.sock; the folder is made (mode 0700) when missing
    // and refused when it is not a private folder of this user. Empty, with the reason, then.
    static QString defaultSocketPath(QString *error = nullptr);

    // Sends one URL to the instance listening at the default socket and waits for its answer.
    static SendResult sendToRunningInstance(const QString &url, int timeoutMs, QString *error = nullptr);
    static SendResult sendToRunningInstance(const QString &socketPath, const QString &url, int timeoutMs,
                                            QString *error = nullptr);

    // Longest line accepted, newline included; a longer one is dropped with its connection.
    static constexpr qsizetype MaximumLineBytes = 4096;
    // A connection that has not sent its line by then is dropped.
    static constexpr int ConnectionTimeoutMs = 5000;

    // A URL that can travel as one line: not empty, no control characters, not too long.
    static bool isSendable(const QString &url);

Q_SIGNALS:
    // A line arrived and was handed to the handler.
    void urlReceived(const QString &url);

private:
    void acceptConnections();
    void readLine(QLocalSocket *socket);

    DeepLinkHandler &m_handler;
    QLocalServer *m_server;
};
