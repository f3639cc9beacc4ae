#include "core/Trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

Trash::~Trash() = default;

bool Trash::moveToTrash(const QString &path, QString *trashedPath, QString *error)
{
    if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink()) {
        if (error)
            *error = QStringLiteral("%1 does not exist.").arg(path);
        return false;
    }
    // Qt 6.4 reports success after moving the item into ./files/ of the working directory when
    // the data home is missing, so make sure it exists and check where the item went.
    const QString dataHome = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    QDir().mkpath(dataHome);

    QString where;
    if (!QFile::moveToTrash(path, &where)) {
        if (error)
            *error = QStringLiteral("%1 could not be moved to the Trash.").arg(path);
        return false;
    }
    const QString parent = QFileInfo(where).absolutePath();
    if (!parent.endsWith(QLatin1String("/Trash/files"))) {
        // Put it back where it was: an item outside a Trash folder is as good as lost.
        QFile::rename(where, path);
        if (error)
            *error = QStringLiteral("%1 could not be moved to the Trash.").arg(path);
        return false;
    }
    if (trashedPath)
        *trashedPath = where;
    return true;
}
