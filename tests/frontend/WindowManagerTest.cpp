#include "support/TestContext.h"

#include "frontend/WindowManager.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// A window that closes itself when asked.
class ClosableWindow final : public QObject
{
    Q_OBJECT
public:
    Q_INVOKABLE void close() { ++closed; }
    int closed = 0;
};

} // namespace

TEST(WindowManager, KeepsTheOpenWindowsAndClosesTheHomeScreens)
{
    TestContext test;
    WindowManager manager;
    QSignalSpy count(&manager, &WindowManager::countChanged);
    QPointer<QObject> home(new QObject);
    ClosableWindow closable;
    auto *settings = new QObject;
    manager.addWindow(u"Sorvane"_s, home, WindowManager::WindowKind::Homescreen);
    manager.addWindow(u"Sorvane"_s, home, WindowManager::WindowKind::Homescreen); // once only
    manager.addWindow(u"Second"_s, &closable, WindowManager::WindowKind::Homescreen);
    manager.addWindow(u"Settings"_s, settings);
    EXPECT_EQ(manager.count(), 3);

    delete settings;
    manager.closeAllHomescreenWindows();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    EXPECT_EQ(manager.count(), 0);
    EXPECT_EQ(count.size(), 6);
    EXPECT_TRUE(home.isNull()); // it has no close(): deleted
    EXPECT_EQ(closable.closed, 1);
}

#include "WindowManagerTest.moc"
