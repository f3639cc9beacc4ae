// The shell around the views: questions wait for the view.

#include "desktop/DialogBroker.h"

#include "core/Context.h"
#include "core/Prompter.h"

#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

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
