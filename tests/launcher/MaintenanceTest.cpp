// Keeping generated apps alive, on real bundles started through their launch programs with the
// recording fake engine: regeneration keeps every byte of the profile and an app that still
// starts, refuses what is not Sorvane's or is running; the migration off the legacy companion
// folder; automatic updates behind their hour gate; a start whose browser is gone says so.

#include "GeneratedApp.h"

#include "core/Constants.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "generation/AppConfigFile.h"
#include "maintenance/AppList.h"
#include "maintenance/SNAutoUpdateManager.h"
#include "maintenance/SNUpdaterHelper.h"
#include "support/TestContext.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

void stampVersion(const QString &bundle, const QVariant &version)
{
    const QString path = bundle + u"/Contents/Info.plist"_s;
    QVariantMap plist = PropertyList::readFile(path).toMap();
    if (version.isValid())
        plist.insert(u"CFBundleShortVersionString"_s, version);
    else
        plist.remove(u"CFBundleShortVersionString"_s);
    ASSERT_TRUE(PropertyList::writeFile(path, plist));
}

struct RegenerationCase
{
    const char *label;
    AppTraits traits;
};

void PrintTo(const RegenerationCase &c, std::ostream *os) { *os << c.label; }

using Regeneration = testing::TestWithParam<RegenerationCase>;

} // namespace

TEST_P(Regeneration, RewritesTheAppAndKeepsEveryByteOfItsProfile)
{
    TestContext test;
    GeneratedApp app(test, GetParam().traits);
    ASSERT_EQ(app.start().exitCode, 0);
    addUserData(app.profile());
    const QStringList profileBefore = treeFingerprint(app.profile());
    const std::optional<QVariantMap> infoBefore = SNUpdaterHelper::appInfo(app.bundle());
    ASSERT_TRUE(infoBefore);
    EXPECT_EQ(infoBefore->value(u"appID"_s).toString(), app.appId());

    // An app of another version, whose launch program and companion folder went missing.
    stampVersion(app.bundle(), u"0.0.1"_s);
    QFile::remove(app.bundle() + u"/Contents/MacOS/"_s + GetParam().traits.name);
    QDir(app.resources() + u"/Sorvane_Extension"_s).removeRecursively();
    EXPECT_EQ(SNAutoUpdateManager(test.context()).getOutdatedApps(), QStringList{app.bundle()});

    QString error;
    ASSERT_TRUE(SNUpdaterHelper::updateApp(test.context(), app.bundle(), &error)) << qPrintable(error);

    EXPECT_EQ(treeFingerprint(app.profile()), profileBefore);
    EXPECT_EQ(SNUpdaterHelper::appInfo(app.bundle()), infoBefore);
    EXPECT_EQ(readAll(app.resources() + u"/script"_s), app.scriptText().toUtf8());
    EXPECT_EQ(PropertyList::readFile(app.bundle() + u"/Contents/Info.plist"_s).toMap().value(
                  u"CFBundleShortVersionString"_s),
              QStringLiteral(SORVANE_EXPECTED_VERSION));
    EXPECT_TRUE(SNAutoUpdateManager(test.context()).getOutdatedApps().isEmpty());
    EXPECT_TRUE(QFileInfo::exists(app.resources() + u"/Sorvane_Extension/nativeHost.js"_s));
    const QVariantMap config =
        PropertyList::readFile(AppConfigFile::path(test.supportFolder(), app.appId())).toMap();
    EXPECT_EQ(config.value(u"browserType"_s), GetParam().traits.typeKey);

    // And it still starts, with the same engine command line as before.
    const QList<EngineStart> before = app.engineStarts();
    QFile::remove(app.profile() + u"/SingletonLock"_s);
    ASSERT_EQ(app.start().exitCode, 0);
    const QList<EngineStart> after = app.engineStarts();
    ASSERT_EQ(after.size(), before.size() + 1);
    EXPECT_EQ(after.last().arguments, before.last().arguments);
}

