#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"

#include "core/SNBulkApp.h"
#include "core/SNTabModel.h"
#include "core/UserDefaults.h"
#include "generation/ApplicationManager.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSet>
#include <QTest>
#include <QThread>

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
    ApplicationManager manager(m_test.context());
    manager.definition().applicationType = 5; // chromium, the fake engine here
    manager.definition().applicationsPath = appsFolder();
    SNBulkApp entry;
    entry.appName = name;
    entry.appURL = urls.value(0);
    entry.tabbedApp = urls.size() > 1;
    for (const QString &url : entry.tabbedApp ? urls : QStringList())
        entry.tabsList.append(SNTabModel(url));
    entry.incognito = incognito;
    manager.bulkApps = {entry};
    manager.create(false);
    QThread::msleep(15); // bundle dates a file system tells apart
    return manager.created().appID;
}

QObject *DesktopHarness::find(const QString &objectName) const
{
    for (QObject *object : everyObject()) {
        if (object->objectName() == objectName)
            return object;
    }
    return nullptr;
}

QList<QObject *> DesktopHarness::findAll(const QString &prefix) const
{
    QList<QObject *> found;
    for (QObject *object : everyObject()) {
        if (object->objectName().startsWith(prefix))
            found.append(object);
    }
    return found;
}

QList<QObject *> DesktopHarness::everyObject() const
{
    // A view's delegates and a popup's contents are items shown below another item without
    // being its QObject children, so both trees are walked.
    QList<QObject *> found;
    QSet<QObject *> seen;
    const std::function<void(QObject *)> walk = [&](QObject *object) {
        if (!object || seen.contains(object))
            return;
        seen.insert(object);
        found.append(object);
        for (QObject *child : object->children())
            walk(child);
        if (auto *item = qobject_cast<QQuickItem *>(object)) {
            for (QQuickItem *child : item->childItems())
                walk(child);
        }
    };
    for (QObject *root : m_shell->engine().rootObjects())
        walk(root);
    // Popups and dialogs live in a window's overlay, which is not always below their QML parent.
    for (QWindow *window : QGuiApplication::allWindows()) {
        if (auto *quick = qobject_cast<QQuickWindow *>(window)) {
            QQuickItem *content = quick->contentItem();
            walk(content->parentItem() ? content->parentItem() : content);
        }
    }
    return found;
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
