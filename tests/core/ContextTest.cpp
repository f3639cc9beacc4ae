#include "core/Ids.h"
#include "core/LaunchServices.h"
#include "core/NotificationCenter.h"
#include "core/Trash.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QThread>

#include <gtest/gtest.h>

TEST(Context, StaysInsideItsTemporaryFolders)
{
    TestContext test;
    EXPECT_TRUE(test.supportFolder().startsWith(test.root()));
    EXPECT_TRUE(test.applicationsFolder().startsWith(test.root()));
    EXPECT_TRUE(test.context().defaults().fileName().startsWith(test.root()));
    // The whole test program runs with HOME pointed away from the real one.
    EXPECT_NE(QDir::homePath(), QStringLiteral("/root"));

    test.context().defaults().setValue(QStringLiteral("applicationsPath"), QStringLiteral("/chosen"));
    EXPECT_EQ(test.context().applicationsFolder(), QStringLiteral("/chosen"));
}

TEST(Ids, HaveTheirFixedShapes)
{
    const QRegularExpression registry(QStringLiteral("^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"));
    const QRegularExpression unique(QStringLiteral("^[0-9a-f]{32}$"));
    const QString a = Ids::newRegistryId();
    EXPECT_TRUE(registry.match(a).hasMatch()) << qPrintable(a);
    EXPECT_TRUE(unique.match(Ids::newUniqueId()).hasMatch());
    EXPECT_NE(a, Ids::newRegistryId());
}

TEST(NotificationCenter, DeliversOnItsOwnThreadWhoeverPosts)
{
    TestContext test;
    NotificationCenter &centre = test.context().notifications();
    QObject receiver;
    QList<QThread *> threads;
    QVariantMap lastInfo;
    centre.addObserver(QStringLiteral("SorvaneOpenAppEditor"), &receiver, [&](const QVariantMap &info) {
        threads.append(QThread::currentThread());
        lastInfo = info;
    });

    centre.post(QStringLiteral("SorvaneOpenAppEditor"), {{QStringLiteral("appId"), QStringLiteral("A")}});
    centre.post(QStringLiteral("AppUpdateNotification"));
    QThread *worker = QThread::create([&] {
        centre.post(QStringLiteral("SorvaneOpenAppEditor"), {{QStringLiteral("appId"), QStringLiteral("B")}});
    });
    worker->start();
    worker->wait();
    delete worker;
    QCoreApplication::processEvents();

    ASSERT_EQ(threads.size(), 2);
    EXPECT_EQ(threads[0], QThread::currentThread());
    EXPECT_EQ(threads[1], QThread::currentThread());
    EXPECT_EQ(lastInfo.value(QStringLiteral("appId")).toString(), QStringLiteral("B"));
}

// Moving into the Trash is proved by `sorvane create --replace` (tests/cli/CreateCommandTest.cpp).
TEST(Trash, RefusesWhatIsNotThere)
{
    TestContext test;
    QString error;
    EXPECT_FALSE(test.context().trash().moveToTrash(test.root() + QStringLiteral("/Mail.app"), nullptr, &error));
    EXPECT_FALSE(error.isEmpty());
}

TEST(LaunchServices, LogsTheFixedFailureLineWhereThereIsNoRegistry)
{
    TestContext test;
    EXPECT_FALSE(LaunchServices::refreshRegistration(QStringLiteral("/Apps/My App.app")));
    EXPECT_EQ(test.log(), QStringList{QStringLiteral("LSRegisterURL failed for /Apps/My App.app with status -1")});
}
