#include "frontend/DeepLinkServer.h"

#include "frontend/DeepLinkHandler.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray Acknowledgement = "OK\n";

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}

// A folder only this user can enter: made with mode 0700, and an existing one accepted only when
// it is a real folder (not a link) owned by this user that nobody else may use.
bool ensurePrivateFolder(const QString &path, QString *error)
{
    const QByteArray native = QFile::encodeName(path);
    if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST)
        return fail(error, u"cannot make %1: %2"_s.arg(path, QString::fromLocal8Bit(std::strerror(errno))));
    struct stat status{};
    if (::lstat(native.constData(), &status) != 0 || !S_ISDIR(status.st_mode))
        return fail(error, u"%1 is not a folder"_s.arg(path));
    if (status.st_uid != ::getuid() || (status.st_mode & 077) != 0)
        return fail(error, u"%1 is not a private folder of this user"_s.arg(path));
    return true;
}

} // namespace

DeepLinkServer::DeepLinkServer(DeepLinkHandler &handler, QObject *parent)
    : QObject(parent), m_handler(handler), m_server(new QLocalServer(this))
{
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    connect(m_server, &QLocalServer::newConnection, this, &DeepLinkServer::acceptConnections);
}

DeepLinkServer::~DeepLinkServer() = default;

QString DeepLinkServer::defaultSocketPath(QString *error)
{
    QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (runtime.isEmpty())
        runtime = QDir::tempPath();
    const QString folder = u"%1/sorvane-%2"_s.arg(runtime).arg(::getuid());
    if (!ensurePrivateFolder(folder, error))
        return {};
    return folder + u"/deeplink.sock"_s;
}

bool DeepLinkServer::listen(QString *error)
{
    const QString path = defaultSocketPath(error);
    if (path.isEmpty())
        return false;
    if (QFile::exists(path)) {
        QLocalSocket probe;
        probe.connectToServer(path);
        if (probe.waitForConnected(1000)) {
            probe.abort();
            return fail(error, u"Sorvane is already running"_s);
        }
        // Nobody answers: the socket of an instance that ended without removing it.
        QLocalServer::removeServer(path);
    }
    if (!m_server->listen(path))
        return fail(error, u"cannot listen on %1: %2"_s.arg(path, m_server->errorString()));
    return true;
}

QString DeepLinkServer::socketPath() const
{
    return m_server->fullServerName();
}

void DeepLinkServer::acceptConnections()
{
    while (QLocalSocket *socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readLine(socket); });
        // A client that connects and says nothing does not hold its connection for ever.
        QTimer::singleShot(ConnectionTimeoutMs, socket, [socket] { socket->abort(); });
        if (socket->bytesAvailable() > 0)
            readLine(socket);
    }
}

void DeepLinkServer::readLine(QLocalSocket *socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() >= MaximumLineBytes)
            socket->abort();
        return;
    }
    const QByteArray line = socket->readLine(MaximumLineBytes);
    if (!line.endsWith('\n')) {
        socket->abort();
        return;
    }
    socket->write(Acknowledgement);
    socket->disconnectFromServer();
    const QString url = QString::fromUtf8(line.chopped(1));
    // Garbage is answered like anything else (the sender learns nothing) and never handled.
    if (!isSendable(url) || url.toUtf8() != line.chopped(1))
        return;
    Q_EMIT urlReceived(url);
    m_handler.handleURL(url);
}

bool DeepLinkServer::isSendable(const QString &url)
{
    if (url.isEmpty() || url.toUtf8().size() >= MaximumLineBytes)
        return false;
    return std::none_of(url.cbegin(), url.cend(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

DeepLinkServer::SendResult DeepLinkServer::sendToRunningInstance(const QString &url, int timeoutMs, QString *error)
{
    const QString path = defaultSocketPath(error);
    if (path.isEmpty())
        return SendResult::Failed;
    return sendToRunningInstance(path, url, timeoutMs, error);
}

DeepLinkServer::SendResult DeepLinkServer::sendToRunningInstance(const QString &socketPath, const QString &url,
                                                                 int timeoutMs, QString *error)
{
    if (!isSendable(url)) {
        fail(error, u"not a URL that can be sent"_s);
        return SendResult::Failed;
    }
    QLocalSocket socket;
    socket.connectToServer(socketPath);
    if (!socket.waitForConnected(timeoutMs)) {
        fail(error, u"Sorvane is not running"_s);
        return SendResult::NoInstance;
    }
    socket.write(url.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(timeoutMs)) {
        fail(error, u"the running Sorvane did not take the URL: %1"_s.arg(socket.errorString()));
        return SendResult::Failed;
    }
    while (!socket.canReadLine() && socket.waitForReadyRead(timeoutMs)) {
    }
    if (socket.readLine(Acknowledgement.size() + 1) != Acknowledgement) {
        fail(error, u"the running Sorvane did not answer"_s);
        return SendResult::Failed;
    }
    return SendResult::Delivered;
}
