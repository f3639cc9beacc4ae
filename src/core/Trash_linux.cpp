#include "core/Trash.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <climits>

Trash::~Trash() = default;

bool Trash::moveToTrash(const QString &path, QString *trashedPath, QString *error)
{
    if (!QFileInfo::exists(path) && !QFileInfo(path).isSymLink()) {
        if (error)
            *error = QStringLiteral("%1 does not exist.").arg(path);
        return false;
    }
    // Qt 6.4 names the Trash's record "<name>.trashinfo", or "<name>-NNNN.trashinfo" when that one
    // is taken, and retries a record name that does not fit a file name for ever.
    constexpr qsizetype RecordSuffixBytes = sizeof("-0001.trashinfo") - 1;
    if (QFile::encodeName(QFileInfo(path).fileName()).size() + RecordSuffixBytes > NAME_MAX) {
        if (error)
            *error = QStringLiteral("%1 could not be moved to the Trash: its name is too long for the Trash's "
                                    "records.")
                         .arg(path);
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
