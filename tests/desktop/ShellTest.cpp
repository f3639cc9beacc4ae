// The shell around the views: the main window loads clean, and questions wait for the view.

#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"
#include "desktop/DialogBroker.h"

#include "core/Context.h"
#include "core/Prompter.h"

#include <QQuickWindow>
#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(DesktopShell, MainWindowLoadsWithoutQmlWarnings)
{
    DesktopHarness app;
    app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    QString error;
    ASSERT_TRUE(app.load(&error)) << error.toStdString();
    EXPECT_EQ(app.window()->title(), u"Sorvane"_s);
    EXPECT_NE(app.find(u"homeScreen"_s), nullptr);
    EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString();
}

TEST(DesktopShell, QuestionsWaitForTheViewsAnswerAndAreCancelledWithoutOne)
{
    DialogBroker broker;
    EXPECT_EQ(broker.ask(u"Replace?"_s, u"It exists."_s, {u"Replace"_s, u"Cancel"_s}), -1);

    QStringList asked;
    QObject::connect(&broker, &DialogBroker::questionAsked, &broker,
                     [&](const QString &message, const QString &text, const QStringList &buttons) {
                         asked = QStringList{message, text} + buttons;
                         EXPECT_TRUE(broker.isAsking());
                         // A second question while one waits is cancelled, not stacked.
                         EXPECT_EQ(broker.ask(u"Again?"_s, {}, {u"OK"_s}), -1);
                         QTimer::singleShot(10, &broker, [&broker] { broker.answer(1); });
                     });
    EXPECT_EQ(broker.ask(u"Replace?"_s, u"It exists."_s, {u"Replace"_s, u"Cancel"_s}), 1);
    EXPECT_EQ(asked, (QStringList{u"Replace?"_s, u"It exists."_s, u"Replace"_s, u"Cancel"_s}));
    EXPECT_FALSE(broker.isAsking());
}
