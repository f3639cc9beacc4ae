#include "core/AtomicWriter.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The longest part of the target's name kept in the temporary name, so that it stays below
// the 255 bytes a file name may have.
constexpr qsizetype KeptNameBytes = 200;
// A write asks for at most this much at once; the kernel caps a call near 2 GB anyway.
constexpr size_t WriteChunk = size_t(1) << 30;

bool fail(QString *error, const QString &path, int code);

// The folder whose files this thread leaves to their owner to sync (a DeferredSync's), with its
// trailing slash; empty when none.
thread_local QString deferredFolder;

bool syncDeferred(const QString &path)
{
    return !deferredFolder.isEmpty() && path.startsWith(deferredFolder);
}

} // namespace

AtomicWriter::DeferredSync::DeferredSync(const QString &folder)
    : m_previous(deferredFolder)
{
    deferredFolder = QDir::cleanPath(QFileInfo(folder).absoluteFilePath()) + u'/';
}

AtomicWriter::DeferredSync::~DeferredSync()
{
    deferredFolder = m_previous;
}

bool AtomicWriter::isTemporaryName(const QString &fileName)
{
    static const QRegularExpression pattern(u"^\\..+\\.[0-9a-z]{1,13}\\.tmp$"_s);
    return pattern.match(fileName).hasMatch();
}

namespace {

bool fail(QString *error, const QString &path, int code)
{
    if (error)
        *error = u"Cannot write %1: %2"_s.arg(path, QString::fromLocal8Bit(std::strerror(code)));
    return false;
}

mode_t modeBits(QFileDevice::Permissions permissions)
{
    mode_t mode = 0;
    if (permissions & (QFileDevice::ReadOwner | QFileDevice::ReadUser))
        mode |= S_IRUSR;
    if (permissions & (QFileDevice::WriteOwner | QFileDevice::WriteUser))
        mode |= S_IWUSR;
    if (permissions & (QFileDevice::ExeOwner | QFileDevice::ExeUser))
        mode |= S_IXUSR;
    if (permissions & QFileDevice::ReadGroup)
        mode |= S_IRGRP;
    if (permissions & QFileDevice::WriteGroup)
        mode |= S_IWGRP;
    if (permissions & QFileDevice::ExeGroup)
        mode |= S_IXGRP;
    if (permissions & QFileDevice::ReadOther)
        mode |= S_IROTH;
    if (permissions & QFileDevice::WriteOther)
        mode |= S_IWOTH;
    if (permissions & QFileDevice::ExeOther)
        mode |= S_IXOTH;
    return mode;
}

// The file a link at `path` finally names (as far as links go), or `path` itself.
QString resolvedTarget(const QString &path)
{
    QFileInfo info(path);
    for (int depth = 0; depth < 40 && info.isSymLink(); ++depth)
        info.setFile(info.symLinkTarget());
    return info.isSymLink() ? path : info.filePath();
}

bool writeAll(int fd, const QByteArray &data)
{
    const char *next = data.constData();
    size_t left = size_t(data.size());
    while (left > 0) {
        const ssize_t count = ::write(fd, next, std::min(left, WriteChunk));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0) {
            // A regular file that takes no bytes and names no error cannot be written to.
            errno = EIO;
            return false;
        }
        next += count;
        left -= size_t(count);
    }
    return true;
}

int syncRetrying(int fd)
{
    int result = 0;
    do
        result = ::fsync(fd);
    while (result != 0 && errno == EINTR);
    return result;
}

bool writeAtomically(const QString &requested, const QByteArray &data, std::optional<mode_t> mode, QString *error)
{
    const QString path = resolvedTarget(requested);
    const QFileInfo info(path);
    const QByteArray target = QFile::encodeName(path);
    const QByteArray folder = QFile::encodeName(info.path());

    struct stat existing
    {
    };
    if (::stat(target.constData(), &existing) == 0) {
        if (S_ISDIR(existing.st_mode))
            return fail(error, requested, EISDIR);
        // As a write into the file itself would, a file the user may not write is refused.
        if (::access(target.constData(), W_OK) != 0)
            return fail(error, requested, errno);
        if (!mode && S_ISREG(existing.st_mode))
            mode = existing.st_mode & 07777;
    }

    // Hidden, and unique through O_EXCL: a name another writer holds is simply passed over.
    const QByteArray stem = folder + "/." + QFile::encodeName(info.fileName()).left(KeptNameBytes) + '.';
    QByteArray temporary;
    int fd = -1;
    for (int attempt = 0; fd < 0; ++attempt) {
        temporary = stem + QByteArray::number(QRandomGenerator::global()->generate64(), 36) + ".tmp";
        // With no mode to keep, the umask decides, as for any new file.
        fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode ? 0600 : 0666);
        if (fd < 0 && (errno != EEXIST || attempt == 100))
            return fail(error, requested, errno == EEXIST ? EAGAIN : errno);
    }

    const bool deferred = syncDeferred(QDir::cleanPath(info.absoluteFilePath()));
    bool written = (!mode || ::fchmod(fd, *mode) == 0) && writeAll(fd, data) && (deferred || syncRetrying(fd) == 0);
    int code = written ? 0 : errno;
    // A close can report a write that failed late; it counts like any other.
    if (::close(fd) != 0 && written) {
        written = false;
        code = errno;
    }
    if (written && ::rename(temporary.constData(), target.constData()) != 0) {
        written = false;
        code = errno;
    }
    if (!written) {
        ::unlink(temporary.constData());
        return fail(error, requested, code);
    }

    if (deferred)
        return true;
    // The rename itself is only lasting once the folder is synced. A file system that cannot sync
    // a folder says EINVAL; any other failure means the new file may not survive a crash.
    const int folderFd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderFd >= 0) {
        const bool synced = syncRetrying(folderFd) == 0 || errno == EINVAL;
        code = errno;
        ::close(folderFd);
        if (!synced)
            return fail(error, requested, code);
    }
    return true;
}

} // namespace

bool AtomicWriter::syncFileSystemOf(const QString &folder, QString *error)
{
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    int result = fd < 0 ? -1 : 0;
    if (fd >= 0) {
#ifdef Q_OS_LINUX
        do
            result = ::syncfs(fd);
        while (result != 0 && errno == EINTR);
#else
        result = ::fsync(fd);
        if (result == 0)
            ::sync();
#endif
    }
    const int code = errno;
    if (fd >= 0)
        ::close(fd);
    if (result != 0 && error)
        *error = u"Cannot sync %1: %2"_s.arg(folder, QString::fromLocal8Bit(std::strerror(code)));
    return result == 0;
}

bool AtomicWriter::write(const QString &path, const QByteArray &data, QString *error)
{
    return writeAtomically(path, data, std::nullopt, error);
}

bool AtomicWriter::writeWithMode(const QString &path, const QByteArray &data, QFileDevice::Permissions mode,
                                 QString *error)
{
    return writeAtomically(path, data, modeBits(mode), error);
}
