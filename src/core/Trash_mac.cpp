#include "core/Trash.h"

#include <QFile>

Trash::~Trash() = default;

bool Trash::moveToTrash(const QString &path, QString *trashedPath, QString *error)
{
    QString where;
    if (!QFile::moveToTrash(path, &where)) {
        if (error)
            *error = QStringLiteral("%1 could not be moved to the Trash.").arg(path);
        return false;
    }
    if (trashedPath)
        *trashedPath = where;
    return true;
}
