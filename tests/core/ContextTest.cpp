#include "core/NotificationCenter.h"
#include "core/Trash.h"

#include "support/TestContext.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QThread>

#include <gtest/gtest.h>

#include <climits>

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
// What is not there, and a name whose record in the Trash could not be a file name, are refused
// and stay where they were.
TEST(Trash, RefusesWhatIsNotThereAndNamesTooLongForItsRecords)
{
    // The record of a second item of the same name is "<name>-0001.trashinfo".
    const int longest = NAME_MAX - int(sizeof("-0001.trashinfo") - 1);
    const struct { const char *name; QString fileName; bool create, moved; } rows[] = {
        {"not there", QStringLiteral("Mail.app"), false, false},
        {"the longest name", QString(longest, u'n'), true, true},
        {"one byte more", QString(longest + 1, u'n'), true, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const QString path = test.root() + u'/' + row.fileName;
        if (row.create)
            QDir().mkpath(path);
        QString error;
        EXPECT_EQ(test.context().trash().moveToTrash(path, nullptr, &error), row.moved) << qPrintable(error);
        EXPECT_EQ(error.isEmpty(), row.moved);
        EXPECT_EQ(QFileInfo::exists(path), row.create && !row.moved);
    }
}