INSTANTIATE_TEST_SUITE_P(
    Apps, Regeneration,
    testing::Values(
        RegenerationCase{"routedWindow", {.name = u"Mail"_s, .routing = true}},
        RegenerationCase{"tabbedIncognitoBrave",
                         {.name = u"Team Chat"_s,
                          .typeKey = u"brave"_s,
                          .tabbed = true,
                          .tabs = {u"https://chat.example.test/"_s, u"https://mail.example.test/?a=1&b=2"_s},
                          .incognito = true,
                          .dark = true}},
        RegenerationCase{"hostileName", {.name = u"It's \"$(touch x)\" `x` & co"_s, .typeKey = u"edge"_s}}),
    [](const auto &p) { return std::string(p.param.label); });

// What regeneration refuses changes nothing; a running app is refused until it quits.
TEST(RegenerationRefusal, ForeignUnreadableAndRunningAppsAreLeftAsTheyAre)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"Notes"_s});
    const QString plistPath = app.bundle() + u"/Contents/Info.plist"_s;
    const QStringList bundleBefore = treeFingerprint(app.bundle());
    QString error;

    ASSERT_TRUE(app.startAndKeepRunning());
    EXPECT_FALSE(SNUpdaterHelper::updateApp(test.context(), app.bundle(), &error));
    EXPECT_TRUE(error.contains(u"running"_s)) << qPrintable(error);
    ASSERT_TRUE(app.stop());
    QDir(app.bundle() + u"/Contents/Profile"_s).removeRecursively(); // what the engine wrote
    QDir().mkpath(app.profile());

    QVariantMap foreign = PropertyList::readFile(plistPath).toMap();
    foreign.insert(u"CFBundleIdentifier"_s, u"org.example.other"_s);
    foreign.remove(u"SorvaneApp"_s);
    const QByteArray script = readAll(app.resources() + u"/script"_s);
    writeFile(app.resources() + u"/script"_s, "# Sorvane demo app\n" + script);
    EXPECT_FALSE(SNUpdaterHelper::updateApp(test.context(), app.bundle(), &error));
    writeFile(app.resources() + u"/script"_s, script);
    ASSERT_TRUE(PropertyList::writeFile(plistPath, foreign));
    const QByteArray foreignPlist = readAll(plistPath);
    EXPECT_FALSE(SNUpdaterHelper::updateApp(test.context(), app.bundle(), &error));
    EXPECT_TRUE(error.contains(u"not made by Sorvane"_s)) << qPrintable(error);
    EXPECT_EQ(readAll(plistPath), foreignPlist);
    EXPECT_EQ(readAll(app.resources() + u"/script"_s), script);
}

