#include "core/ExclusiveRename.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>

bool ExclusiveRename::rename(const QString &from, const QString &to, bool *exists, QString *error)
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    int result = ::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS)) {
        // A file system without the flag: check first, a small window but never an overwrite of
        // a folder that holds anything (rename refuses non-empty folders).
        const QFileInfo info(to);
        if (info.exists() || info.isSymLink())
            errno = EEXIST;
        else
            result = ::rename(source.constData(), target.constData());
    }
    if (result == 0)
        return true;
    const int code = errno;
    if (exists)
        *exists = code == EEXIST || code == ENOTEMPTY;
    if (error)
        *error = QString::fromLocal8Bit(std::strerror(code));
    return false;
}
