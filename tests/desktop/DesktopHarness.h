#pragma once

#include "support/TestContext.h"

#include <QImage>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class DesktopShell;
class QQuickItem;
class QQuickWindow;

// What the next alert showed (title, text, button labels) and whether it was answered.
struct AlertAnswer
{
    QStringList shown;
    bool answered = false;
};

// The desktop app as a person meets it, in-process: a DesktopShell over a private TestContext
// whose chromium engine is the recording fake one, its main window loaded (offscreen unless a
// display is given). Controls are found by objectName and used with real mouse and key events.
class DesktopHarness
{
public:
    DesktopHarness();
    ~DesktopHarness();

    // Loads the main window; false, with the QML messages in `error`, when it did not load.
    bool load(QString *error = nullptr);

    TestContext &test() { return m_test; }
    DesktopShell &shell() { return *m_shell; }
    QQuickWindow *window() const;
    // Where apps are made ("<root>/Apps", the applications folder of the settings).
    QString appsFolder() const;
    QString bundle(const QString &name) const { return appsFolder() + u'/' + name + QStringLiteral(".app"); }

    // Makes an app through the real creation before or while the window is shown; its registry id.
    QString seedApp(const QString &name, const QStringList &urls, bool incognito = false);

    // The object named so, in any window or popup of the app; nullptr when there is none.
    QObject *find(const QString &objectName) const;
    template<typename T>
    T *find(const QString &objectName) const
    {
        return qobject_cast<T *>(find(objectName));
    }
    // Every object whose name starts with `prefix`, in tree order.
    QList<QObject *> findAll(const QString &prefix) const;
    // A property ("text", "checked", "enabled"...) of the control of that name; invalid without one.
    QVariant value(const QString &objectName, const char *property) const
    {
        QObject *object = find(objectName);
        return object ? object->property(property) : QVariant();
    }
    // Whether the item of that name is on screen.
    bool isShown(const QString &objectName) const;

    // Clicks a visible, enabled item at its centre (a non-item action is triggered); false, with
    // the reason, when the control cannot be used as a person would.
    bool click(const QString &objectName, QString *why = nullptr);
    // Focuses a text field, replaces its text by typing, as a person would.
    bool type(const QString &objectName, const QString &text, QString *why = nullptr);
    // Sends a key to whatever has the focus in the window showing that item (or the main window).
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier, const QString &objectName = {});

    // A question (AlertDialog) blocks the click that raised it, as a modal dialog does: this
    // answers the next alert from inside that wait, with button `button` or, for -1, Escape.
    // Call it before the action that raises the alert.
    void answerNextAlert(int button, AlertAnswer &answer);
    // What the alert on screen shows (title, text, button labels); empty when none is open.
    QStringList shownAlert() const;

    // Processes events until `condition` holds or `timeoutMs` passes.
    static bool waitFor(const std::function<bool()> &condition, int timeoutMs = 5000);
    // Lets the scene settle: pending bindings, Qt.callLater and one frame.
    void settle();
    // The window's rendered pixels (the main window unless another is named by one of its items).
    QImage grab(const QString &objectName = {});

    // Every QML warning since the shell was made (a binding to nothing, a type error...).
    const QStringList &qmlWarnings() const { return m_qmlWarnings; }

private:
    QList<QObject *> matching(const std::function<bool(const QString &)> &test, bool firstOnly) const;
    QQuickItem *visibleItem(const QString &objectName, QString *why) const;
    void scrollIntoView(QQuickItem *item);

    TestContext m_test;
    std::unique_ptr<DesktopShell> m_shell;
    QStringList m_qmlWarnings;
};
