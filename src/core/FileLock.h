#pragma once

#include <QString>

// An exclusive advisory lock (flock) on a lock file, held for the object's lifetime. Every
// read-modify-write of a file that several processes share (tracker.plist: Sorvane's own
// processes and the generated apps' plutil stand-in) takes the lock "<file>.lock" first. The
// kernel drops the lock when the process dies, so a killed writer never blocks the others.
class FileLock final
{
public:
    enum class Wait { UntilFree, No };
    // Takes the lock on `lockPath`, creating the file when missing: waits until it is free, or
    // with Wait::No gives up at once when another process holds it (isLocked() is false).
    explicit FileLock(const QString &lockPath, Wait wait = Wait::UntilFree);
    ~FileLock();
    Q_DISABLE_COPY_MOVE(FileLock)

    bool isLocked() const { return m_fd >= 0; }
    QString errorString() const { return m_error; }

    // The lock file that guards `path`.
    static QString lockPathFor(const QString &path) { return path + QStringLiteral(".lock"); }

private:
    int m_fd = -1;
    QString m_error;
};
