// "sorvane:" URLs: what the handler accepts, and the way a second start (here the built
// `sorvane open-url`) hands one to the running instance.

#include "support/TestContext.h"

#include "core/NotificationCenter.h"
#include "frontend/DeepLinkHandler.h"
#include "frontend/DeepLinkServer.h"
#include "frontend/SNDeepLinkRouter.h"

#include <QFile>
#include <QLocalSocket>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The user info of every "SorvaneOpenAppEditor" posted on the context.
struct EditorRequests : QObject
{
    explicit EditorRequests(Context &context)
    {
        context.notifications().addObserver(SNDeepLinkRouter::openAppEditorNotification, this,
                                            [this](const QVariantMap &info) { posted.append(info); });
    }
    // What was posted compared with the one request for `appId` (none when it is empty).
    bool are(const QString &appId) const
    {
        return posted == (appId.isEmpty() ? QList<QVariantMap>() : QList<QVariantMap>{{{u"appId"_s, appId}}});
    }
    QList<QVariantMap> posted;
};

struct CliRun
{
    int exitCode = -1;
    QByteArray err;
};

// A private runtime folder shared by the test's server and the `sorvane` it starts.
class RuntimeFolder : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_runtime.isValid());
        m_previous = qgetenv("XDG_RUNTIME_DIR");
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_runtime.path()));
        SNDeepLinkRouter::setPendingEditAppId({});
    }
    void TearDown() override { qputenv("XDG_RUNTIME_DIR", m_previous); }

    // Runs the built command line while this process goes on serving its events.
    static CliRun openUrl(const QStringList &arguments)
    {
        QProcess process;
        process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
        process.start(QStringLiteral(SORVANE_CLI), QStringList{u"open-url"_s} + arguments);
        process.closeWriteChannel();
        if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, 30000))
            process.kill();
        process.waitForFinished();
        return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
                process.readAllStandardError()};
    }

private:
    QTemporaryDir m_runtime;
    QByteArray m_previous;
};

struct DeliveryCase
{
    const char *label;
    QString url;
    bool ours;          // acted on: the app is brought forward
    QString appId;      // the editor asked for; empty for none
    QByteArray garbage = {}; // sent on its own connection first; the server drops it and goes on
};

class DeepLinkDelivery : public RuntimeFolder, public ::testing::WithParamInterface<DeliveryCase>
{
};

TEST_P(DeepLinkDelivery, ASecondStartHandsItsUrlToTheRunningInstance)
{
    const DeliveryCase &row = GetParam();
    TestContext test;
    EditorRequests requests(test.context());
    DeepLinkHandler handler(test.context());
    DeepLinkServer server(handler);
    QSignalSpy activation(&handler, &DeepLinkHandler::activationRequested);
    QSignalSpy received(&server, &DeepLinkServer::urlReceived);
    QString error;
    ASSERT_TRUE(server.listen(&error)) << error.toStdString();
    if (!row.garbage.isEmpty()) {
        QLocalSocket client;
        client.connectToServer(server.socketPath());
        ASSERT_TRUE(QTest::qWaitFor([&] { return client.state() == QLocalSocket::ConnectedState; }));
        client.write(row.garbage);
        EXPECT_TRUE(QTest::qWaitFor([&] { return client.state() == QLocalSocket::UnconnectedState; }));
    }

    const CliRun run = openUrl({row.url});

    EXPECT_EQ(run.exitCode, 0) << run.err.constData();
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received.first().first().toString(), row.url);
    EXPECT_EQ(activation.size(), row.ours ? 1 : 0);
    EXPECT_TRUE(requests.are(row.appId));
    EXPECT_EQ(SNDeepLinkRouter::pendingEditAppId(), row.appId);
    // Only this user can reach the socket.
    struct stat folder{};
    ASSERT_EQ(::stat(QFile::encodeName(QFileInfo(server.socketPath()).absolutePath()).constData(), &folder), 0);
    EXPECT_EQ(folder.st_mode & 0777, 0700u);
}

const QString editLink = u"sorvane://edit-app?id=5A1B"_s;

INSTANTIATE_TEST_SUITE_P(
    Cases, DeepLinkDelivery,
    ::testing::Values(DeliveryCase{"editApp", editLink, true, u"5A1B"_s},
                      DeliveryCase{"encodedId", u"sorvane://edit-app?other=1&id=A%20B"_s, true, u"A B"_s},
                      DeliveryCase{"noId", u"sorvane://edit-app"_s, true, {}},
                      DeliveryCase{"lineBreakInId", u"sorvane://edit-app?id=A%0AB"_s, true, {}},
                      DeliveryCase{"otherHost", u"sorvane://other?id=x"_s, false, {}},
                      DeliveryCase{"upperCaseScheme", u"SORVANE://edit-app?id=x"_s, false, {}},
                      DeliveryCase{"upperCaseHost", u"sorvane://Edit-App?id=x"_s, false, {}},
                      DeliveryCase{"hostWithUser", u"sorvane://edit-app@elsewhere?id=x"_s, false, {}},
                      DeliveryCase{"hostWithPort", u"sorvane://edit-app:1?id=x"_s, false, {}},
                      DeliveryCase{"afterTooLong", editLink, true, u"5A1B"_s, QByteArray(5000, 'a')},
                      DeliveryCase{"afterNotUtf8", editLink, true, u"5A1B"_s, "sorvane://edit-app?id=\xff\xfe\n"},
                      DeliveryCase{"afterControl", editLink, true, u"5A1B"_s, "sorvane://edit-app?id=a\tb\n"}),
    [](const auto &test) { return std::string(test.param.label); });

TEST_F(RuntimeFolder, OpenUrlExitsOneWithoutAnInstanceAndTwoOnBadUsage)
{
    const CliRun alone = openUrl({u"sorvane://edit-app?id=X"_s});
    EXPECT_EQ(alone.exitCode, 1);
    EXPECT_TRUE(alone.err.contains("not running")) << alone.err.constData();
    EXPECT_EQ(openUrl({}).exitCode, 2);
    EXPECT_EQ(openUrl({QString()}).exitCode, 2);
    EXPECT_EQ(openUrl({u"sorvane://edit-app?id=X\nsorvane://edit-app?id=Y"_s}).exitCode, 2);
    EXPECT_EQ(openUrl({u"sorvane://edit-app?id="_s + QString(5000, u'A')}).exitCode, 2);
}

TEST_F(RuntimeFolder, OneInstanceListensAndALeftOverSocketIsReplaced)
{
    TestContext test;
    DeepLinkHandler handler(test.context());
    const QString path = DeepLinkServer::defaultSocketPath();
    ASSERT_FALSE(path.isEmpty());
    writeFile(path, "left behind by an instance that crashed");
    {
        DeepLinkServer first(handler);
        QString error;
        EXPECT_TRUE(first.listen(&error)) << error.toStdString();
        DeepLinkServer second(handler);
        EXPECT_FALSE(second.listen(&error));
        EXPECT_EQ(error, u"Sorvane is already running"_s);
    }
    // A folder others may enter is not trusted.
    ASSERT_TRUE(QFile::setPermissions(QFileInfo(path).absolutePath(),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ExeOther));
    QString error;
    EXPECT_TRUE(DeepLinkServer::defaultSocketPath(&error).isEmpty());
    EXPECT_TRUE(error.contains(u"not a private folder"_s)) << error.toStdString();
}

} // namespace
