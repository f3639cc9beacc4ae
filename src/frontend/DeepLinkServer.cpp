#include "frontend/DeepLinkServer.h"

#include "frontend/DeepLinkHandler.h"

#include "companion/DeepLinkChannel.h"

#include "core/Logger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int ListenBacklog = 64;
// After an accept found no descriptor and no connection to give up.
constexpr int AcceptRetryMs = 200;

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}

QString systemError(int code)
{
    return QString::fromLocal8Bit(std::strerror(code));
}

// Descriptors are not handed on to the engines and helpers the app starts, and never block.
#ifdef SOCK_CLOEXEC
int makeSocket()
{
    return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

int acceptFrom(int listener)
{
    return ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}
#else
int closeOnExec(int fd)
{
    if (fd >= 0) {
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    }
    return fd;
}

int makeSocket()
{
    return closeOnExec(::socket(AF_UNIX, SOCK_STREAM, 0));
}

int acceptFrom(int listener)
{
    return closeOnExec(::accept(listener, nullptr, nullptr));
}
#endif

// Whether an instance answers at `socketPath`.
bool answers(const QString &socketPath)
{
    if (!QFileInfo::exists(socketPath))
        return false;
    QLocalSocket probe;
    probe.connectToServer(socketPath);
    const bool connected = probe.waitForConnected(1000);
    probe.abort();
    return connected;
}

} // namespace

DeepLinkServer::DeepLinkServer(DeepLinkHandler &handler, QObject *parent)
    : QObject(parent), m_handler(handler), m_resume(new QTimer(this))
{
    m_resume->setSingleShot(true);
    m_resume->setInterval(AcceptRetryMs);
    connect(m_resume, &QTimer::timeout, this, [this] {
        if (m_notifier)
            m_notifier->setEnabled(true);
    });
}

DeepLinkServer::~DeepLinkServer()
{
    for (const QPointer<QLocalSocket> &socket : std::as_const(m_connections)) {
        if (socket) {
            socket->disconnect(this);
            delete socket.data();
        }
    }
    m_connections.clear();
    close();
}

DeepLinkServer::ListenResult DeepLinkServer::listen(QString *error)
{
    if (isListening())
        return ListenResult::Listening;
    const QStringList folders = DeepLinkChannel::socketFolders(error);
    if (folders.isEmpty())
        return ListenResult::Failed;
    // One started while another folder came first listens there.
    for (const QString &folder : folders) {
        if (answers(folder + u'/' + DeepLinkChannel::SocketName)) {
            fail(error, u"Sorvane is already running"_s);
            return ListenResult::AlreadyRunning;
        }
    }
    const QString lockPath = folders.first() + u'/' + DeepLinkChannel::LockName;
    m_lock = ::open(QFile::encodeName(lockPath).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (m_lock < 0 || ::flock(m_lock, LOCK_EX | LOCK_NB) != 0) {
        const int code = errno;
        close();
        if (code == EWOULDBLOCK) {
            fail(error, u"Sorvane is already running"_s);
            return ListenResult::AlreadyRunning;
        }
        fail(error, u"cannot lock %1: %2"_s.arg(lockPath, systemError(code)));
        return ListenResult::Failed;
    }

    // With the lock held, a socket there is one an instance that is gone left behind.
    const QString path = folders.first() + u'/' + DeepLinkChannel::SocketName;
    const QByteArray native = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<size_t>(native.size()) >= sizeof address.sun_path) {
        close();
        fail(error, u"%1 is too long for a socket"_s.arg(path));
        return ListenResult::Failed;
    }
    std::memcpy(address.sun_path, native.constData(), static_cast<size_t>(native.size()));
    ::unlink(native.constData());
    m_listener = makeSocket();
    if (m_listener < 0 || ::bind(m_listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(m_listener, ListenBacklog) != 0) {
        const int code = errno;
        close();
        fail(error, u"cannot listen on %1: %2"_s.arg(path, systemError(code)));
        return ListenResult::Failed;
    }
    m_socketPath = path;
    m_notifier = new QSocketNotifier(static_cast<qintptr>(m_listener), QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &DeepLinkServer::acceptConnection);
    return ListenResult::Listening;
}

bool DeepLinkServer::isListening() const
{
    return m_listener >= 0;
}

QString DeepLinkServer::socketPath() const
{
    return m_socketPath;
}

void DeepLinkServer::close()
{
    delete m_notifier;
    m_notifier = nullptr;
    m_resume->stop();
    if (m_listener >= 0)
        ::close(m_listener);
    m_listener = -1;
    // Before the lock goes: the next instance's socket is never the one removed.
    if (!m_socketPath.isEmpty())
        ::unlink(QFile::encodeName(m_socketPath).constData());
    m_socketPath.clear();
    if (m_lock >= 0)
        ::close(m_lock);
    m_lock = -1;
}

// One connection per call: the event loop serves the connections already held in between, so a
// flood of new ones cannot push out a sender before its line is read.
void DeepLinkServer::acceptConnection()
{
    m_connections.removeAll(nullptr);
    const int fd = acceptFrom(m_listener);
    if (fd < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR || errno == ECONNABORTED)
            return;
        // Out of descriptors (or memory): the oldest connection makes room, or the next try
        // waits a moment. The socket stays open either way.
        if (!m_connections.isEmpty()) {
            drop(m_connections.constFirst());
        } else {
            m_notifier->setEnabled(false);
            m_resume->start();
        }
        return;
    }
    if (m_connections.size() >= MaximumConnections)
        drop(m_connections.constFirst());
    auto *socket = new QLocalSocket(this);
    if (!socket->setSocketDescriptor(fd, QLocalSocket::ConnectedState, QIODevice::ReadWrite)) {
        ::close(fd);
        delete socket;
        return;
    }
    m_connections.append(socket);
    connect(socket, &QLocalSocket::disconnected, this, [this, socket] { drop(socket); });
    connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readLine(socket); });
    QTimer::singleShot(IdleTimeoutMs, socket, [this, socket] { drop(socket); });
    if (socket->bytesAvailable() > 0)
        readLine(socket);
}

void DeepLinkServer::drop(QLocalSocket *socket)
{
    if (!socket || !m_connections.removeOne(socket))
        return;
    socket->disconnect(this);
    socket->abort();
    socket->deleteLater();
}

void DeepLinkServer::readLine(QLocalSocket *socket)
{
    if (!socket->canReadLine()) {
        if (socket->bytesAvailable() >= DeepLinkChannel::MaximumLineBytes)
            drop(socket);
        return;
    }
    const QByteArray line = socket->readLine(DeepLinkChannel::MaximumLineBytes);
    if (!line.endsWith('\n')) {
        drop(socket);
        return;
    }
    // Answered, it no longer holds a place; it goes once the answer is out.
    m_connections.removeOne(socket);
    socket->disconnect(this);
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    socket->write(DeepLinkChannel::Acknowledgement);
    socket->disconnectFromServer();
    const QString url = QString::fromUtf8(line.chopped(1));
    // Garbage is answered like anything else (the sender learns nothing) and never handled.
    if (!DeepLinkChannel::isSendable(url) || url.toUtf8() != line.chopped(1))
        return;
    if (const std::optional<QString> token = DeepLinkChannel::activationToken(url)) {
        Q_EMIT activationRequested(*token);
        return;
    }
    Q_EMIT urlReceived(url);
    m_handler.handleURL(url);
}
