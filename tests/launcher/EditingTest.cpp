// Editing apps in place, on real bundles started through their launch programs with the
// recording fake engine: every kind of edit leaves the profile as it was (the theme colour
// aside), agrees in every file and starts with the switches it asks for; live-only edits leave
// the launcher alone; what is refused changes nothing; a change of engine can be undone with the
// profile it had; a step that fails leaves the app as it was.

#include "GeneratedApp.h"

#include "core/BrowserCatalogue.h"
#include "core/OperationJournal.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "editing/AppEditor.h"
#include "editing/ProfileBackup.h"
#include "editing/EditPlan.h"
#include "editing/StagedEdit.h"
#include "generation/AppConfigFile.h"
#include "generation/SNAppScriptHelper.h"
#include "support/TestContext.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::Literals::StringLiterals;
using namespace LaunchTest;

namespace {

// The values an edit sets, side by side for a readable difference.
QVariantMap summary(const SNEditorItem &app)
{
    const AppDefinition &item = app.appItem;
    QStringList tabs;
    for (const TabAddress &tab : item.tabsList)
        tabs.append(tab.tabUrlString);
    return {{u"name"_s, item.appName},
            {u"url"_s, item.appURL},
            {u"tabbed"_s, item.needTab},
            {u"tabs"_s, item.needTab ? tabs : QStringList{}},
            {u"incognito"_s, item.incognito},
            {u"dark"_s, item.forceDarkMode},
            {u"registerAsBrowser"_s, item.registerAsBrowser},
            {u"routing"_s, item.isWhitelistingEnabled},
            {u"rules"_s, item.routingRules},
            {u"destination"_s, item.defaultDestination ? QVariant(*item.defaultDestination) : QVariant()},
            {u"accent"_s, item.accentColor},
            {u"restoreSession"_s, item.restoreSession},
            {u"passwordManager"_s, item.passwordManagerCompatibility},
            {u"browser"_s, app.browser}};
}

QString configPath(Context &context, const QString &appId)
{
    return AppConfigFile::path(SNAppTracker(context).getAppBundle(), appId);
}

SNImage squareIcon(Qt::GlobalColor color)
{
    QImage image(64, 64, QImage::Format_ARGB32);
    image.fill(color);
    return SNImage({image});
}

struct EditCase
{
    const char *label;
    AppTraits traits;
    std::function<void(AppEditor::Change &)> edit;
    bool rebuilds;
    QStringList engineSwitches; // expected on the next start's command line
    QStringList absentSwitches;
};

void PrintTo(const EditCase &c, std::ostream *os) { *os << c.label; }

using Edit = testing::TestWithParam<EditCase>;

} // namespace

