#include "companion/DeepLinkChannel.h"

#include "core/Logger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QStandardPaths>

#include <algorithm>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

const QString DeepLinkChannel::SocketName = u"deeplink.sock"_s;
// Held for the instance's whole life: a stale socket can be replaced, and a socket gone missing
// does not let a second instance in.
const QString DeepLinkChannel::LockName = u"deeplink.lock"_s;
const QByteArray DeepLinkChannel::Acknowledgement = "OK\n";

namespace {

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

} // namespace

QStringList DeepLinkChannel::socketFolders(QString *error)
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

QString DeepLinkChannel::defaultSocketPath(QString *error)
{
    const QStringList folders = socketFolders(error);
    return folders.isEmpty() ? QString() : folders.first() + u'/' + SocketName;
}

namespace {
const QString ActivationWord = u"activate"_s;
constexpr qsizetype MaximumTokenLength = 512;

// Tokens are opaque, but only ever visible ASCII; anything else is not passed on.
bool isPlausibleToken(const QString &token)
{
    return token.size() <= MaximumTokenLength &&
           std::all_of(token.cbegin(), token.cend(), [](QChar c) { return c.unicode() > 0x20 && c.unicode() < 0x7f; });
}
} // namespace

QString DeepLinkChannel::activationLine(const QString &token)
{
    return token.isEmpty() || !isPlausibleToken(token) ? ActivationWord : ActivationWord + u' ' + token;
}

std::optional<QString> DeepLinkChannel::activationToken(const QString &line)
{
    if (line == ActivationWord)
        return QString();
    if (!line.startsWith(ActivationWord + u' '))
        return std::nullopt;
    const QString token = line.mid(ActivationWord.size() + 1);
    return isPlausibleToken(token) ? token : QString();
}

QString DeepLinkChannel::activationTokenFromEnvironment()
{
    for (const char *name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        const QString token = qEnvironmentVariable(name);
        if (!token.isEmpty() && isPlausibleToken(token))
            return token;
    }
    return {};
}

bool DeepLinkChannel::isSendable(const QString &url)
{
    if (url.isEmpty() || url.toUtf8().size() >= MaximumLineBytes)
        return false;
    return std::none_of(url.cbegin(), url.cend(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

DeepLinkChannel::SendResult DeepLinkChannel::sendToRunningInstance(const QString &url, int timeoutMs, QString *error)
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

DeepLinkChannel::SendResult DeepLinkChannel::sendToRunningInstance(const QString &socketPath, const QString &url,
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
