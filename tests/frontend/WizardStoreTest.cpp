#include "CliSandbox.h"
#include "support/LocalHttpServer.h"

#include "editing/SNFaviconHelper.h"

#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "core/NotificationCenter.h"
#include "core/UserDefaults.h"
#include "frontend/AppCreationWizardStore.h"
#include "frontend/AppSuggestionsStore.h"
#include "core/NotificationNames.h"
#include "frontend/HomescreenStore.h"
#include "frontend/InstalledBrowsers.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Saves the wizard's app and waits for the save to end: a creation runs in the background.
bool saved(AppCreationWizardStore &store)
{
    QSignalSpy finished(&store, &AppCreationWizardStore::creationFinished);
    if (!store.createApp())
        return false;
    return (!finished.isEmpty() || finished.wait(60000)) && finished.constLast().constFirst().toBool();
}

using Store = AppCreationWizardStore;
using Error = AppCreationWizardStore::ValidationError;

QByteArray hashOf(const QString &path)
{
    return QCryptographicHash::hash(readAll(path), QCryptographicHash::Sha256).toHex();
}

// A home whose Brave and Chromium are the recording fake engine, with a Brave profile that has
// bookmarks and one extension from the store.
class WizardHome : public Home
{
public:
    WizardHome()
    {
        writeSettings(u"chromiumPath=" SORVANE_FAKE_ENGINE "\nbravePath=" SORVANE_FAKE_ENGINE "\n"_s);
        UserDefaults &defaults = test.context().defaults();
        defaults.setValue(u"bravePath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
        defaults.setValue(u"chromiumPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
        defaults.setValue(u"applicationsPath"_s, apps);
        const QString brave = test.home() + u"/.config/BraveSoftware/Brave-Browser"_s;
        writeFile(brave + u"/Local State"_s, R"({"profile": {"info_cache": {"Default": {"name": "Work"}}}})");
        writeFile(brave + u"/Default/Preferences"_s, "{}");
        writeFile(brave + u"/Default/Secure Preferences"_s,
                  R"({"extensions": {"settings": {"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk":
                      {"from_webstore": true, "manifest": {"name": "Keeper"}}}}})");
        writeFile(brave + u"/Default/Bookmarks"_s, R"({"roots": {"bookmark_bar": {"children": []}}})");
    }

    QJsonObject info(const QString &bundle) const
    {
        return QJsonDocument::fromJson(sorvane({u"info"_s, bundle, u"--json"_s}).out).object();
    }
};

} // namespace

// The defaults a new app starts from, read from the user's settings.
TEST(WizardStore, StartsFromTheUsersSettings)
{
    struct Case
    {
        const char *name;
        QVariantMap settings;
        bool tabbed, incognito, browser;
        QString shape;
        QStringList categories;
    };
    const QStringList standard{u"bookmarks"_s, u"extensions"_s, u"settings"_s};
    const QList<Case> cases{
        {"first run", {}, false, false, false, u"roundedSquare"_s, standard},
        {"incognito forces tabs", {{u"defaultIncognitoMode"_s, u"YES"_s}, {u"defaultTabbedApps"_s, false}},
         true, true, false, u"roundedSquare"_s, standard},
        {"saved choices",
         {{u"defaultRegisterAsBrowser"_s, true}, {u"defaultTabbedApps"_s, true}, {u"defaultIconShape"_s, u"circle"_s},
          {u"defaultImportCategories"_s, QStringList{u"history"_s, u"bookmarks"_s}}},
         true, false, true, u"circle"_s, {u"bookmarks"_s, u"history"_s}},
        {"unknown values", {{u"defaultIconShape"_s, u"star"_s}, {u"defaultImportCategories"_s, QStringList{u"cookies"_s}}},
         false, false, false, u"roundedSquare"_s, standard},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        UserDefaults &defaults = test.context().defaults();
        for (auto it = c.settings.cbegin(); it != c.settings.cend(); ++it)
            defaults.setValue(it.key(), it.value());
        const Store store(test.context());
        EXPECT_EQ(store.isTabbedApp(), c.tabbed);
        EXPECT_EQ(store.enableIncognito(), c.incognito);
        EXPECT_EQ(store.registerAsBrowser(), c.browser);
        EXPECT_EQ(store.selectedIconShape(), c.shape);
        EXPECT_EQ(store.importCategories(), c.categories);
        EXPECT_EQ(store.appSaveLocation(), test.context().applicationsFolder());
        // The three switches are written on the first run, and kept as they were otherwise.
        for (const QString &key : {u"defaultRegisterAsBrowser"_s, u"defaultIncognitoMode"_s, u"defaultTabbedApps"_s})
            EXPECT_TRUE(defaults.hasPersistentValue(key)) << qPrintable(key);
    }
}

