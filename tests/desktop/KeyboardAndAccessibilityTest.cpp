// The windows without a mouse: an app made from the home screen with the keyboard alone, and
// every control a Tab can reach carrying a name a screen reader can say, on every screen.

#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"

#include "core/SNAppTracker.h"
#include "frontend/AppCreationWizardStore.h"
#include "frontend/HomescreenStore.h"
#include "frontend/WizardSteps.h"

#include <QAccessible>
#include <QDir>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QString focusedName(QQuickWindow *window)
{
    QQuickItem *item = window->activeFocusItem();
    return item ? item->objectName() : QString();
}

// Controls a Tab can reach in `root` that a screen reader has no name for, described by their
// object names or types.
QStringList unnamedControls(QQuickItem *root)
{
    QStringList unnamed;
    QList<QQuickItem *> pending{root};
    while (!pending.isEmpty()) {
        QQuickItem *item = pending.takeFirst();
        if (!item->isVisible())
            continue;
        pending += item->childItems();
        if (!item->activeFocusOnTab() || !item->isEnabled())
            continue;
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(item);
        const QString name = accessible ? accessible->text(QAccessible::Name).trimmed() : QString();
        if (name.isEmpty())
            unnamed << (item->objectName().isEmpty() ? QString::fromLatin1(item->metaObject()->className())
                                                     : item->objectName());
    }
    return unnamed;
}

} // namespace

TEST(Keyboard, MakesAnAppWithoutTheMouse)
{
    DesktopHarness app;
    ASSERT_TRUE(app.load());
    QQuickWindow *window = app.window();
    window->requestActivate();

    QTest::keyClick(window, Qt::Key_N, Qt::ControlModifier);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.value(u"wizardPage"_s, "ready").toBool(); }));
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return focusedName(window) == u"appNameField"_s; }))
        << focusedName(window).toStdString();
    ASSERT_TRUE(app.type(u"appNameField"_s, u"Key Notes"_s)); // key events to the focused field
    QTest::keyClick(window, Qt::Key_Tab);
    EXPECT_EQ(focusedName(window), u"appURLField"_s);
    ASSERT_TRUE(app.type(u"appURLField"_s, u"https://notes.example.org/"_s));

    // Enter goes on through the steps and, on the review, makes the app.
    for (int step = 0; step < 4; ++step) {
        QTest::keyClick(window, Qt::Key_Return);
        app.settle();
    }
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"successView"_s); }, 20000))
        << app.value(u"creationErrorText"_s, "text").toString().toStdString();
    EXPECT_TRUE(QDir(app.bundle(u"Key Notes"_s)).exists());

    // The success view's default button closes the wizard.
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return focusedName(window) == u"doneButton"_s; }))
        << focusedName(window).toStdString();
    QTest::keyClick(window, Qt::Key_Space);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.find(u"wizardPage"_s) == nullptr; }));
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"app:Key Notes"_s); }));
}

TEST(Accessibility, EveryControlTheKeyboardReachesHasAName)
{
    DesktopHarness app;
    app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    ASSERT_TRUE(app.load());
    EXPECT_EQ(unnamedControls(app.window()->contentItem()), QStringList()) << "home screen";

    app.shell().home().newApp();
    AppCreationWizardStore *wizard = app.shell().home().wizard();
    ASSERT_NE(wizard, nullptr);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.value(u"wizardPage"_s, "ready").toBool(); }));
    for (const WizardSteps::WizardStep step : {WizardSteps::WizardStep::Basics, WizardSteps::WizardStep::Browser,
                                               WizardSteps::WizardStep::Settings, WizardSteps::WizardStep::Review}) {
        wizard->steps()->goToStep(step);
        app.settle();
        EXPECT_EQ(unnamedControls(app.window()->contentItem()), QStringList()) << "wizard step " << int(step);
    }

    auto *settings = app.find<QQuickWindow>(u"settingsWindow"_s);
    ASSERT_NE(settings, nullptr);
    settings->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(settings));
    for (const QString &tab : {u"appDefaultsTab"_s, u"browsersTab"_s}) {
        ASSERT_TRUE(app.click(tab));
        EXPECT_EQ(unnamedControls(settings->contentItem()), QStringList()) << tab.toStdString();
    }
    // The settings close from their own button.
    ASSERT_TRUE(app.click(u"closeSettingsButton"_s));
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return !settings->isVisible(); }));
}
