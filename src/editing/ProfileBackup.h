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

    // The profile's part of switching from engine `from` to engine `to`. When `restoring` (the
    // user asked for it and a backup of `to` exists), the profile becomes the backup of `from`
    // and the backup of `to` becomes the profile, two renames; otherwise the profile is copied to
    // the backup of `from`. An older backup of `from` goes to the Trash. Every step checks what
    // is already done, so running it again after a kill finishes it: the profile is always either
    // in its place or, between the two renames, in a backup named by its engine.
    bool switchEngine(const QString &from, const QString &to, bool restoring, QString *error);

    // After a kill: puts a profile left only under a hidden working name (or only in a backup,
    // between the renames of a switch) back in its place, and moves the other working copies to
    // the Trash. Returns false with the reason when something could not be put right.
    bool recoverLeftovers(const QString &currentEngine, QString *error);

    // What the user reads before confirming a switch from one engine to another.
    static QString switchWarning(const QString &appName, const QString &fromBrowser, const QString &toBrowser,
                                 bool restoresBackup);

private:
    bool moveToTrash(const QString &path, QString *error);

    Context &m_context;
    QString m_contents;
};
