// App sets through the dialogs: the ticked apps go to a file, and that file makes them again in
// another home. Files that are no app set are refused in tests/cli/AppSetsTest.cpp.

#include "DesktopHarness.h"

#include "core/PropertyList.h"

#include <QDir>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

TEST(AppSets, ExportedAppsComeBackThroughImport)
{
    QTemporaryDir files;
    const QString chosen = files.filePath(u"work apps"_s); // the extension is added
    {
        DesktopHarness app;
        const QString mail = app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
        app.seedApp(u"Notes"_s, {u"https://notes.example.com/"_s});
        ASSERT_TRUE(app.load());
        QString why;
        ASSERT_TRUE(app.click(u"exportButton"_s, &why)) << why.toStdString();
        ASSERT_TRUE(DesktopHarness::waitFor([&app] { return app.value(u"exportDialog"_s, "opened").toBool(); }));
        // Every app starts ticked; untick one.
        EXPECT_TRUE(app.value(u"exportApp:Mail"_s, "checked").toBool());
        ASSERT_TRUE(app.click(u"exportApp:Notes"_s, &why)) << why.toStdString();
        app.find(u"exportDialog"_s)->setProperty("fileUrl", QUrl::fromLocalFile(chosen));
        ASSERT_TRUE(app.click(u"exportConfirmButton"_s, &why)) << why.toStdString();
        EXPECT_EQ(app.shownAlert(), (QStringList{u"Exporter"_s, u"1 App(s) exported successfully"_s, u"OK"_s}));
        const QVariantMap set = PropertyList::readFile(chosen + u".sorvane"_s).toMap();
        EXPECT_EQ(set.keys(), QStringList{mail});
        ASSERT_TRUE(app.click(u"alertButton0"_s, &why)) << why.toStdString();
        EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString();
    }

    DesktopHarness other;
    ASSERT_TRUE(other.load());
    other.find(u"importAction"_s)->setProperty("fileUrl", QUrl::fromLocalFile(chosen + u".sorvane"_s));
    QString why;
    ASSERT_TRUE(other.click(u"importButton"_s, &why)) << why.toStdString();
    // The import runs in the background; its alert comes when it ends.
    ASSERT_TRUE(DesktopHarness::waitFor([&other] { return !other.shownAlert().isEmpty(); }, 30000));
    EXPECT_EQ(other.shownAlert(), (QStringList{u"Importer"_s, u"1 App(s) imported successfully"_s, u"OK"_s}));
    EXPECT_TRUE(QDir(other.bundle(u"Mail"_s)).exists());
    ASSERT_TRUE(DesktopHarness::waitFor([&other] { return other.find(u"app:Mail"_s) != nullptr; }));
    EXPECT_EQ(other.find(u"app:Notes"_s), nullptr);
}
