#pragma once

#include "generation/BundleLayout.h"

#include <QList>
#include <QString>
#include <QVariantMap>

#include <functional>

class Context;

// A regeneration staged like an edit: the bundle is copied without its profile into a hidden
// folder beside it, rewritten there, and put in place only when every file was written: the old
// bundle steps aside, its profile moves into the new one, which takes the bundle's name. A kill
// at any instant therefore leaves the old app or the new one; the journal entry, written before
// the copy, tells the next start to drop an unfinished copy or to finish putting it in place.
//
// The caller holds the app's lock.
class StagedUpdate final
{
public:
    // Writes the new files into the staged bundle at `staged` (whose profile is the app's own, for
    // the files the engine reads from there); false with the reason.
    using Write = std::function<bool(const BundleLayout &staged, QString *error)>;

    // Rewrites the app `appId` installed at `installed`; false with the reason, the app then as
    // it was.
    static bool run(Context &context, const QString &appId, const BundleLayout &installed, const Write &write,
                    QString *error);

    // Finishes, or undoes when it was not being put in place yet, the update a journal entry
    // describes. False when it must be tried again at the next start.
    static bool recover(Context &context, const QVariantMap &entry);

    // Copies the bundle at `bundle` to `destination`, leaving out the profile, the copies kept of
    // it and the working folders of earlier changes.
    static bool copyWithoutProfile(const QString &bundle, const QString &destination, QString *error);
    // How to take back each step taken, last first.
    using Undo = QList<std::function<bool()>>;
    // The first steps of putting a staged copy in place, each skipped when already done (so that
    // recovery can run them again): `bundle` steps aside to `aside` (`verb` names the change in
    // the message when the bundle is gone), and its profile entries move into `staging`.
    static bool moveAsideKeepingProfile(const QString &bundle, const QString &aside, const QString &staging,
                                        const QString &verb, Undo *undo, QString *error);
    // Whether an entry of Contents belongs to the profile (the profile, its backups, its working
    // names): those stay out of a staged copy and move into it when it is put in place.
    static bool isProfileEntry(const QString &name);
};