TEST(WizardStore, FollowsSettingsChangesAndTheUsersSwitches)
{
    TestContext test;
    Store store(test.context());
    QSignalSpy tabbed(&store, &Store::isTabbedAppChanged);
    test.context().defaults().setValue(u"defaultTabbedApps"_s, true);
    test.context().defaults().setValue(u"applicationsPath"_s, u"/srv/apps"_s);
    test.context().notifications().post(NotificationNames::SorvaneSettingsChanged);
    EXPECT_TRUE(store.isTabbedApp());
    EXPECT_EQ(store.appSaveLocation(), u"/srv/apps"_s);
    EXPECT_GE(tabbed.count(), 1);

    // Incognito chosen by hand turns tabs on; turning it off leaves tabs as they are.
    store.setProperty("isTabbedApp", false);
    store.setProperty("enableIncognito", true);
    EXPECT_TRUE(store.isTabbedApp());
    store.setProperty("enableIncognito", false);
    EXPECT_TRUE(store.isTabbedApp());
}

// A saved quick setup and a chosen template fill the tabs; several tabs make the app tabbed.
TEST(WizardStore, TakesTabsFromQuickSetupsAndTemplates)
{
    TestContext test;
    Store first(test.context());
    first.tabs()->setUrls({u"https://mail.example.org/"_s, u" "_s, u"https://www.docs.example.org/"_s});
    const QUuid id = first.saveCurrentAsSetup(u"Work"_s, {}, first.suggestedSetupDescription());
    ASSERT_FALSE(id.isNull());

    Store second(test.context());
    second.applySetup(id);
    EXPECT_EQ(second.tabs()->urls(), (QStringList{u"https://mail.example.org/"_s, u"https://www.docs.example.org/"_s}));
    EXPECT_TRUE(second.isTabbedApp());

    Store third(test.context());
    third.applySuggestion(AppSuggestionsStore(test.context()).wizardValues(u"google-workspace"_s));
    EXPECT_EQ(third.appName(), u"Google Workspace"_s);
    EXPECT_TRUE(third.isTabbedApp());
    EXPECT_GE(third.tabs()->validUrls().size(), 2);
}