TEST_P(Edit, AgreesInEveryFileKeepsTheProfileAndStartsAsEdited)
{
    TestContext test;
    GeneratedApp app(test, GetParam().traits);
    ASSERT_EQ(app.start().exitCode, 0);
    addUserData(app.profile());
    QFile::remove(app.profile() + u"/SingletonLock"_s);
    const QStringList profileBefore = treeFingerprint(app.profile());
    const QByteArray scriptBefore = readAll(app.resources() + u"/script"_s);

    AppEditor editor(test.context());
    QString error;
    const std::optional<SNEditorItem> original = editor.load(app.bundle(), app.appId(), &error);
    ASSERT_TRUE(original) << qPrintable(error);
    AppEditor::Change change{*original, {}, false};
    GetParam().edit(change);
    const SNEditorItem wanted = change.edited;
    ASSERT_TRUE(editor.save(*original, change, &error)) << qPrintable(error);
    EXPECT_EQ(editor.rebuilt(), GetParam().rebuilds);

    const QString bundle = QFileInfo(app.bundle()).absolutePath() + u'/' + wanted.appItem.appName + u".app"_s;
    EXPECT_EQ(editor.result().path, bundle);
    EXPECT_EQ(QFileInfo::exists(app.bundle()), bundle == app.bundle());
    app.renamed(bundle, wanted.appItem.appName);
    EXPECT_EQ(SNAppTracker(test.context()).getTracker().value(app.appId()).toMap().value(u"appPath"_s), bundle);

    // The app reads back to the definition the edit asked for.
    const std::optional<SNEditorItem> reread = editor.load(bundle, app.appId(), &error);
    ASSERT_TRUE(reread) << qPrintable(error);
    EXPECT_EQ(summary(*reread), summary(wanted));
    if (!GetParam().rebuilds) {
        EXPECT_EQ(readAll(app.resources() + u"/script"_s), scriptBefore);
    }
    const QVariantMap plist = PropertyList::readFile(bundle + u"/Contents/Info.plist"_s).toMap();
    EXPECT_EQ(plist.value(u"CFBundleExecutable"_s), wanted.appItem.appName);
    EXPECT_EQ(plist.contains(u"CFBundleURLTypes"_s), wanted.appItem.registerAsBrowser);
    EXPECT_EQ(plist.contains(u"SorvanePasswordManagerCompatibility"_s), wanted.appItem.passwordManagerCompatibility);
    const QJsonObject data = QJsonDocument::fromJson(readAll(app.resources() + u"/data.json"_s)).object();
    EXPECT_EQ(data.value(u"restore_session"_s).toBool(), wanted.appItem.restoreSession);
    if (!wanted.appItem.routingRules.isEmpty()) { // without rules of its own an app has those of its addresses
        EXPECT_EQ(data.value(u"rules"_s).toArray().toVariantList(), wanted.appItem.routingRules);
    }

    // The profile is as the user left it; a new accent colour is the one change, in its branch.
    const QStringList profileAfter = treeFingerprint(app.profile());
    const QString preferences = app.profile() + u"/Default/Preferences"_s;
    if (wanted.appItem.accentColor != original->appItem.accentColor) {
        const QJsonObject theme = QJsonDocument::fromJson(readAll(preferences))
                                      .object()[u"browser"_s].toObject()[u"theme"_s].toObject();
        EXPECT_EQ(theme.value(u"user_color"_s).toInteger(), -14774017);
        const QRegularExpression otherThanPreferences(u"^(?!/Default/Preferences )"_s);
        EXPECT_EQ(profileAfter.filter(otherThanPreferences), profileBefore.filter(otherThanPreferences));
    } else {
        EXPECT_EQ(profileAfter, profileBefore);
    }

    ASSERT_EQ(app.start().exitCode, 0);
    const QStringList arguments = app.engineStarts().constLast().arguments;
    for (const QString &expected : GetParam().engineSwitches)
        EXPECT_TRUE(arguments.contains(expected)) << qPrintable(expected) << " in " << qPrintable(arguments.join(u' '));
    for (const QString &absent : GetParam().absentSwitches)
        EXPECT_FALSE(arguments.contains(absent)) << qPrintable(absent) << " in " << qPrintable(arguments.join(u' '));
}

INSTANTIATE_TEST_SUITE_P(
    Apps, Edit,
    testing::Values(
        EditCase{"liveOnlyRoutingAndSession",
                 {.name = u"Mail"_s, .routing = true},
                 [](AppEditor::Change &change) {
                     AppDefinition &app = change.edited.appItem;
                     app.routingRules = {QVariantMap{{u"id"_s, u"r1"_s}, {u"pattern"_s, u"*.example.org"_s},
                                                     {u"action"_s, u"allow"_s}}};
                     app.defaultDestination = QVariantMap{{u"type"_s, u"default"_s}};
                     app.restoreSession = false;
                 },
                 false,
                 {u"--app=https://app.example.test/"_s},
                 {}},
        EditCase{"liveOnlyAccent",
                 {.name = u"Calendar"_s},
                 [](AppEditor::Change &change) { change.edited.appItem.accentColor = u" #1e90ff\n"_s; },
                 false,
                 {},
                 {}},
        EditCase{"renameIconAddressAndSwitches",
                 {.name = u"Notes"_s},
                 [](AppEditor::Change &change) {
                     AppDefinition &app = change.edited.appItem;
                     app.appName = u"It's \"Q3\" $(notes)"_s;
                     app.appURL = u"https://notes.example.test/new?a=1&b=2"_s;
                     app.forceDarkMode = true;
                     app.registerAsBrowser = true;
                     app.passwordManagerCompatibility = true;
                     change.newIcon = squareIcon(Qt::red);
                 },
                 true,
                 {u"--app=https://notes.example.test/new?a=1&b=2"_s, u"--force-dark-mode"_s},
                 {}},
        EditCase{"tabbedIncognito",
                 {.name = u"Chat"_s},
                 [](AppEditor::Change &change) {
                     AppDefinition &app = change.edited.appItem;
                     app.needTab = true;
                     app.incognito = true;
                     app.tabsList = {TabAddress(u"https://chat.example.test/"_s), TabAddress(u"https://b.example.test/"_s)};
                     app.appURL = app.tabsList.constFirst().tabUrlString;
                 },
                 true,
                 {u"--incognito"_s, u"https://chat.example.test/"_s, u"https://b.example.test/"_s},
                 {}},
        EditCase{"everythingOff",
                 {.name = u"Team"_s,
                  .tabbed = true,
                  .tabs = {u"https://team.example.test/"_s, u"https://wiki.example.test/"_s},
                  .incognito = true,
                  .dark = true,
                  .routing = true},
                 [](AppEditor::Change &change) {
                     AppDefinition &app = change.edited.appItem;
                     app.needTab = app.incognito = app.forceDarkMode = app.isWhitelistingEnabled = false;
                     app.tabsList.clear();
                     app.appURL = u"https://team.example.test/"_s;
                 },
                 true,
                 {u"--app=https://team.example.test/"_s},
                 {u"--incognito"_s, u"--force-dark-mode"_s}}),
    [](const auto &p) { return std::string(p.param.label); });

