#include "generation/ApplicationManager.h"
#include "generation/BundleWriter.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

TEST(ApplicationManager, LaysOutTheBundleFoldersInOrder)
{
    TestContext test;
    ApplicationManager manager(test.context());
    const QString apps = test.root() + QStringLiteral("/Applications");
    const QStringList folders = ApplicationManager::newAppDirectories(apps, QStringLiteral("My App"));
    const QString bundle = apps + QStringLiteral("/My App.app");
    EXPECT_EQ(folders, (QStringList{bundle, bundle + QStringLiteral("/Contents/Resources"),
                                    bundle + QStringLiteral("/Contents/MacOS"), bundle + QStringLiteral("/Contents/Profile"),
                                    bundle + QStringLiteral("/Contents/Profile/Default"),
                                    bundle + QStringLiteral("/Contents/Profile/Default/Extensions"),
                                    bundle + QStringLiteral("/Contents/Profile/Default/IndexedDB"),
                                    bundle + QStringLiteral("/Contents/Profile/Default/Local Storage")}));

    SNError error;
    ASSERT_TRUE(manager.makeNewAppDirectoriesWithDirectories(folders, &error));
    for (const QString &folder : folders)
        EXPECT_TRUE(QFileInfo(folder).isDir()) << qPrintable(folder);
    EXPECT_EQ(test.log(), QStringList(8, QStringLiteral("New directory created successfully.")));

    const BundleLayout layout = BundleLayout::forApp(apps, QStringLiteral("My App"));
    EXPECT_EQ(layout.contents, bundle + QStringLiteral("/Contents"));
    EXPECT_EQ(layout.extensions, bundle + QStringLiteral("/Contents/Profile/Default/Extensions"));
}

TEST(ApplicationManager, AnExistingBundleStopsBeforeAnythingIsMade)
{
    TestContext test;
    ApplicationManager manager(test.context());
    const QString apps = test.root() + QStringLiteral("/Applications");
    const QStringList folders = ApplicationManager::newAppDirectories(apps, QStringLiteral("Mail"));
    QDir().mkpath(folders.first());

    SNError error;
    EXPECT_FALSE(manager.makeNewAppDirectoriesWithDirectories(folders, &error));
    EXPECT_EQ(error.code, 1);
    EXPECT_EQ(error.description, QStringLiteral("Application already exists with that name."));
    EXPECT_EQ(test.log(), QStringList{QStringLiteral("File already exists at that path.")});
    EXPECT_FALSE(QFile::exists(folders[1]));
}

TEST(ApplicationManager, WritesInfoPlistThroughTheIndependentReader)
{
    TestContext test;
    ApplicationManager manager(test.context());
    manager.definition().passwordManagerCompatibility = true;
    const QString contents = test.root() + QStringLiteral("/My App.app/Contents");
    QDir().mkpath(contents);

    SNError error;
    ASSERT_TRUE(manager.createPlistFileWithDestinationDirectory(contents, QStringLiteral("My App"), false, &error));
    EXPECT_EQ(test.log(), QStringList{QStringLiteral("Plist created successfully.")});
    const QJsonObject info = QJsonDocument::fromJson(plistAsJsonFromPython(contents + QStringLiteral("/Info.plist"))).object();
    EXPECT_EQ(info.value(QStringLiteral("CFBundleIdentifier")).toString(), QStringLiteral("com.Ondrel.SorvaneMy_App"));
    EXPECT_EQ(info.value(QStringLiteral("CFBundleExecutable")).toString(), QStringLiteral("My App"));
    EXPECT_EQ(info.value(QStringLiteral("CFBundleShortVersionString")).toString(), QStringLiteral(SORVANE_EXPECTED_VERSION));
    EXPECT_EQ(info.value(QStringLiteral("SorvaneCreatorID")).toString(), QStringLiteral("com.ondrel.sorvane"));
    EXPECT_EQ(info.value(QStringLiteral("SorvanePasswordManagerCompatibility")), QJsonValue(true));
    EXPECT_FALSE(info.contains(QStringLiteral("CFBundleURLTypes")));

    test.clearLog();
    EXPECT_FALSE(manager.createPlistFileWithDestinationDirectory(test.root() + QStringLiteral("/missing/Contents"),
                                                                 QStringLiteral("My App"), true, &error));
    EXPECT_EQ(test.log(), QStringList{QStringLiteral("Error creating Plist.")});
}

TEST(ApplicationManager, LegacyPatternsComeFromTabsOnlyInTabbedMode)
{
    TestContext test;
    AppDefinition app;
    const BundleWriter writer(test.context(), app, BundleLayout::forApp(test.root(), QStringLiteral("App")));
    app.appURL = QStringLiteral("https://www.example.test/inbox");
    app.tabsList = {SNTabModel(QStringLiteral("https://a.b.c")), SNTabModel(QStringLiteral("http://d.e"))};
    EXPECT_EQ(writer.whiteListOptions(), QStringList{QStringLiteral("example.test/inbox")});
    app.needTab = true;
    EXPECT_EQ(writer.whiteListOptions(), (QStringList{QStringLiteral("b.c"), QStringLiteral("d.e")}));
    app.tabsList.clear();
    EXPECT_EQ(writer.whiteListOptions(), QStringList{QStringLiteral("example.test/inbox")});
}
