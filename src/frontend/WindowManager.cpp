#include "frontend/WindowManager.h"

#include "core/Logger.h"

using namespace Qt::Literals::StringLiterals;

WindowManager::WindowManager(QObject *parent)
    : QObject(parent)
{
}

WindowManager &WindowManager::shared()
{
    static WindowManager manager;
    return manager;
}

void WindowManager::addWindow(const QString &title, QObject *window, WindowKind kind)
{
    if (!window)
        return;
    for (const Managed &managed : std::as_const(m_windows)) {
        if (managed.identity == window)
            return;
    }
    m_windows.append({window, window, title, kind});
    connect(window, &QObject::destroyed, this, [this, window] { windowClosed(window); });
    Q_EMIT countChanged();
}

void WindowManager::windowClosed(QObject *window)
{
    for (qsizetype row = 0; row < m_windows.size(); ++row) {
        if (m_windows.at(row).identity == window) {
            forget(row);
            return;
        }
    }
}

void WindowManager::closeAllHomescreenWindows()
{
    QList<QObject *> closing;
    for (const Managed &managed : std::as_const(m_windows)) {
        if (managed.kind == WindowKind::Homescreen && managed.window)
            closing.append(managed.window);
    }
    for (QObject *window : std::as_const(closing)) {
        windowClosed(window);
        if (window->metaObject()->indexOfMethod("close()") < 0 || !QMetaObject::invokeMethod(window, "close"))
            window->deleteLater();
    }
}

QList<QObject *> WindowManager::windows() const
{
    QList<QObject *> list;
    for (const Managed &managed : m_windows) {
        if (managed.window)
            list.append(managed.window);
    }
    return list;
}

void WindowManager::forget(qsizetype row)
{
    const Managed managed = m_windows.takeAt(row);
    if (managed.window)
        disconnect(managed.window, &QObject::destroyed, this, nullptr);
    Q_EMIT countChanged();
}