// What an edit refuses changes nothing: a running app, a taken or invalid name, a bundle that
// is not Sorvane's or was moved since it was read.
TEST(EditRefusal, RunningTakenInvalidAndForeignLeaveTheBundleAsItWas)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"Notes"_s});
    GeneratedApp other(test, {.name = u"Other"_s});
    AppEditor editor(test.context());
    QString error;
    const SNEditorItem original = editor.load(app.bundle(), app.appId(), &error).value();
    const auto renameTo = [&](const QString &name) {
        AppEditor::Change change{original, {}, false};
        change.edited.appItem.appName = name;
        change.edited.appItem.forceDarkMode = true;
        return editor.save(original, change, &error);
    };

    ASSERT_TRUE(app.startAndKeepRunning());
    EXPECT_FALSE(renameTo(u"Renamed"_s));
    EXPECT_TRUE(error.contains(u"running"_s)) << qPrintable(error);
    ASSERT_TRUE(app.stop());
    QDir(app.profile()).removeRecursively(); // what the engine wrote
    QDir().mkpath(app.profile());
    const QStringList stopped = treeFingerprint(app.bundle());

    EXPECT_FALSE(renameTo(u"Other"_s));
    EXPECT_TRUE(error.contains(u"already exists"_s)) << qPrintable(error);
    for (const QString &invalid : {u""_s, u"a/b"_s}) {
        EXPECT_FALSE(renameTo(invalid));
        EXPECT_EQ(error, u"name: "_s + SNAppScriptHelper::InvalidNameMessage);
    }
    const QString plistPath = app.bundle() + u"/Contents/Info.plist"_s;
    const QByteArray plist = readAll(plistPath);
    QVariantMap foreign = PropertyList::readFile(plistPath).toMap();
    foreign.insert(u"CFBundleIdentifier"_s, u"org.example.other"_s);
    foreign.remove(u"SorvaneApp"_s);
    ASSERT_TRUE(PropertyList::writeFile(plistPath, foreign));
    EXPECT_FALSE(renameTo(u"Renamed"_s));
    EXPECT_TRUE(error.contains(u"not made by Sorvane"_s)) << qPrintable(error);
    writeFile(plistPath, plist);
    // Another process moved it between reading and saving.
    ASSERT_TRUE(QDir().rename(app.bundle(), app.bundle() + u".moved"_s));
    EXPECT_FALSE(renameTo(u"Renamed"_s));
    EXPECT_TRUE(error.contains(u"moved or deleted meanwhile"_s)) << qPrintable(error);
    ASSERT_TRUE(QDir().rename(app.bundle() + u".moved"_s, app.bundle()));
    EXPECT_EQ(treeFingerprint(app.bundle()), stopped);
    EXPECT_FALSE(QFileInfo::exists(test.root() + u"/Apps/Renamed.app"_s));
}

// A rename changes the bundle's own name only: a parent folder named like the bundle keeps its name.
TEST(EditRename, AParentFolderNamedLikeTheBundleKeepsItsName)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"Mail"_s});
    ASSERT_TRUE(app.moveInto(test.root() + u"/Mail.app Archive"_s));
    ASSERT_TRUE(SNAppTracker(test.context()).updateAppTracker(app.appId(), app.bundle()));
    AppEditor editor(test.context());
    QString error;
    const SNEditorItem original = editor.load(app.bundle(), app.appId(), &error).value();
    AppEditor::Change change{original, {}, false};
    change.edited.appItem.appName = u"Post"_s;
    ASSERT_TRUE(editor.save(original, change, &error)) << qPrintable(error);
    const QString renamed = test.root() + u"/Mail.app Archive/Post.app"_s;
    EXPECT_EQ(editor.result().path, renamed);
    EXPECT_EQ(SNAppTracker(test.context()).getTracker().value(app.appId()).toMap().value(u"appPath"_s), renamed);
    EXPECT_TRUE(QFileInfo(renamed + u"/Contents/MacOS/Post"_s).isFile());
}

