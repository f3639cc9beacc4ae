// A person's first session, through the windows only: from the empty home screen, the first app
// made with the wizard (its name and icon found from the site), listed on the home screen, renamed
// in the editor, duplicated, and deleted, with its bundle, registry record and menu entry.

#include "DesktopHarness.h"

#include "support/LocalHttpServer.h"

#include "desktop/AppUpdateScheduler.h"
#include "desktop/DesktopShell.h"

#include "core/DesktopEntries.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "maintenance/SNAutoUpdateManager.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The wizard has slid in and takes clicks.
bool wizardReady(DesktopHarness &app)
{
    return DesktopHarness::waitFor([&] { return app.value(u"wizardPage"_s, "ready").toBool(); });
}

// Next through the three steps before the review, then Create (or Save), then (after `onSuccess`)
// Done.
void finishWizard(DesktopHarness &app, const std::function<void()> &onSuccess = {})
{
    for (int step = 0; step < 3; ++step)
        ASSERT_TRUE(app.click(u"nextButton"_s)) << "step " << step;
    ASSERT_TRUE(app.click(u"createButton"_s));
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"successView"_s); }, 20000))
        << app.value(u"creationErrorText"_s, "text").toString().toStdString();
    if (onSuccess)
        onSuccess();
    ASSERT_TRUE(app.click(u"doneButton"_s));
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.find(u"wizardPage"_s) == nullptr; }));
}

QString openMenuAction(DesktopHarness &app, const QString &action, const QString &name)
{
    QString why;
    if (!app.click(u"appActions:"_s + name, &why) || !app.click(action + u':' + name, &why))
        return why;
    return {};
}

} // namespace

TEST(DesktopFlow, MakesRenamesDuplicatesAndDeletesAnAppThroughTheWindows)
{
    LocalHttpServer site;
    site.serve(u"/"_s, {R"(<html><head><title>Team Desk</title><link rel="icon" href="/icon.png"></head></html>)",
                        200, "text/html"});
    site.serve(u"/icon.png"_s, {LocalHttpServer::icon(128), 200, "image/png"});

    DesktopHarness app;
    QString error;
    ASSERT_TRUE(app.load(&error)) << error.toStdString();
    ASSERT_TRUE(app.isShown(u"emptyState"_s));
    EXPECT_FALSE(app.isShown(u"appGrid"_s));
    EXPECT_FALSE(app.value(u"exportButton"_s, "enabled").toBool());

    // Made: only the address is typed; the site names the app and gives its icon.
    ASSERT_TRUE(app.click(u"createFirstAppButton"_s));
    ASSERT_TRUE(wizardReady(app));
    EXPECT_TRUE(app.isShown(u"ideasPane"_s));
    ASSERT_TRUE(app.type(u"appURLField"_s, site.url().toString(), &error)) << error.toStdString();
    app.key(Qt::Key_Tab);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.value(u"appNameField"_s, "text").toString() == u"Team Desk"_s; }, 15000))
        << app.value(u"appNameField"_s, "text").toString().toStdString();
    // "Open App" on the success view starts the new app: its engine comes up on the site.
    QTemporaryDir records;
    qputenv("SORVANE_FAKE_ENGINE_RECORDS", QFile::encodeName(records.path()));
    finishWizard(app, [&] {
        ASSERT_TRUE(app.click(u"openAppButton"_s));
        EXPECT_TRUE(DesktopHarness::waitFor(
            [&] {
                for (const QString &record : QDir(records.path()).entryList({u"*.args"_s}, QDir::Files)) {
                    if (readAll(records.path() + u'/' + record).contains(QByteArray(QByteArray("--app=") + site.url().toString().toUtf8())))
                        return true;
                }
                return false;
            },
            20000));
    });
    qunsetenv("SORVANE_FAKE_ENGINE_RECORDS");
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"app:Team Desk"_s); }));
    EXPECT_TRUE(QFile::exists(app.bundle(u"Team Desk"_s) + u"/Contents/Resources/icon.icns"_s));
    const QStringList ids = SNAppTracker(app.test().context()).getTracker().keys();
    ASSERT_EQ(ids.size(), 1);
    const QString entry = DesktopEntries(app.test().context()).entryPath(ids.first());
    EXPECT_TRUE(readAll(entry).contains("\nName=Team Desk\n")) << entry.toStdString();

    // Renamed in the editor: the same app, its bundle and menu entry under the new name. The
    // editor offers no suggestions that would overwrite the app.
    ASSERT_EQ(openMenuAction(app, u"editAction"_s, u"Team Desk"_s), QString());
    ASSERT_TRUE(wizardReady(app));
    EXPECT_FALSE(app.isShown(u"ideasPane"_s));
    ASSERT_TRUE(app.type(u"appNameField"_s, u"Team Hub"_s, &error)) << error.toStdString();
    finishWizard(app);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"app:Team Hub"_s); }));
    EXPECT_EQ(app.find(u"app:Team Desk"_s), nullptr);
    EXPECT_TRUE(QFile::exists(app.bundle(u"Team Hub"_s)));
    EXPECT_FALSE(QFile::exists(app.bundle(u"Team Desk"_s)));
    EXPECT_EQ(SNAppTracker(app.test().context()).getTracker().keys(), ids);
    EXPECT_TRUE(readAll(entry).contains("\nName=Team Hub\n"));

    // Duplicated: the wizard opens on the first free name; cancelling makes nothing.
    ASSERT_EQ(openMenuAction(app, u"duplicateAction"_s, u"Team Hub"_s), QString());
    ASSERT_TRUE(wizardReady(app));
    EXPECT_EQ(app.value(u"appNameField"_s, "text").toString(), u"Team Hub 2"_s);
    ASSERT_TRUE(app.click(u"cancelButton"_s));
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return app.find(u"wizardPage"_s) == nullptr; }));
    EXPECT_FALSE(QFile::exists(app.bundle(u"Team Hub 2"_s)));

    // Deleted once confirmed: bundle, record and menu entry go, and the home screen is empty again.
    AlertAnswer alert;
    app.answerNextAlert(0, alert);
    ASSERT_EQ(openMenuAction(app, u"deleteAction"_s, u"Team Hub"_s), QString());
    EXPECT_EQ(alert.shown.value(0), u"Delete Team Hub?"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] {
        return !QFile::exists(app.bundle(u"Team Hub"_s)) && SNAppTracker(app.test().context()).getTracker().isEmpty();
    }));
    EXPECT_FALSE(QFile::exists(entry));
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"emptyState"_s); }));
    EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString();
}

