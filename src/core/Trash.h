#pragma once

#include <QString>

// Moves what the user made to the platform's Trash instead of deleting it.
class Trash
{
public:
    virtual ~Trash();

    // On success `trashedPath` names where the item now lies.
    virtual bool moveToTrash(const QString &path, QString *trashedPath = nullptr, QString *error = nullptr);
};
