#pragma once

#include <QString>

// Renames a file or folder only when nothing exists at the new path, in one step of the file
// system, so that two processes can never both claim one name.
class ExclusiveRename final
{
public:
    // False with the reason when the rename failed; `exists` tells whether that was because
    // something already is at `to`.
    static bool rename(const QString &from, const QString &to, bool *exists = nullptr, QString *error = nullptr);
    // The same, logging the failure, and with "Cannot move <from> to <to>: <reason>" as the reason
    // ("it already exists" when something is at `to`).
    static bool move(const QString &from, const QString &to, QString *error);
};