// A new icon dates the bundle folder after the icon was written, so that whatever shows the
// bundle's icon reads it again; an edit that leaves the icon alone leaves the date alone too.
TEST(EditIcon, DatesTheBundleFolderAfterTheIconIsWritten)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"Mail"_s});
    AppEditor editor(test.context());
    QString error;
    for (const bool newIcon : {true, false}) {
        SCOPED_TRACE(newIcon ? "new icon" : "new address");
        const SNEditorItem original = editor.load(app.bundle(), app.appId(), &error).value();
        AppEditor::Change change{original, {}, false};
        if (newIcon)
            change.newIcon = squareIcon(Qt::blue);
        else
            change.edited.appItem.appURL = u"https://post.example.test/"_s;
        QDateTime stepsBegan;
        StagedEdit::setFaultForTesting([&](EditPlan::Step) -> std::optional<QString> {
            if (!stepsBegan.isValid()) {
                QThread::msleep(30); // a date the file system tells apart from the staged folder's
                stepsBegan = QDateTime::currentDateTimeUtc();
            }
            return std::nullopt;
        });
        const bool saved = editor.save(original, change, &error);
        StagedEdit::setFaultForTesting({});
        ASSERT_TRUE(saved) << qPrintable(error);
        ASSERT_TRUE(stepsBegan.isValid());
        const QDateTime dated = QFileInfo(editor.result().path).lastModified().toUTC();
        if (newIcon)
            EXPECT_GE(dated, stepsBegan);
        else
            EXPECT_LT(dated, stepsBegan);
    }
}

// A Brave app moved to Chromium keeps a copy of its Brave profile; moved back with the backup
// restored, it has that profile again, byte for byte, and Chromium's is kept in its turn.
TEST(EngineSwitch, SwitchingBackRestoresTheFirstProfileExactly)
{
    TestContext test;
    GeneratedApp app(test, {.name = u"Mail"_s, .typeKey = u"brave"_s});
    test.context().defaults().setValue(BrowserCatalogue::byTypeKey(u"chromium"_s).settingsKey,
                                       QStringLiteral(SORVANE_FAKE_ENGINE));
    ASSERT_EQ(app.start().exitCode, 0);
    addUserData(app.profile());
    const QStringList braveProfile = treeFingerprint(app.profile());
    AppEditor editor(test.context());
    QString error;
    const auto switchTo = [&](const QString &typeKey, bool restore) {
        const SNEditorItem original = editor.load(app.bundle(), app.appId(), &error).value();
        AppEditor::Change change{original, {}, restore};
        change.edited.browser = typeKey;
        return editor.save(original, change, &error) && editor.rebuilt();
    };

    ASSERT_TRUE(switchTo(u"chromium"_s, true)) << qPrintable(error);
    ProfileBackup backups(test.context(), app.bundle());
    EXPECT_EQ(treeFingerprint(backups.pathFor(u"brave"_s)), braveProfile);
    EXPECT_EQ(treeFingerprint(app.profile()), braveProfile); // no Chromium backup yet to restore
    EXPECT_EQ(editor.load(app.bundle(), app.appId(), &error)->browser, u"chromium"_s);
    EXPECT_EQ(AppConfigFile::read(configPath(test.context(), app.appId()))->applicationType,
              BrowserCatalogue::numberForTypeKey(u"chromium"_s));
    QFile::remove(app.profile() + u"/SingletonLock"_s);
    ASSERT_EQ(app.start().exitCode, 0);
    writeFile(app.profile() + u"/Default/Cookies"_s, "signed in again under chromium");
    const QStringList chromiumProfile = treeFingerprint(app.profile());

    ASSERT_TRUE(switchTo(u"brave"_s, true)) << qPrintable(error);
    EXPECT_EQ(treeFingerprint(app.profile()), braveProfile);
    EXPECT_EQ(treeFingerprint(backups.pathFor(u"chromium"_s)), chromiumProfile);
    EXPECT_FALSE(backups.exists(u"brave"_s));
    QFile::remove(app.profile() + u"/SingletonLock"_s);
    EXPECT_EQ(app.start().exitCode, 0);
}

