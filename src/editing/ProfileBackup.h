#pragma once

#include <QString>

class Context;

// An app's profile (Contents/Profile) as it was under each engine it ran on. Changing an app's
// engine keeps the profile in place, but the new engine cannot read the old one's sign-ins,
// passwords or extensions; a copy named by the old engine stays beside the profile, so that
// switching back can bring everything back exactly as it was.
class ProfileBackup final
{
public:
    ProfileBackup(Context &context, const QString &bundlePath);

    // Contents/Profile.<engine key>.backup
    QString pathFor(const QString &typeKey) const;
    bool exists(const QString &typeKey) const;

    // Copies the profile to the backup of `typeKey`. An older backup of that engine goes to the
    // Trash once the new one is complete; a failed copy leaves everything as it was.
    bool backUp(const QString &typeKey, QString *error);
    // Puts the backup of `typeKey` in the profile's place. The profile it replaces must have been
    // backed up first; it is deleted.
    bool restore(const QString &typeKey, QString *error);

    // What the user reads before confirming a switch from one engine to another.
    static QString switchWarning(const QString &appName, const QString &fromBrowser, const QString &toBrowser,
                                 bool restoresBackup);

private:
    Context &m_context;
    QString m_contents;
};
