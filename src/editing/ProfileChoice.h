#pragma once

#include <QString>
#include <QStringList>

#include "core/AppDefinition.h"
#include "generation/AppCreator.h"

class Context;

// The browser profile a new app starts from, and the extensions it takes over.
class ProfileChoice final
{
public:
    // Makes `app` start from `profileKey` of its browser, keeping of the profile's extensions
    // only `extensions`: fills the app's profile fields and `source`. False, with the reason,
    // when the key or an id is not well formed, the profile cannot be read, or an extension is not
    // one the profile offers.
    static bool apply(Context &context, AppDefinition &app, ProfileSource &source, const QString &profileKey,
                      const QStringList &extensions, QString *error);
    // True when `profileKey` is a well-formed key that names no profile folder of the app's
    // browser (a profile deleted, or one of another machine).
    static bool isMissing(Context &context, const AppDefinition &app, const QString &profileKey);
};
