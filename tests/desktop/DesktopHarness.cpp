#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"

#include "support/FakeEngineApp.h"

#include "core/UserDefaults.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QSet>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QThread>
#include <QTimer>

using namespace Qt::Literals::StringLiterals;

namespace {

QString because(QString *why, const QString &reason)
{
    if (why)
        *why = reason;
    return reason;
}

} // namespace

DesktopHarness::DesktopHarness()
{
    m_test.context().defaults().setValue(u"chromiumPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
    m_test.context().defaults().setValue(u"applicationsPath"_s, appsFolder());
    m_shell = std::make_unique<DesktopShell>(m_test.context());
    QObject::connect(&m_shell->engine(), &QQmlEngine::warnings, &m_shell->engine(),
                     [this](const QList<QQmlError> &warnings) {
                         for (const QQmlError &warning : warnings)
                             m_qmlWarnings.append(warning.toString());
                     });
}

DesktopHarness::~DesktopHarness() = default;

bool DesktopHarness::load(QString *error)
{
    if (!m_shell->load(error))
        return false;
    QQuickWindow *main = window();
    main->show();
    const bool exposed = QTest::qWaitForWindowExposed(main);
    settle();
    if (!exposed && error)
        *error = u"the main window was never shown"_s;
    return exposed;
}

QQuickWindow *DesktopHarness::window() const
{
    return m_shell->mainWindow();
}

QString DesktopHarness::appsFolder() const
{
    return m_test.root() + u"/Apps"_s;
}

QString DesktopHarness::seedApp(const QString &name, const QStringList &urls, bool incognito)
{
    return makeFakeEngineApp(m_test.context(), appsFolder(), name, urls, incognito);
}

namespace {

// Items a Repeater or a view makes have no QObject parent, only a parent item: walk both trees.
void collect(QObject *object, const std::function<bool(QObject *)> &visit, QSet<QObject *> &seen)
{
    if (!object || seen.contains(object))
        return;
    seen.insert(object);
    if (!visit(object))
        return;
    for (QObject *child : object->children())
        collect(child, visit, seen);
    if (auto *item = qobject_cast<QQuickItem *>(object)) {
        for (QQuickItem *child : item->childItems())
            collect(child, visit, seen);
    }
}

} // namespace

QList<QObject *> DesktopHarness::matching(const std::function<bool(const QString &)> &test, bool firstOnly) const
{
    QList<QObject *> found;
    QSet<QObject *> seen;
    const auto visit = [&](QObject *object) {
        if (firstOnly && !found.isEmpty())
            return false;
        if (test(object->objectName()))
            found.append(object);
        return true;
    };
    for (QObject *root : m_shell->engine().rootObjects())
        collect(root, visit, seen);
    // Popups and dialogs live in a window's overlay, which is not always below their QML parent.
    for (QWindow *window : QGuiApplication::allWindows()) {
        if (auto *quick = qobject_cast<QQuickWindow *>(window))
            collect(quick->contentItem(), visit, seen);
    }
    return found;
}

QObject *DesktopHarness::find(const QString &objectName) const
{
    // Screens may share a control's name (the settings window and the wizard both have a
    // "tabbedSwitch"): the one on screen is meant.
    const QList<QObject *> found = matching([&](const QString &name) { return name == objectName; }, false);
    for (QObject *object : found) {
        auto *item = qobject_cast<QQuickItem *>(object);
        if (item && item->isVisible() && item->window() && item->window()->isVisible())
            return object;
    }
    return found.value(0);
}

QList<QObject *> DesktopHarness::findAll(const QString &prefix) const
{
    return matching([&](const QString &name) { return name.startsWith(prefix); }, false);
}

bool DesktopHarness::isShown(const QString &objectName) const
{
    const auto *item = find<QQuickItem>(objectName);
    return item && item->isVisible();
}

QQuickItem *DesktopHarness::visibleItem(const QString &objectName, QString *why) const
{
    QObject *object = find(objectName);
    if (!object) {
        because(why, u"no control named %1"_s.arg(objectName));
        return nullptr;
    }
    auto *item = qobject_cast<QQuickItem *>(object);
    if (!item) {
        because(why, u"%1 is not a visible item"_s.arg(objectName));
        return nullptr;
    }
    if (!item->isVisible() || !item->window() || !item->window()->isVisible()) {
        because(why, u"%1 is not visible"_s.arg(objectName));
        return nullptr;
    }
    if (!item->isEnabled()) {
        because(why, u"%1 is disabled"_s.arg(objectName));
        return nullptr;
    }
    return item;
}

void DesktopHarness::scrollIntoView(QQuickItem *item)
{
    // As a person scrolls to a control below the fold: every view around it is moved just enough.
    for (QQuickItem *view = item->parentItem(); view; view = view->parentItem()) {
        bool flickable = false;
        for (const QMetaObject *type = view->metaObject(); type && !flickable; type = type->superClass())
            flickable = qstrcmp(type->className(), "QQuickFlickable") == 0;
        if (!flickable)
            continue;
        auto *content = view->property("contentItem").value<QQuickItem *>();
        if (!content)
            continue;
        const qreal top = item->mapToItem(content, QPointF(0, 0)).y();
        const qreal contentY = view->property("contentY").toReal();
        if (top < contentY)
            view->setProperty("contentY", top);
        else if (top + item->height() > contentY + view->height())
            view->setProperty("contentY", top + item->height() - view->height());
    }
    settle();
}

bool DesktopHarness::click(const QString &objectName, QString *why)
{
    QObject *object = find(objectName);
    if (object && !qobject_cast<QQuickItem *>(object)) {
        // An Action or a menu entry without an item of its own.
        if (object->metaObject()->indexOfMethod("trigger()") >= 0)
            return QMetaObject::invokeMethod(object, "trigger");
        because(why, u"%1 cannot be clicked"_s.arg(objectName));
        return false;
    }
    QQuickItem *item = visibleItem(objectName, why);
    if (!item)
        return false;
    scrollIntoView(item);
    const QPointF centre = item->mapToScene(QPointF(item->width() / 2, item->height() / 2));
    QTest::mouseClick(item->window(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    settle();
    return true;
}

bool DesktopHarness::type(const QString &objectName, const QString &text, QString *why)
{
    QQuickItem *item = visibleItem(objectName, why);
    if (!item)
        return false;
    item->forceActiveFocus(Qt::TabFocusReason);
    if (!item->hasActiveFocus()) {
        because(why, u"%1 does not take the focus"_s.arg(objectName));
        return false;
    }
    QMetaObject::invokeMethod(item, "selectAll");
    QTest::keyClick(item->window(), Qt::Key_Backspace);
    // QTest types into widgets only; a window gets the characters as key events with their text.
    for (const QChar character : text) {
        for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, 0, Qt::NoModifier, QString(character));
            QCoreApplication::sendEvent(item->window(), &event);
        }
    }
    settle();
    const QString now = item->property("text").toString();
    if (now != text) {
        because(why, u"%1 holds \"%2\" after typing \"%3\""_s.arg(objectName, now, text));
        return false;
    }
    return true;
}

void DesktopHarness::key(int key, Qt::KeyboardModifiers modifiers, const QString &objectName)
{
    QQuickWindow *target = window();
    if (!objectName.isEmpty()) {
        if (auto *item = find<QQuickItem>(objectName); item && item->window())
            target = item->window();
    }
    QTest::keyClick(target, Qt::Key(key), modifiers);
    settle();
}

QStringList DesktopHarness::shownAlert() const
{
    QObject *dialog = find(u"alertDialog"_s);
    if (!dialog || !dialog->property("opened").toBool())
        return {};
    QStringList shown{find(u"alertTitle"_s)->property("text").toString(),
                      find(u"alertText"_s)->property("text").toString()};
    for (int i = 0; QObject *button = find(u"alertButton%1"_s.arg(i)); ++i)
        shown.append(button->property("text").toString());
    return shown;
}

void DesktopHarness::answerNextAlert(int button, AlertAnswer &answer)
{
    // Polls until the alert is up, however many steps the action takes to raise it.
    auto *poll = new QTimer(m_shell.get());
    poll->setInterval(20);
    QObject::connect(poll, &QTimer::timeout, poll, [this, poll, button, &answer] {
        if (shownAlert().isEmpty())
            return;
        poll->stop();
        poll->deleteLater();
        settle(); // the dialog's opening transition
        answer.shown = shownAlert();
        if (button < 0)
            key(Qt::Key_Escape, Qt::NoModifier, u"alertButton0"_s);
        else
            click(u"alertButton%1"_s.arg(button));
        answer.answered = true;
    });
    poll->start();
}

bool DesktopHarness::waitFor(const std::function<bool()> &condition, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QThread::msleep(5);
    }
    return true;
}

void DesktopHarness::settle()
{
    for (int round = 0; round < 3; ++round) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    if (QQuickWindow *main = window(); main && main->isVisible())
        QTest::qWait(16); // one frame
}

QImage DesktopHarness::grab(const QString &objectName)
{
    QQuickWindow *target = window();
    if (!objectName.isEmpty()) {
        if (auto *item = find<QQuickItem>(objectName); item && item->window())
            target = item->window();
        else if (auto *other = find<QQuickWindow>(objectName))
            target = other;
    }
    settle();
    return target ? target->grabWindow() : QImage();
}