TEST(WizardStore, ValidatesTheBasics)
{
    struct Case
    {
        const char *name;
        QString appName, url;
        bool tabbed;
        QStringList tabs;
        QList<Error> errors;
    };
    const QList<Case> cases{
        {"complete", u"Mail"_s, u"mail.example.org"_s, false, {}, {}},
        {"blank", u" \n"_s, u"  "_s, false, {}, {Error::EmptyAppName, Error::EmptyAppURL}},
        {"not an address", u"Mail"_s, u"http://"_s, false, {}, {Error::InvalidURL}},
        {"slashes", u"A/B\\C"_s, u"https://x.example/"_s, false, {}, {Error::InvalidAppName}},
        {"several at once", u"a/b"_s, u"javascript:alert(1)"_s, false, {}, {Error::InvalidURL, Error::InvalidAppName}},
        {"a name at the byte limit", QString(AppNameRule::maximumBytes() / 2, u'\u00e9'), u"https://x.example/"_s, false, {}, {}},
        {"one byte over", QString(AppNameRule::maximumBytes() / 2, u'\u00e9') + u'n', u"https://x.example/"_s, false, {},
         {Error::AppNameTooLong}},
        {"punctuation passes", u"Mail: \"Work\" & $(x)"_s, u"https://x.example/"_s, false, {}, {}},
        {"tabs stand in for the address", u"Desk"_s, u""_s, true, {u"  "_s, u"https://a.example/"_s}, {}},
        {"blank tabs do not", u"Desk"_s, u""_s, true, {u"  "_s}, {Error::EmptyAppURL}},
        {"a bad tab", u"Desk"_s, u"https://a.example/"_s, true, {u"file:///etc/passwd"_s}, {Error::InvalidURL}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        Store store(test.context());
        QSignalSpy changed(&store, &Store::validationErrorsChanged);
        store.setProperty("appName", c.appName);
        store.setProperty("appURL", c.url);
        store.setProperty("isTabbedApp", c.tabbed);
        for (const QString &tab : c.tabs)
            store.tabs()->addTab(tab);
        EXPECT_EQ(store.nextStep(), c.errors.isEmpty());
        EXPECT_EQ(store.validationErrors(), c.errors);
        EXPECT_EQ(store.currentStep(), c.errors.isEmpty() ? Store::WizardStep::Browser : Store::WizardStep::Basics);
        EXPECT_EQ(store.stepValidationStates().value(u"basics"_s).toBool(), c.errors.isEmpty());
        EXPECT_EQ(changed.count(), 1);
        // Which message stands beside which field: WizardPage.NextWaitsForAValidNameAndAddress.
        if (c.errors.isEmpty()) {
            // Only the tabs with an address reach the app.
            EXPECT_EQ(store.draftApp().tabsList.size(), c.tabbed ? 1 : 0);
        } else {
            EXPECT_EQ(store.validationMessages().first(), Store::message(c.errors.first()));
        }
    }
}

// The first installed browser in the picker's order is chosen once; an Opera engine runs tabbed.
// (What the picker lists, and its word on link routing, is proved by the desktop WizardPage tests.)
TEST(WizardStore, ChoosesTheFirstInstalledBrowserOnce)
{
    TestContext test;
    test.context().defaults().setValue(u"operaPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
    for (const char *key : {"chromePath", "canaryPath", "bravePath", "edgePath"})
        test.context().defaults().setValue(QString::fromLatin1(key), QString(test.root() + u"/missing"_s));
    for (int type : {BrowserCatalogue::Chrome, BrowserCatalogue::Canary, BrowserCatalogue::Brave, BrowserCatalogue::Edge}) {
        if (QFileInfo::exists(InstalledBrowsers::defaultPath(type)))
            GTEST_SKIP() << "a browser before Opera is installed on this machine";
    }
    Store store(test.context());
    store.applyInitialBrowserFromPickerOrder();
    EXPECT_EQ(store.selectedBrowser(), int(BrowserCatalogue::Opera));
    EXPECT_EQ(store.selectedBrowserName(), u"Opera"_s);
    EXPECT_TRUE(store.isTabbedApp());

    store.setProperty("isTabbedApp", false);
    store.setSelectedBrowser(BrowserCatalogue::Chromium);
    store.applyInitialBrowserFromPickerOrder();
    EXPECT_EQ(store.selectedBrowser(), int(BrowserCatalogue::Chromium));
    store.setSelectedBrowser(BrowserCatalogue::Opera); // by hand: no tabs forced
    EXPECT_FALSE(store.isTabbedApp());
}

// What a user does in the wizard ends in an app that reads back as they made it; the editor on
// that app changes its rules without a rebuild and its icon shape with one.
TEST(WizardStore, CreatesAndEditsAnAppAsAUserWould)
{
    WizardHome home;
    Context &context = home.test.context();
    QSignalSpy completed(&context.notifications(), &NotificationCenter::posted);

    Store store(context);
    store.setProperty("appName", u"Team Desk"_s);
    store.setProperty("appURL", u"desk.example.org"_s);
    store.setSelectedBrowser(BrowserCatalogue::Brave);
    store.setProperty("isTabbedApp", true);
    store.tabs()->addTab(u"https://desk.example.org/inbox"_s);
    store.tabs()->addTab(u"  "_s);
    store.tabs()->addTab(u"https://docs.example.org/"_s);
    store.routingRules()->addRule(u"*.video.example.com"_s, WizardRoutingRule::Action::Route,
                                  RoutingDestination::browser(u"org.chromium.Chromium"_s, u"Chromium"_s));
    store.setProperty("accentColorEnabled", true);
    store.setProperty("accentColor", QColor(u"#3366cc"_s));
    store.setProperty("importEnabled", true);
    QSignalSpy extensionsLoaded(store.availableImportExtensions(), &ChoiceListModel::countChanged);
    ASSERT_TRUE(extensionsLoaded.wait(5000));
    EXPECT_EQ(store.selectedImportProfileKey(), u"Default"_s);
    store.setSelectedExtensionIDs({u"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk"_s, u"not-offered"_s});
    EXPECT_EQ(store.selectedExtensionIDs(), QStringList{u"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk"_s});
    store.setImportCategories({u"bookmarks"_s});
    while (store.currentStep() != Store::WizardStep::Review)
        ASSERT_TRUE(store.nextStep());

    ASSERT_TRUE(saved(store)) << qPrintable(store.creationError());
    const QString bundle = home.bundle(u"Team Desk"_s);
    EXPECT_EQ(store.createdAppPath(), bundle);
    EXPECT_TRUE(store.showingSuccess());
    EXPECT_EQ(store.lastImportSummary().value(u"copiedItemCount"_s).toInt(), 1);
    EXPECT_TRUE(QFileInfo::exists(bundle + u"/Contents/Profile/Default/Bookmarks"_s));
    EXPECT_EQ(std::count_if(completed.cbegin(), completed.cend(), [](const QList<QVariant> &call) {
                  return call.first().toString() == NotificationNames::AppCreationCompleted;
              }),
              1);

    QJsonObject info = home.info(bundle);
    EXPECT_EQ(info.value(u"appName"_s).toString(), u"Team Desk"_s);
    EXPECT_EQ(info.value(u"browserType"_s).toString(), u"brave"_s);
    EXPECT_TRUE(info.value(u"isTabs"_s).toBool());
    EXPECT_EQ(info.value(u"tabs"_s).toVariant().toStringList(),
              (QStringList{u"https://desk.example.org/inbox"_s, u"https://docs.example.org/"_s}));
    const QJsonObject configuration = info.value(u"configuration"_s).toObject();
    EXPECT_EQ(configuration.value(u"appURL"_s).toString(), u"https://desk.example.org"_s);
    EXPECT_EQ(configuration.value(u"accentColor"_s).toString(), u"#3366CC"_s);
    const QJsonArray rules = configuration.value(u"routingRules"_s).toArray();
    ASSERT_EQ(rules.size(), 1);
    EXPECT_EQ(rules.first()[u"pattern"_s].toString(), u"*.video.example.com"_s);
    EXPECT_EQ(rules.first()[u"destination"_s][u"bundleId"_s].toString(), u"org.chromium.Chromium"_s);

    // The home screen lists it and opens the editor on it; a settings change does not touch what is
    // being edited.
    HomescreenStore homescreen(context);
    ASSERT_TRUE(homescreen.editApp(info.value(u"appID"_s).toString()));
    ASSERT_NE(homescreen.wizard(), nullptr);
    Store &editor = *homescreen.wizard();
    ASSERT_FALSE(editor.showingError()) << qPrintable(editor.creationError());
    EXPECT_EQ(editor.appName(), u"Team Desk"_s);
    EXPECT_EQ(editor.selectedBrowser(), int(BrowserCatalogue::Brave));
    EXPECT_EQ(editor.routingRules()->rules().size(), 1);
    EXPECT_EQ(editor.tabs()->validUrls().size(), 2);
    context.defaults().setValue(u"defaultTabbedApps"_s, false);
    context.notifications().post(NotificationNames::SorvaneSettingsChanged);
    EXPECT_TRUE(editor.isTabbedApp());

    // Other apps are offered as destinations; the edited app is not.
    const auto offers = [](const Store &wizard, const QString &path) {
        const QList<RoutingDestination> &choices = wizard.destinations()->choices();
        return std::any_of(choices.cbegin(), choices.cend(), [&](const RoutingDestination &d) { return d.path == path; });
    };
    EXPECT_TRUE(offers(Store(context), bundle));
    EXPECT_FALSE(offers(editor, bundle));

    const QByteArray script = hashOf(bundle + u"/Contents/Resources/script"_s);
    const QByteArray icon = hashOf(bundle + u"/Contents/Resources/icon.icns"_s);
    const QFileInfo scriptBefore(bundle + u"/Contents/Resources/script"_s);
    editor.routingRules()->addSeveralRules(u"a.example, b.example\nc.example"_s, RoutingDestination::inApp());
    ASSERT_TRUE(saved(editor)) << qPrintable(editor.creationError());
    EXPECT_EQ(hashOf(bundle + u"/Contents/Resources/script"_s), script);
    EXPECT_EQ(QFileInfo(bundle + u"/Contents/Resources/script"_s).lastModified(), scriptBefore.lastModified());
    EXPECT_EQ(home.info(bundle)[u"configuration"_s][u"routingRules"_s].toArray().size(), 4);

    editor.setProperty("selectedIconShape", u"circle"_s);
    editor.setProperty("hasCustomIconEnhancements", true);
    ASSERT_TRUE(saved(editor)) << qPrintable(editor.creationError());
    EXPECT_EQ(editor.createdAppPath(), bundle);
    EXPECT_NE(hashOf(bundle + u"/Contents/Resources/icon.icns"_s), icon);
    EXPECT_EQ(home.info(bundle)[u"configuration"_s][u"routingRules"_s].toArray().size(), 4);

    // A new engine is only taken after the user confirmed the warning (Cancel: WizardPage tests).
    editor.setSelectedBrowser(BrowserCatalogue::Chromium);
    EXPECT_TRUE(editor.showingEngineSwitchWarning());
    EXPECT_TRUE(editor.engineSwitchWarningText().contains(u"before switching its engine, so its tabs and data are saved first."_s));
    EXPECT_FALSE(saved(editor));
    editor.confirmEngineSwitch(false);
    ASSERT_TRUE(saved(editor)) << qPrintable(editor.creationError());
    EXPECT_EQ(home.info(bundle).value(u"browserType"_s).toString(), u"chromium"_s);
    EXPECT_TRUE(QFileInfo(bundle + u"/Contents/Profile.brave.backup"_s).isDir());

    // A duplicate has no bundle yet: its wizard makes a new app and leaves the first alone.
    homescreen.setShowingAppEdit(false);
    EXPECT_EQ(homescreen.wizard(), nullptr);
    ASSERT_TRUE(homescreen.duplicateApp(homescreen.editingApp().id));
    ASSERT_NE(homescreen.wizard(), nullptr);
    ASSERT_TRUE(saved(*homescreen.wizard())) << qPrintable(homescreen.wizard()->creationError());
    EXPECT_EQ(homescreen.wizard()->createdAppPath(), home.bundle(u"Team Desk 2"_s));
    EXPECT_EQ(home.info(home.bundle(u"Team Desk 2"_s)).value(u"tabs"_s), home.info(bundle).value(u"tabs"_s));
    EXPECT_EQ(home.info(bundle).value(u"appName"_s).toString(), u"Team Desk"_s);
}

// The desktop editor and `sorvane edit` run one edit operation: each bad input is refused by both
// with the same words, and neither changes the app.
TEST(WizardStore, EditorRefusesWhatTheCommandLineRefuses)
{
    WizardHome home;
    ASSERT_EQ(home.create(u"Mail"_s).exitCode, 0);
    const QString bundle = home.bundle(u"Mail"_s);
    const QByteArray scriptBefore = hashOf(bundle + u"/Contents/Resources/script"_s);
    const QString appId = home.info(bundle).value(u"appID"_s).toString();
    struct Case
    {
        const char *label;
        QString option;
        QString value;
        const char *property;
    };
    const QList<Case> cases{
        {"control character in the name", u"--name"_s, u"Mail"_s + QChar(7) + u"Bell"_s, "appName"},
        {"slash in the name", u"--name"_s, u"Mail/Work"_s, "appName"},
        {"name too long", u"--name"_s, QString(300, u'm'), "appName"},
        {"address not on the web", u"--url"_s, u"ftp://files.example.org/"_s, "appURL"},
    };
    HomescreenStore homescreen(home.test.context());
    for (const Case &c : cases) {
        SCOPED_TRACE(c.label);
        const CliRun cli = home.sorvane({u"edit"_s, bundle, c.option, c.value});
        EXPECT_EQ(cli.exitCode, 1);
        const QString cliError = QString::fromUtf8(cli.err).trimmed().remove(u"sorvane edit: "_s);

        ASSERT_TRUE(homescreen.editApp(appId));
        Store &editor = *homescreen.wizard();
        editor.setProperty(c.property, c.value);
        EXPECT_FALSE(saved(editor));
        EXPECT_EQ(editor.creationError(), cliError);
        EXPECT_FALSE(cliError.isEmpty());
        homescreen.setShowingAppEdit(false);
        EXPECT_EQ(hashOf(bundle + u"/Contents/Resources/script"_s), scriptBefore);
    }
}

// The site's title names the app when the user has not, and its icon becomes the app's.
TEST(WizardStore, NamesTheAppAfterItsSite)
{
    TestContext test;
    LocalHttpServer site;
    site.serve(u"/"_s, {R"(<html><head><title> Team &amp; Chat
        </title><link rel="icon" href="/icon.png"></head></html>)", 200, "text/html"});
    site.serve(u"/icon.png"_s, {LocalHttpServer::icon(64), 200, "image/png"});
    LocalHttpServer slow; // answers nothing, ever
    slow.serve(u"/"_s, {{}, 200, "text/html", LocalHttpServer::Kind::Silent});
    LocalHttpServer bare; // a page without any icon
    bare.serve(u"/"_s, {"<html><head><title>Bare</title></head></html>", 200, "text/html"});
    const auto withoutScheme = [](const LocalHttpServer &server) { return server.url().toString().mid(7); };

    // Typed without a scheme while a slow site is being searched: the slow search is dropped, and
    // the second site answers within its own bounds, over the scheme it speaks.
    Store store(test.context());
    store.setProperty("appURL", slow.url().toString());
    store.detectNameAndIcon();
    store.setProperty("appURL", withoutScheme(site));
    QSignalSpy detection(&store, &Store::detectionChanged);
    QElapsedTimer clock;
    clock.start();
    store.detectNameAndIcon();
    EXPECT_TRUE(store.isAutoDetecting());
    ASSERT_TRUE(detection.wait(15000));
    EXPECT_LT(clock.elapsed(), SNFaviconHelper::Limits().searchTimeout.count()); // not held up by the first
    EXPECT_FALSE(store.isLoadingFavicon());
    EXPECT_EQ(store.autoDetectedName(), u"Team & Chat"_s);
    EXPECT_EQ(store.appName(), u"Team & Chat"_s);
    EXPECT_EQ(store.appIcon().width(), 64);
    EXPECT_FALSE(store.isCustomAssetIcon());
    EXPECT_EQ(store.savedAddress(), site.url().toString()); // what the review shows and the app keeps
    EXPECT_EQ(store.draftApp().appURL, site.url().toString());

    // A site without an icon clears the one the previous address found.
    store.setProperty("appURL", bare.url().toString());
    store.detectNameAndIcon();
    ASSERT_TRUE(detection.wait(15000));
    EXPECT_TRUE(store.appIcon().isNull());

    // A name the user typed stays; a short text without a scheme is not looked up.
    Store typed(test.context());
    typed.setProperty("appName", u"Mine"_s);
    typed.setProperty("appURL", site.url().toString());
    QSignalSpy typedDetection(&typed, &Store::detectionChanged);
    typed.detectNameAndIcon();
    ASSERT_TRUE(typedDetection.wait(15000));
    EXPECT_EQ(typed.appName(), u"Mine"_s);
    typed.setProperty("appURL", u"a.b"_s);
    typed.detectNameAndIcon();
    EXPECT_FALSE(typed.isAutoDetecting());
}
