#pragma once

#include "core/FileLock.h"

#include <QString>
#include <QVariantMap>

#include <functional>
#include <memory>

class Context;

// What a multi-step change to an app (rename, engine switch, update, delete, creation) is doing, written
// to "<support>/journal/<uuid>.plist" before its first step and removed after its last. Its writer
// holds "<uuid>.lock" from before the entry exists until after it is gone, so an entry whose lock
// is free was left by a process that died (or gave up half-way): the next start hands it to the
// operation's recovery, which finishes or undoes the change from what the entry and the disk say.
class OperationJournal final
{
public:
    // Keys of an entry; "operation" is one of the operation names below.
    static const QString OperationKey, AppIdKey, BundleKey, TargetKey, FromBrowserKey, ToBrowserKey, RestoringKey;
    static const QString Create, Edit, Update, Delete;

    // Records `entry` (atomically, synced) and returns the running journal; none, with the
    // reason, when it cannot be written: the operation must then not start.
    static std::unique_ptr<OperationJournal> begin(const Context &context, const QVariantMap &entry, QString *error);
    // Removes the entry unless it is kept for recovery.
    ~OperationJournal();
    Q_DISABLE_COPY_MOVE(OperationJournal)

    const QVariantMap &entry() const { return m_entry; }
    // Records `entry` in place of the one written so far (a change that moves on to its next
    // phase); false with the reason when it could not be written, the earlier entry standing.
    bool update(const QVariantMap &entry, QString *error);
    // The change stopped half-way in this process: its entry stays for recovery.
    void keepForRecovery() { m_keep = true; }

    // Calls `recover` for every entry whose writer is gone, holding that entry's lock; the entry
    // is removed when `recover` returns true, kept for a later start otherwise. Returns the number
    // of entries handed over.
    static int recoverAbandoned(const Context &context, const std::function<bool(const QVariantMap &)> &recover);

    static QString folder(const Context &context);

private:
    OperationJournal(QString path, std::unique_ptr<FileLock> lock, QVariantMap entry);

    QString m_path;
    std::unique_ptr<FileLock> m_lock;
    QVariantMap m_entry;
    bool m_keep = false;
};
