#pragma once

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

// The windows the desktop app has open, one list per process. A window is any QObject (a QWindow
// in the app); it leaves the list when it is closed or destroyed.
class WindowManager final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum class WindowKind { Homescreen, Other };
    Q_ENUM(WindowKind)

    explicit WindowManager(QObject *parent = nullptr);

    static WindowManager &shared();

    Q_INVOKABLE void addWindow(const QString &title, QObject *window, WindowKind kind = WindowKind::Other);
    // The window was closed: it is no longer managed.
    Q_INVOKABLE void windowClosed(QObject *window);
    // Closes every home-screen window (its close() when it has one, else it is deleted).
    Q_INVOKABLE void closeAllHomescreenWindows();

    int count() const { return static_cast<int>(m_windows.size()); }
    QList<QObject *> windows() const;

Q_SIGNALS:
    void countChanged();

private:
    struct Managed
    {
        QObject *identity; // compared only: a destroyed window's QPointer is already cleared
        QPointer<QObject> window;
        QString title;
        WindowKind kind;
    };
    void forget(qsizetype row);

    QList<Managed> m_windows;
};