// An app made by an older Sorvane and the one-time notice on the window: "Keep On" (true) brings
// the app to this version soon after, "Turn Off" leaves it alone. The hourly tick after it asks
// nothing again and, kept on, finds the hour not passed.
class UpdateNotice : public ::testing::TestWithParam<bool>
{
};

TEST_P(UpdateNotice, IsAskedOnceAndItsAnswerDecidesTheUpdate)
{
    const bool keepOn = GetParam();
    DesktopHarness app;
    app.seedApp(u"Old Notes"_s, {u"https://notes.example.org/"_s});
    const QString plist = app.bundle(u"Old Notes"_s) + u"/Contents/Info.plist"_s;
    QVariantMap info = PropertyList::readFile(plist).toMap();
    info.insert(u"CFBundleShortVersionString"_s, u"0.0.1"_s);
    ASSERT_TRUE(PropertyList::writeFile(plist, info));
    const auto version = [&] { return PropertyList::readFile(plist).toMap().value(u"CFBundleShortVersionString"_s); };

    QString error;
    ASSERT_TRUE(app.load(&error)) << error.toStdString();
    AlertAnswer notice;
    app.answerNextAlert(keepOn ? 0 : 1, notice);
    QSignalSpy passes(&app.shell().updates(), &AppUpdateScheduler::passFinished);
    app.shell().startMaintenance(std::chrono::milliseconds(300));

    ASSERT_TRUE(DesktopHarness::waitFor([&] { return passes.count() >= 1; }, 60000));
    EXPECT_EQ(notice.shown.value(0), AppUpdateScheduler::NoticeTitle);
    EXPECT_EQ(notice.shown.mid(2), AppUpdateScheduler::NoticeButtons);
    EXPECT_TRUE(app.test().context().defaults().boolForKey(SNAutoUpdateManager::NoticeSeenKey));
    EXPECT_EQ(SNAutoUpdateManager::isAutomaticUpdatesEnabled(app.test().context()), keepOn);
    EXPECT_EQ(version().toString(), keepOn ? app.test().context().version() : u"0.0.1"_s);
    EXPECT_EQ(app.test().log().contains(u"Auto-update: Completed. Updated 1 out of 1 apps"_s), keepOn)
        << app.test().log().join(u'\n').toStdString();
    if (keepOn) {
        EXPECT_TRUE(DesktopHarness::waitFor([&] { return app.isShown(u"updateStatus"_s); }));
    }

    ASSERT_TRUE(DesktopHarness::waitFor([&] { return passes.count() >= 2; }, 10000));
    EXPECT_TRUE(app.shownAlert().isEmpty());
    EXPECT_EQ(version().toString(), keepOn ? app.test().context().version() : u"0.0.1"_s);
    const QString skipped = u"Auto-update: Skipping check - last update was less than 1 hour ago"_s;
    EXPECT_EQ(app.test().log().contains(skipped), keepOn);
}

INSTANTIATE_TEST_SUITE_P(DesktopFlow, UpdateNotice, ::testing::Values(true, false),
                         [](const auto &row) { return std::string(row.param ? "KeepOn" : "TurnOff"); });
