#pragma once

#include "core/FileLock.h"

#include <QString>

#include <memory>

class Context;

// The lock every operation that changes an app holds while it works on it: create (once the app
// has its id), update, edit, engine switch, delete, import and the recovery of an interrupted
// change. Two operations on one app, in any of Sorvane's processes or threads, therefore run one
// after the other, and each checks the app again once it holds the lock. It is the file
// "<support>/<appID>.config.lock" that regeneration and editing always took, so older and newer
// processes exclude each other too.
//
// A thread that holds the lock may take it again (recovery regenerates an app through the
// updater, which locks the app itself); the file lock is released when the outermost one ends.
class AppLock final
{
public:
    AppLock(const Context &context, const QString &appId, FileLock::Wait wait = FileLock::Wait::UntilFree);
    ~AppLock();
    Q_DISABLE_COPY_MOVE(AppLock)

    bool isLocked() const { return m_held; }
    QString errorString() const { return m_lock ? m_lock->errorString() : QString(); }

    static QString pathFor(const Context &context, const QString &appId);

private:
    QString m_path;
    std::unique_ptr<FileLock> m_lock; // none when this thread held the lock already
    bool m_held = false;
};
