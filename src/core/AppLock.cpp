#include "core/AppLock.h"

#include "core/Context.h"

#include <QDir>
#include <QHash>

namespace {

// The app locks this thread holds, with how many times each was taken. Per thread: two threads
// of one process must still exclude each other, and do, through separate file descriptions.
QHash<QString, int> &heldByThisThread()
{
    thread_local QHash<QString, int> held;
    return held;
}

} // namespace

AppLock::AppLock(const Context &context, const QString &appId, FileLock::Wait wait)
    : m_path(pathFor(context, appId))
{
    QHash<QString, int> &held = heldByThisThread();
    if (held.value(m_path) > 0) {
        ++held[m_path];
        m_held = true;
        return;
    }
    QDir().mkpath(context.supportFolder());
    m_lock = std::make_unique<FileLock>(m_path, wait);
    m_held = m_lock->isLocked();
    if (m_held)
        held[m_path] = 1;
}

AppLock::~AppLock()
{
    if (!m_held)
        return;
    QHash<QString, int> &held = heldByThisThread();
    if (--held[m_path] == 0)
        held.remove(m_path);
}

QString AppLock::pathFor(const Context &context, const QString &appId)
{
    return FileLock::lockPathFor(QStringLiteral("%1/%2.config").arg(context.supportFolder(), appId));
}
