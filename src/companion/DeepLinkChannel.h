#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// The local socket on which the running desktop app takes "sorvane:" URLs on Linux, seen from
// both ends: where it lives, what one line may be, and the sender's side. A later start of the
// desktop app and `sorvane open-url` send through it; DeepLinkServer listens on it.
class DeepLinkChannel final
{
public:
    enum class SendResult { Delivered, NoInstance, Failed };

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

    // The line that asks the running instance to come to the front, carrying the activation token
    // a launcher gave this process (Wayland's XDG_ACTIVATION_TOKEN or X11's DESKTOP_STARTUP_ID),
    // and its reading on the other end: the token (maybe empty) when the line is such a request.
    static QString activationLine(const QString &token);
    static std::optional<QString> activationToken(const QString &line);
    // The token this process was started with, if any.
    static QString activationTokenFromEnvironment();

    // A URL that can travel as one line: not empty, no control characters, not too long.
    static bool isSendable(const QString &url);

    // The socket's file name in its folder, and the lock file's the listener holds beside it.
    static const QString SocketName;
    static const QString LockName;
    // What the listener answers once a line is with its handler.
    static const QByteArray Acknowledgement;
    // Longest line accepted, newline included; a longer one is dropped with its connection.
    static constexpr qsizetype MaximumLineBytes = 4096;
    // How long a second start waits for the running instance to take its URL.
    static constexpr int ConnectionTimeoutMs = 5000;
};
