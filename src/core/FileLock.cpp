#include "core/FileLock.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

FileLock::FileLock(const QString &lockPath, Wait wait)
{
    const QByteArray path = QFile::encodeName(lockPath);
    const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        m_error = QStringLiteral("cannot open the lock file %1: %2").arg(lockPath, QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    int result;
    do
        result = ::flock(fd, wait == Wait::No ? LOCK_EX | LOCK_NB : LOCK_EX);
    while (result != 0 && errno == EINTR);
    if (result != 0 && errno == EWOULDBLOCK) {
        m_error = QStringLiteral("%1 is held by another process").arg(lockPath);
        ::close(fd);
        return;
    }
    if (result != 0) {
        m_error = QStringLiteral("cannot lock %1: %2").arg(lockPath, QString::fromLocal8Bit(std::strerror(errno)));
        ::close(fd);
        return;
    }
    m_fd = fd;
}

FileLock::~FileLock()
{
    if (m_fd >= 0)
        ::close(m_fd); // closing the last descriptor releases the lock
}
