#include "generation/StagedBundle.h"

#include "core/ExclusiveRename.h"
#include "core/Logger.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstring>
#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString PartialPrefix = u".sorvane-partial-"_s;
const QString NewPrefix = u".sorvane-new-"_s;

// A descriptor holding an exclusive lock on the folder, or -1 when another process holds it
// (or the folder is gone).
int lockFolder(const QString &path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return -1;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

// Removes a staging folder when its creator is gone; true when it was removed.
bool removeIfAbandoned(const QString &staging)
{
    const int fd = lockFolder(staging);
    if (fd < 0)
        return false;
    const bool removed = QDir(staging).removeRecursively();
    ::close(fd);
    return removed;
}

bool processIsGone(qint64 pid)
{
    return pid > 0 && ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH;
}

} // namespace

StagedBundle::StagedBundle(const QString &target, const QString &staging, int lockFd)
    : m_target(target), m_staging(staging), m_lockFd(lockFd), m_deferredSync(staging)
{
}

StagedBundle::~StagedBundle()
{
    if (!m_committed)
        QDir(m_staging).removeRecursively();
    ::close(m_lockFd);
}

QString StagedBundle::stagingPathFor(const QString &target)
{
    // Named by a digest of the bundle's name: a name long enough for a bundle must not become
    // too long a staging name.
    const QFileInfo info(target);
    const QByteArray digest =
        QCryptographicHash::hash(info.fileName().toUtf8(), QCryptographicHash::Sha256).toHex().left(24);
    return info.path() + u'/' + PartialPrefix + QString::fromLatin1(digest);
}

std::unique_ptr<StagedBundle> StagedBundle::reserve(const QString &target, Outcome *outcome, QString *error)
{
    *outcome = Outcome::Failed;
    const QString folder = QFileInfo(target).path();
    if (!QDir().mkpath(folder)) {
        *error = u"The folder %1 could not be created."_s.arg(folder);
        return nullptr;
    }
    // Made and locked under a name of this process first, so that the staging name is never
    // seen unlocked.
    const QString fresh = u"%1/%2%3-%4"_s.arg(folder, NewPrefix)
                              .arg(QCoreApplication::applicationPid())
                              .arg(QRandomGenerator::global()->generate(), 8, 16, QChar(u'0'));
    if (!QDir().mkdir(fresh)) {
        *error = u"The folder %1 could not be created."_s.arg(fresh);
        return nullptr;
    }
    const int fd = lockFolder(fresh);
    if (fd < 0) {
        QDir().rmdir(fresh);
        *error = u"The folder %1 could not be locked."_s.arg(fresh);
        return nullptr;
    }
    const QString staging = stagingPathFor(target);
    for (int attempt = 0; attempt < 3; ++attempt) {
        bool exists = false;
        QString reason;
        if (ExclusiveRename::rename(fresh, staging, &exists, &reason)) {
            *outcome = Outcome::Reserved;
            return std::unique_ptr<StagedBundle>(new StagedBundle(target, staging, fd));
        }
        if (!exists) {
            *error = u"The folder %1 could not be created: %2"_s.arg(staging, reason);
            break;
        }
        if (!removeIfAbandoned(staging)) {
            *outcome = Outcome::Busy;
            *error = u"Another process is creating %1."_s.arg(target);
            break;
        }
    }
    QDir().rmdir(fresh);
    ::close(fd);
    return nullptr;
}

bool StagedBundle::commit(QString *error)
{
    // One sync of the file system for the whole bundle: its files, the engine's files that a
    // script wrote, and their folders. It reports a write that failed late, as fsync would.
    if (!AtomicWriter::syncFileSystemOf(m_staging, error))
        return false;
    bool exists = false;
    QString reason;
    if (!ExclusiveRename::rename(m_staging, m_target, &exists, &reason)) {
        *error = exists ? u"Application already exists with that name."_s
                        : u"The app could not be moved to %1: %2"_s.arg(m_target, reason);
        return false;
    }
    m_committed = true;
    // The rename lasts once the folder holding it is synced (a file system that cannot sync a
    // folder says EINVAL). The app is in place and whole either way, so a failure here is only
    // logged: undoing the rename could not make it more lasting.
    const QByteArray folder = QFile::encodeName(QFileInfo(m_target).path());
    const int folderFd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderFd < 0 || (::fsync(folderFd) != 0 && errno != EINVAL))
        Logger::log(u"The folder %1 could not be synced: %2"_s.arg(QFile::decodeName(folder), QString::fromLocal8Bit(std::strerror(errno))));
    if (folderFd >= 0)
        ::close(folderFd);
    return true;
}

void StagedBundle::removeStale(const QString &folder)
{
    const QStringList entries = QDir(folder).entryList({PartialPrefix + u'*', NewPrefix + u'*'},
                                                       QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QString &name : entries) {
        const QString path = folder + u'/' + name;
        if (name.startsWith(PartialPrefix)) {
            removeIfAbandoned(path);
        } else {
            // ".sorvane-new-<pid>-<random>": locked only by a live process, so its pid tells.
            const qint64 pid = name.mid(NewPrefix.size()).section(u'-', 0, 0).toLongLong();
            if (processIsGone(pid))
                QDir(path).removeRecursively();
        }
    }
}
