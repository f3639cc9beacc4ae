#include "core/ExclusiveRename.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <cstring>

bool ExclusiveRename::rename(const QString &from, const QString &to, bool *exists, QString *error)
{
    if (::renamex_np(QFile::encodeName(from).constData(), QFile::encodeName(to).constData(), RENAME_EXCL) == 0)
        return true;
    const int code = errno;
    if (exists)
        *exists = code == EEXIST || code == ENOTEMPTY;
    if (error)
        *error = QString::fromLocal8Bit(std::strerror(code));
    return false;
}
