// Bringing Sorvane to the front on a real X server (Xvfb): a "sorvane:" link sent by another
// program, and a second start of the desktop app, each raise the window that another one covers
// and give it the focus; the link also opens the editor it names. The stacking order is read from
// the X server itself (xwininfo), not from Qt.

#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"

#include "frontend/HomescreenStore.h"

#include <QDir>
#include <QGuiApplication>
#include <QProcess>
#include <QRasterWindow>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QQuickWindow>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The root window's children, bottom-most first, as the X server stacks them: id and the
// program's name in its class (empty for Qt's helper windows).
// (xwininfo lists them top-most first.)
QList<std::pair<quint64, QString>> stacking()
{
    QProcess xwininfo;
    xwininfo.start(u"xwininfo"_s, {u"-root"_s, u"-children"_s});
    xwininfo.waitForFinished(10000);
    QList<std::pair<quint64, QString>> windows;
    static const QRegularExpression line(uR"re(^\s+0x([0-9a-f]+) (?:"([^"]*)"|\(has no name\)):? ?\(?"?([^" )]*))re"_s);
    for (const QString &text : QString::fromLocal8Bit(xwininfo.readAllStandardOutput()).split(u'\n')) {
        const QRegularExpressionMatch match = line.match(text);
        if (match.hasMatch())
            windows.prepend({match.captured(1).toULongLong(nullptr, 16), match.captured(3)});
    }
    return windows;
}

// Where the window is in the stacking order (higher is nearer the top); -1 when not there.
qsizetype levelOf(quint64 id)
{
    const auto windows = stacking();
    for (qsizetype i = 0; i < windows.size(); ++i) {
        if (windows.at(i).first == id)
            return i;
    }
    return -1;
}

// A plain window that covers whatever is under it, as another program's would.
class CoveringWindow final : public QRasterWindow
{
public:
    CoveringWindow()
    {
        setTitle(u"Other program"_s);
        setGeometry(0, 0, 1300, 850);
    }

protected:
    void paintEvent(QPaintEvent *) override {}
};

// A private runtime folder for the link socket while a test runs.
class RuntimeFolder
{
public:
    RuntimeFolder() : m_previous(qgetenv("XDG_RUNTIME_DIR"))
    {
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_dir.path()));
    }
    ~RuntimeFolder() { qputenv("XDG_RUNTIME_DIR", m_previous); }
    QString path() const { return m_dir.path(); }

private:
    QTemporaryDir m_dir;
    QByteArray m_previous;
};

} // namespace

TEST(Activation, ALinkFromAnotherProgramRaisesTheCoveredWindowWithTheEditorOpen)
{
    RuntimeFolder runtime;
    DesktopHarness app;
    const QString id = app.seedApp(u"Team Desk"_s, {u"https://desk.example.org/"_s});
    QString error;
    ASSERT_TRUE(app.load(&error)) << error.toStdString();
    ASSERT_EQ(app.shell().listenForLinks(&error), DeepLinkServer::ListenResult::Listening) << error.toStdString();

    CoveringWindow other;
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
    other.requestActivate();
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return QGuiApplication::focusWindow() == &other; }));
    const quint64 main = app.window()->winId();
    ASSERT_LT(levelOf(main), levelOf(other.winId()));

    QProcess cli;
    cli.start(QStringLiteral(SORVANE_CLI), {u"open-url"_s, u"sorvane://edit-app?id="_s + id});
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return cli.state() == QProcess::NotRunning; }, 20000));
    EXPECT_EQ(cli.exitCode(), 0) << cli.readAllStandardError().toStdString();

    EXPECT_TRUE(DesktopHarness::waitFor([&] { return levelOf(main) > levelOf(other.winId()); }));
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return QGuiApplication::focusWindow() == app.window(); }));
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return app.value(u"wizardPage"_s, "ready").toBool(); }));
    EXPECT_TRUE(app.shell().home().showingAppEdit());
    EXPECT_EQ(app.value(u"appNameField"_s, "text").toString(), u"Team Desk"_s);
}

TEST(Activation, ASecondStartRaisesTheFirstAndEnds)
{
    QTemporaryDir home;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto &[name, folder] : {std::pair{"HOME", ""}, {"XDG_CONFIG_HOME", "/config"}, {"XDG_DATA_HOME", "/data"},
                                       {"XDG_STATE_HOME", "/state"}, {"XDG_CACHE_HOME", "/cache"},
                                       {"XDG_RUNTIME_DIR", "/runtime"}}) {
        QDir().mkpath(home.path() + QString::fromLatin1(folder));
        environment.insert(QString::fromLatin1(name), home.path() + QString::fromLatin1(folder));
    }
    QFile::setPermissions(home.path() + u"/runtime"_s, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                          QFileDevice::ExeOwner);
    environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);

    QProcess first;
    first.setProcessEnvironment(environment);
    first.start(QStringLiteral(SORVANE_DESKTOP), {});
    quint64 sorvane = 0;
    ASSERT_TRUE(DesktopHarness::waitFor(
        [&] {
            for (const auto &[id, name] : stacking()) {
                if (name == u"sorvane-desktop"_s)
                    sorvane = id;
            }
            return sorvane != 0;
        },
        20000))
        << first.readAllStandardError().toStdString();

    CoveringWindow other;
    other.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&other));
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return levelOf(sorvane) < levelOf(other.winId()); }));

    QProcess second;
    second.setProcessEnvironment(environment);
    second.start(QStringLiteral(SORVANE_DESKTOP), {});
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return second.state() == QProcess::NotRunning; }, 20000));
    EXPECT_EQ(second.exitCode(), 0) << second.readAllStandardError().toStdString();
    EXPECT_TRUE(second.readAllStandardOutput().isEmpty());
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return levelOf(sorvane) > levelOf(other.winId()); }));
    EXPECT_EQ(first.state(), QProcess::Running);

    first.terminate();
    if (!first.waitForFinished(10000))
        first.kill();
    first.waitForFinished(5000);
}