namespace {

struct StepFailureCase
{
    EditPlan::Step step;
    bool routingOnly; // an edit of the live routing values alone (data.json without the companion)
};

void PrintTo(const StepFailureCase &c, std::ostream *os) { *os << qPrintable(EditPlan::describe(c.step)); }

using EditStepFailure = testing::TestWithParam<StepFailureCase>;

} // namespace

// Whichever writer step of an edit fails, the edit fails naming the reason, and the apps folder,
// the app's configuration and the registry are as they were, byte for byte.
TEST_P(EditStepFailure, LeavesTheAppAsItWasAndNamesTheReason)
{
    TestContext test;
    test.context().defaults().setValue(BrowserCatalogue::byTypeKey(u"brave"_s).settingsKey,
                                       QStringLiteral(SORVANE_FAKE_ENGINE));
    GeneratedApp app(test, {.name = u"Mail"_s, .routing = GetParam().routingOnly});
    ASSERT_EQ(app.start().exitCode, 0);
    addUserData(app.profile());
    QFile::remove(app.profile() + u"/SingletonLock"_s);
    const QString folder = QFileInfo(app.bundle()).path();
    const QString support = test.context().supportFolder();
    const QStringList appsBefore = treeFingerprint(folder);
    const QByteArray trackerBefore = readAll(support + u"/tracker.plist"_s);
    const QByteArray configBefore = readAll(configPath(test.context(), app.appId()));

    AppEditor editor(test.context());
    QString error;
    const SNEditorItem original = editor.load(app.bundle(), app.appId(), &error).value();
    AppEditor::Change change{original, {}, false};
    AppDefinition &edited = change.edited.appItem;
    edited.routingRules = {QVariantMap{{u"id"_s, u"r1"_s}, {u"pattern"_s, u"*.example.org"_s}, {u"action"_s, u"allow"_s}}};
    if (!GetParam().routingOnly) {
        edited.appName = u"Post"_s;
        edited.appURL = u"https://post.example.test/"_s;
        edited.registerAsBrowser = true;
        edited.accentColor = u"#1E90FF"_s;
        change.edited.browser = u"brave"_s;
        change.newIcon = squareIcon(Qt::red);
    }
    bool reached = false;
    StagedEdit::setFaultForTesting([&](EditPlan::Step step) -> std::optional<QString> {
        if (step != GetParam().step)
            return std::nullopt;
        reached = true;
        return u"No space left on device"_s;
    });
    EXPECT_FALSE(editor.save(original, change, &error));
    StagedEdit::setFaultForTesting({});
    EXPECT_TRUE(reached) << "the edit did not run that step";
    EXPECT_TRUE(error.contains(u"No space left on device"_s)) << qPrintable(error);

    EXPECT_EQ(treeFingerprint(folder), appsBefore);
    EXPECT_EQ(readAll(support + u"/tracker.plist"_s), trackerBefore);
    EXPECT_EQ(readAll(configPath(test.context(), app.appId())), configBefore);
    EXPECT_TRUE(QDir(OperationJournal::folder(test.context())).entryList({u"*.plist"_s}, QDir::Files).isEmpty());
    EXPECT_TRUE(QDir(support).entryList({u"*.staged"_s, u"*.previous"_s}, QDir::Files).isEmpty());

    // With the fault gone the same edit goes through.
    ASSERT_TRUE(editor.save(original, change, &error)) << qPrintable(error);
    EXPECT_EQ(readAll(editor.result().path + u"/Contents/Profile/Default/Cookies"_s), QByteArray("cookie jar"));
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{QFileInfo(editor.result().path).fileName()});
}

INSTANTIATE_TEST_SUITE_P(
    Steps, EditStepFailure,
    testing::Values(StepFailureCase{EditPlan::Step::Icon, false}, StepFailureCase{EditPlan::Step::InfoPlist, false},
                    StepFailureCase{EditPlan::Step::CompanionFiles, false},
                    StepFailureCase{EditPlan::Step::DataJSON, true},
                    StepFailureCase{EditPlan::Step::LaunchPrograms, false},
                    StepFailureCase{EditPlan::Step::Script, false}, StepFailureCase{EditPlan::Step::Engine, false},
                    StepFailureCase{EditPlan::Step::AccentColor, false},
                    StepFailureCase{EditPlan::Step::Configuration, false},
                    StepFailureCase{EditPlan::Step::Move, false},
                    StepFailureCase{EditPlan::Step::ProfileSwitch, false}),
    [](const auto &p) { return std::to_string(int(p.param.step)); });
