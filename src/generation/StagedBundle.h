#pragma once

#include "core/AtomicWriter.h"

#include <QString>

#include <memory>

// A bundle under construction. It is built in a hidden folder beside its target, named after
// the target and locked (flock on the folder) by the creating process; `commit` renames it into
// place as the last step. A failed or killed creation therefore never leaves a half-made bundle
// at the target name, and the staging name doubles as a reservation: two processes cannot build
// the same target at once. A staging folder whose lock is free belongs to a process that is gone
// and is removed by the next creation in that folder.
class StagedBundle final
{
public:
    enum class Outcome { Reserved, Busy, Failed };

    // Reserves `target` (a bundle path). Busy when another running process is building it.
    static std::unique_ptr<StagedBundle> reserve(const QString &target, Outcome *outcome, QString *error);
    ~StagedBundle();
    Q_DISABLE_COPY_MOVE(StagedBundle)

    // Where the bundle is being built.
    QString path() const { return m_staging; }
    QString target() const { return m_target; }

    // Syncs what was built (its files skip their own syncs while the stage lives on this thread),
    // then renames the staging folder to the target and syncs the folder that holds it. Fails,
    // leaving both as they are, when the sync fails or something is at the target.
    bool commit(QString *error);

    // Removes the staging folders in `folder` whose creating process is gone.
    static void removeStale(const QString &folder);
    // The hidden folder in which `target` is built.
    static QString stagingPathFor(const QString &target);

private:
    StagedBundle(const QString &target, const QString &staging, int lockFd);

    QString m_target;
    QString m_staging;
    int m_lockFd;
    bool m_committed = false;
    AtomicWriter::DeferredSync m_deferredSync;
};
