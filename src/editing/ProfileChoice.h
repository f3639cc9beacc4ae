#pragma once

#include <QString>
#include <QStringList>

class ApplicationManager;

// The browser profile a new app starts from, and the extensions it takes over.
class ProfileChoice final
{
public:
    // Makes the manager's next app start from `profileKey` of its browser (the definition's
    // browser), keeping of the profile's extensions only `extensions`. False, with the reason,
    // when the key or an id is not well formed, the profile cannot be read, or an extension is not
    // one the profile offers.
    static bool apply(ApplicationManager &manager, const QString &profileKey, const QStringList &extensions,
                      QString *error);
};
