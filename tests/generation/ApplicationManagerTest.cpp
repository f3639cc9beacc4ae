#include "generation/ApplicationManager.h"
#include "generation/BundleWriter.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

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
