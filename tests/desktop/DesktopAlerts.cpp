#include "DesktopAlerts.h"

#include <QTimer>

using namespace Qt::Literals::StringLiterals;

QStringList shownAlert(const DesktopHarness &app)
{
    QObject *dialog = app.find(u"alertDialog"_s);
    if (!dialog || !dialog->property("opened").toBool())
        return {};
    QStringList shown{app.find(u"alertTitle"_s)->property("text").toString(),
                      app.find(u"alertText"_s)->property("text").toString()};
    for (int i = 0; QObject *button = app.find(u"alertButton%1"_s.arg(i)); ++i)
        shown.append(button->property("text").toString());
    return shown;
}

void answerNextAlert(DesktopHarness &app, int button, AlertAnswer &answer)
{
    QTimer::singleShot(0, [&app, button, &answer] {
        if (!DesktopHarness::waitFor([&app] { return !shownAlert(app).isEmpty(); }))
            return;
        app.settle();
        answer.shown = shownAlert(app);
        if (button < 0)
            app.key(Qt::Key_Escape, Qt::NoModifier, u"alertButton0"_s);
        else
            app.click(u"alertButton%1"_s.arg(button));
        answer.answered = true;
    });
}