// A bundle as an earlier version made it (tests/fixtures/bundles): a script of the older form
// with the companion in the folder named by its id, an Info.plist without creator id. The
// start-up migration regenerates it, and only it; it reads back as before, keeps its profile
// (the current host manifest is added) and shows up in the list. A regenerated app's start is
// Regeneration's.
TEST(Migration, AppsWithTheLegacyCompanionFolderAreRegenerated)
{
    TestContext test;
    GeneratedApp current(test, {.name = u"New"_s, .routing = true});
    const QString bundle = test.root() + u"/Apps/Legacy Mail.app"_s;
    ASSERT_TRUE(copyTree(fixturePath(u"bundles/Legacy Mail.app"_s), bundle));
    const QString appID = u"7D3F2A10-1B2C-4D5E-8F90-A1B2C3D4E5F6"_s;
    ASSERT_TRUE(SNAppTracker(test.context()).updateAppTracker(appID, bundle));
    test.context().defaults().setValue(u"chromePath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
    const QString legacyFolder = bundle + u"/Contents/Resources/"_s + Constants::LegacyCompanionFolderName;
    const QStringList currentBefore = treeFingerprint(current.bundle());
    const QStringList profileBefore = treeFingerprint(bundle + u"/Contents/Profile/Default"_s);

    const QVariantMap before = SNUpdaterHelper::appInfo(bundle).value_or(QVariantMap{});
    EXPECT_EQ(before.value(u"appURL"_s), u"https://mail.example.com/inbox"_s);
    EXPECT_EQ(before.value(u"isTabs"_s), false);
    EXPECT_EQ(before.value(u"browserType"_s), u"chrome"_s);
    EXPECT_EQ(before.value(u"shouldIncludeWLExt"_s), true);
    EXPECT_EQ(before.value(u"appID"_s), appID);
    EXPECT_EQ(before.value(u"uniqueID"_s), u"5f0c6b2e8d4a4c1b9e7f1a2b3c4d5e6f"_s);
    EXPECT_EQ(AppList::loadAppItems(test.context()).size(), 1); // another creator's until now

    EXPECT_EQ(SNUpdaterHelper::updateSorvaneExtensionPath(test.context()), 1);
    EXPECT_FALSE(QFileInfo::exists(legacyFolder));
    EXPECT_TRUE(QFileInfo::exists(bundle + u"/Contents/Resources/Sorvane_Extension/manifest.json"_s));
    EXPECT_TRUE(QFileInfo::exists(bundle + u"/Contents/Profile/NativeMessagingHosts/com.ondrel.sorvane.helper.json"_s));
    EXPECT_EQ(treeFingerprint(bundle + u"/Contents/Profile/Default"_s), profileBefore);
    EXPECT_EQ(treeFingerprint(current.bundle()), currentBefore);
    QVariantMap after = SNUpdaterHelper::appInfo(bundle).value_or(QVariantMap{});
    for (const QString &key : {u"appName"_s, u"isTabs"_s, u"appURL"_s, u"incognito"_s, u"browserType"_s,
                               u"shouldIncludeWLExt"_s, u"appID"_s})
        EXPECT_EQ(after.value(key), before.value(key)) << qPrintable(key);
    const QVariantMap plist = PropertyList::readFile(bundle + u"/Contents/Info.plist"_s).toMap();
    EXPECT_FALSE(plist.contains(u"LSUIElement"_s));
    EXPECT_EQ(plist.value(u"SorvaneCreatorID"_s), test.context().bundleIdentifier());
    EXPECT_EQ(AppList::loadAppItems(test.context()).size(), 2);
}

// The hour gate on the context's clock, the outdated test (a newer stamp counts, a deleted
// bundle does not), and a run in which one of three apps cannot be regenerated, reported on the
// manager's thread; the run goes on past it and leaves it as it was. (Runs are never cancelled.)
TEST(AutomaticUpdates, RunAtMostHourlyAndCountWhatTheyUpdated)
{
    TestContext test;
    GeneratedApp older(test, {.name = u"Older"_s});
    GeneratedApp newer(test, {.name = u"Newer"_s});
    GeneratedApp broken(test, {.name = u"Broken"_s});
    GeneratedApp gone(test, {.name = u"Gone"_s});
    GeneratedApp current(test, {.name = u"Current"_s});
    stampVersion(older.bundle(), u"0.0.1"_s);
    stampVersion(newer.bundle(), u"99.0.0"_s);
    stampVersion(broken.bundle(), {});
    QFile::remove(broken.resources() + u"/script"_s);
    QFile::remove(broken.bundle() + u"/Contents/MacOS/Broken"_s);
    const QStringList brokenBefore = treeFingerprint(broken.bundle());
    stampVersion(gone.bundle(), u"0.0.1"_s);
    QDir(gone.bundle()).removeRecursively();

    const QDateTime now = QDateTime::fromString(u"2026-05-01T12:00:00Z"_s, Qt::ISODate);
    test.setNow(now);
    UserDefaults &defaults = test.context().defaults();
    SNAutoUpdateManager manager(test.context());
    EXPECT_TRUE(SNAutoUpdateManager::isAutomaticUpdatesEnabled(test.context()));
    defaults.setValue(SNAutoUpdateManager::LastCheckKey, now.addSecs(-59 * 60));
    EXPECT_EQ(manager.checkAndUpdateAppsInBackground(), SNAutoUpdateManager::CheckOutcome::TooSoon);
    defaults.setValue(SNAutoUpdateManager::EnabledKey, false);
    defaults.setValue(SNAutoUpdateManager::LastCheckKey, now.addSecs(-60 * 60));
    EXPECT_EQ(manager.checkAndUpdateAppsInBackground(), SNAutoUpdateManager::CheckOutcome::Disabled);
    defaults.setValue(SNAutoUpdateManager::EnabledKey, true);

    // In the registry's order, which is its keys'.
    QStringList outdated = manager.getOutdatedApps();
    outdated.sort();
    EXPECT_EQ(outdated, (QStringList{broken.bundle(), newer.bundle(), older.bundle()}));
    QList<bool> reported;
    QObject::connect(&manager, &SNAutoUpdateManager::appUpdated, [&](const QString &, bool updated, int, int) {
        EXPECT_EQ(QThread::currentThread(), manager.thread());
        reported.append(updated);
    });
    test.clearLog();
    EXPECT_EQ(manager.checkAndUpdateAppsInBackground(), SNAutoUpdateManager::CheckOutcome::Started);
    manager.waitUntilIdle();
    EXPECT_TRUE(test.log().contains(u"Auto-update: Completed. Updated 2 out of 3 apps"_s)) << qPrintable(test.log().join(u'\n'));
    EXPECT_TRUE(test.log().contains(u"Auto-update: Failed to update "_s + broken.bundle()));
    EXPECT_EQ(reported.size(), 3);
    EXPECT_EQ(defaults.value(SNAutoUpdateManager::LastCheckKey).toDateTime(), now);
    EXPECT_EQ(manager.getOutdatedApps(), QStringList{broken.bundle()});
    // The one that failed is as it was, and nothing of the run is left beside the apps or in the journal.
    EXPECT_EQ(treeFingerprint(broken.bundle()), brokenBefore);
    EXPECT_EQ(QDir(QFileInfo(older.bundle()).path()).entryList({u".*"_s}, QDir::AllEntries | QDir::Hidden |
                                                                          QDir::NoDotAndDotDot),
              QStringList());
    EXPECT_TRUE(QDir(test.supportFolder() + u"/journal"_s).entryList({u"*.plist"_s}).isEmpty());

    // Within the hour nothing runs, even with an app still outdated.
    test.setNow(now.addSecs(60 * 60 - 1));
    EXPECT_EQ(manager.checkAndUpdateAppsInBackground(), SNAutoUpdateManager::CheckOutcome::TooSoon);

    // The notice comes once, after the first-run setup; turning updates off there sticks.
    EXPECT_FALSE(manager.showAutomaticUpdatesNoticeIfNeeded(false));
    EXPECT_TRUE(manager.showAutomaticUpdatesNoticeIfNeeded(true));
    EXPECT_FALSE(manager.showAutomaticUpdatesNoticeIfNeeded(true));
    manager.answerNotice(false);
    EXPECT_FALSE(SNAutoUpdateManager::isAutomaticUpdatesEnabled(test.context()));
}

// An app whose browser was removed says why it cannot start, in its log, and a second start
// is not swallowed by a helper waiting for an engine that never comes.
TEST(MissingEngine, EveryStartReportsItAtOnce)
{
    TestContext test;
    const QString browser = test.root() + u"/browser/engine"_s;
    QDir().mkpath(test.root() + u"/browser"_s);
    ASSERT_TRUE(QFile::copy(QStringLiteral(SORVANE_FAKE_ENGINE), browser));
    GeneratedApp app(test, {.name = u"Orphan"_s, .enginePath = browser});
    app.environment().insert(u"SORVANE_HELPER_GRACE_MS"_s, u"20000"_s);
    ASSERT_TRUE(QFile::remove(browser));

    app.environment().insert(u"XDG_STATE_HOME"_s, test.root() + u"/state"_s);
    const QString log = test.root() + u"/state/Sorvane/apps/Orphan.log"_s;
    for (int start = 1; start <= 2; ++start) {
        EXPECT_NE(app.start().exitCode, 0);
        // start() waits up to 10 s for the helper to go: one waiting out its 20 s is still here.
        EXPECT_FALSE(app.helperRunning());
        QList<QByteArray> lines = readAll(log).trimmed().split('\n');
        const QByteArray reason = "its browser " + QFile::encodeName(browser) + " is not installed";
        lines.removeIf([&](const QByteArray &line) { return !line.contains(reason); });
        EXPECT_EQ(lines.size(), start) << readAll(log).constData();
    }
    EXPECT_TRUE(app.engineStarts().isEmpty());
}
