#include "frontend/DeepLinkServer.h"

#include "frontend/DeepLinkHandler.h"

#include "core/Logger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QTimer>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray Acknowledgement = "OK\n";
const QString SocketName = u"deeplink.sock"_s;
// Held for the instance's whole life: a stale socket can be replaced, and a socket gone missing
// does not let a second instance in.
const QString LockName = u"deeplink.lock"_s;
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

// A folder only this user can enter: made with mode 0700, and an existing one accepted only when
// lstat shows a real folder (not a link) owned by this user with mode 0700. With `create` false a
// missing folder is refused.
bool isPrivateFolder(const QString &path, bool create, QString *error)
{
    const QByteArray native = QFile::encodeName(path);
    if (create) {
        if (::mkdir(native.constData(), 0700) == 0)
            ::chmod(native.constData(), 0700); // what the umask took
        else if (errno != EEXIST)
            return fail(error, u"cannot make %1: %2"_s.arg(path, systemError(errno)));
    }
    struct stat status{};
    if (::lstat(native.constData(), &status) != 0)
        return fail(error, u"cannot read %1: %2"_s.arg(path, systemError(errno)));
    if (!S_ISDIR(status.st_mode))
        return fail(error, u"%1 is not a folder"_s.arg(path));
    if (status.st_uid != ::getuid() || (status.st_mode & 07777) != 0700)
        return fail(error, u"%1 is not a private folder of this user"_s.arg(path));
    return true;
}

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

QStringList DeepLinkServer::socketFolders(QString *error)
{
    const QString name = u"sorvane-%1"_s.arg(::getuid());
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    QStringList folders, reasons;
    for (const QString &parent : {runtime.isEmpty() ? QDir::tempPath() : runtime, cache}) {
        if (parent.isEmpty())
            continue;
        const QString folder = parent + u'/' + name;
        // Past the first usable folder only one already there matters: an instance may listen in it.
        const bool create = folders.isEmpty();
        if (create && parent == cache)
            QDir().mkpath(cache);
        QString reason;
        if (isPrivateFolder(folder, create, &reason)) {
            folders.append(folder);
        } else if (create) {
            Logger::log(u"Not using %1 for Sorvane's socket: %2"_s.arg(folder, reason));
            reasons.append(reason);
        }
    }
    if (folders.isEmpty())
        fail(error, reasons.join(u"; "_s));
    return folders;
}

QString DeepLinkServer::defaultSocketPath(QString *error)
{
    const QStringList folders = socketFolders(error);
    return folders.isEmpty() ? QString() : folders.first() + u'/' + SocketName;
}

DeepLinkServer::ListenResult DeepLinkServer::listen(QString *error)
{
    if (isListening())
        return ListenResult::Listening;
    const QStringList folders = socketFolders(error);
    if (folders.isEmpty())
        return ListenResult::Failed;
    // One started while another folder came first listens there.
    for (const QString &folder : folders) {
        if (answers(folder + u'/' + SocketName)) {
            fail(error, u"Sorvane is already running"_s);
            return ListenResult::AlreadyRunning;
        }
    }
    const QString lockPath = folders.first() + u'/' + LockName;
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
    const QString path = folders.first() + u'/' + SocketName;
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
        if (socket->bytesAvailable() >= MaximumLineBytes)
            drop(socket);
        return;
    }
    const QByteArray line = socket->readLine(MaximumLineBytes);
    if (!line.endsWith('\n')) {
        drop(socket);
        return;
    }
    // Answered, it no longer holds a place; it goes once the answer is out.
    m_connections.removeOne(socket);
    socket->disconnect(this);
    connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
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
    const QStringList folders = socketFolders(error);
    if (folders.isEmpty())
        return SendResult::Failed;
    for (const QString &folder : folders) {
        const QString path = folder + u'/' + SocketName;
        if (!QFileInfo::exists(path))
            continue;
        const SendResult result = sendToRunningInstance(path, url, timeoutMs, error);
        if (result != SendResult::NoInstance)
            return result;
    }
    fail(error, u"Sorvane is not running"_s);
    return SendResult::NoInstance;
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
