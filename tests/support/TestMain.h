#pragma once

// Every test program starts here: HOME and the XDG folders point into a temporary folder before
// Qt looks at them, so no test can read or write the real user's files or settings.

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

template<typename Application>
int runTestsInPrivateHome(int argc, char **argv)
{
    QTemporaryDir home(QDir::tempPath() + QStringLiteral("/sorvane-test-home-XXXXXX"));
    if (!home.isValid())
        return 2;
    const QByteArray root = home.path().toUtf8();
    qputenv("HOME", root);
    qputenv("XDG_DATA_HOME", root + "/.local/share");
    qputenv("XDG_CONFIG_HOME", root + "/.config");
    qputenv("XDG_CACHE_HOME", root + "/.cache");
    qputenv("XDG_STATE_HOME", root + "/.local/state");
    qputenv("XDG_RUNTIME_DIR", root + "/.runtime");
    const QString runtime = QString::fromUtf8(root + "/.runtime");
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    QStandardPaths::setTestModeEnabled(true);

    Application app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
