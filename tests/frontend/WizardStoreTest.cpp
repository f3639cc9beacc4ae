#include "CliSandbox.h"

#include "core/BrowserCatalogue.h"
#include "core/NotificationCenter.h"
#include "core/UserDefaults.h"
#include "frontend/AppCreationWizardStore.h"
#include "core/NotificationNames.h"
#include "frontend/HomescreenStore.h"

#include <QCryptographicHash>
#include <QJsonArray>
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
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        UserDefaults &defaults = test.context().defaults();
        for (auto it = c.settings.cbegin(); it != c.settings.cend(); ++it)
            defaults.setValue(it.key(), it.value());
        const Store store(test.context());
        EXPECT_EQ(store.draft()->isTabbedApp(), c.tabbed);
        EXPECT_EQ(store.draft()->enableIncognito(), c.incognito);
        EXPECT_EQ(store.draft()->registerAsBrowser(), c.browser);
        EXPECT_EQ(store.icon()->selectedIconShape(), c.shape);
        EXPECT_EQ(store.imports()->importCategories(), c.categories);
        EXPECT_EQ(store.draft()->appSaveLocation(), test.context().applicationsFolder());
    }
}

TEST(WizardStore, FollowsSettingsChanges)
{
    TestContext test;
    Store store(test.context());
    WizardDraft &draft = *store.draft();
    test.context().defaults().setValue(u"defaultTabbedApps"_s, true);
    test.context().defaults().setValue(u"applicationsPath"_s, u"/srv/apps"_s);
    test.context().notifications().post(NotificationNames::SorvaneSettingsChanged);
    EXPECT_TRUE(draft.isTabbedApp());
    EXPECT_EQ(draft.appSaveLocation(), u"/srv/apps"_s);
}

// The profile chosen for the import is gone by the time the app is made: the app is made all the
// same, and the success page reads why nothing was imported.
TEST(WizardStore, AProfileGoneBeforeTheImportLeavesTheAppAndSaysSo)
{
    WizardHome home;
    Store store(home.test.context());
    store.draft()->setAppName(u"Desk"_s);
    store.draft()->setAppURL(u"desk.example.org"_s);
    store.draft()->setSelectedBrowser(BrowserCatalogue::Brave);
    WizardImportChoices &imports = *store.imports();
    ASSERT_TRUE(imports.setProperty("importEnabled", true));
    QSignalSpy extensionsLoaded(imports.availableImportExtensions(), &ChoiceListModel::countChanged);
    ASSERT_TRUE(extensionsLoaded.wait(5000));
    ASSERT_EQ(imports.selectedImportProfileKey(), u"Default"_s);
    imports.setImportCategories({u"bookmarks"_s});
    ASSERT_TRUE(QDir(home.test.home() + u"/.config/BraveSoftware/Brave-Browser/Default"_s).removeRecursively());

    ASSERT_TRUE(saved(store)) << qPrintable(store.creationError());
    EXPECT_TRUE(QFileInfo(home.bundle(u"Desk"_s) + u"/Contents/Info.plist"_s).isFile());
    EXPECT_EQ(imports.importMessages(), QStringList{u"Nothing imported — the selected profile wasn't found."_s});
    EXPECT_FALSE(QFileInfo::exists(home.bundle(u"Desk"_s) + u"/Contents/Profile/Default/Bookmarks"_s));
}

// What a user does in the wizard ends in an app that reads back as they made it; the editor opens
// on it, and a duplicate of it becomes an app of its own.
TEST(WizardStore, CreatesAndEditsAnAppAsAUserWould)
{
    WizardHome home;
    Context &context = home.test.context();
    QSignalSpy completed(&context.notifications(), &NotificationCenter::posted);

    Store store(context);
    WizardDraft &draft = *store.draft();
    draft.setAppName(u"Team Desk"_s);
    draft.setAppURL(u"desk.example.org"_s);
    draft.setSelectedBrowser(BrowserCatalogue::Brave);
    ASSERT_TRUE(draft.setProperty("isTabbedApp", true));
    draft.tabs()->addTab(u"https://desk.example.org/inbox"_s);
    draft.tabs()->addTab(u"  "_s);
    draft.tabs()->addTab(u"https://docs.example.org/"_s);
    draft.routingRules()->addRule(u"*.video.example.com"_s, WizardRoutingRule::Action::Route,
                                  RoutingDestination::browser(u"org.chromium.Chromium"_s, u"Chromium"_s));
    ASSERT_TRUE(draft.setProperty("accentColorEnabled", true));
    ASSERT_TRUE(draft.setProperty("accentColor", QColor(u"#3366cc"_s)));
    WizardImportChoices &imports = *store.imports();
    ASSERT_TRUE(imports.setProperty("importEnabled", true));
    QSignalSpy extensionsLoaded(imports.availableImportExtensions(), &ChoiceListModel::countChanged);
    ASSERT_TRUE(extensionsLoaded.wait(5000));
    EXPECT_EQ(imports.selectedImportProfileKey(), u"Default"_s);
    imports.availableImportExtensions()->setChecked(u"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk"_s, true);
    imports.setImportCategories({u"bookmarks"_s});
    while (store.steps()->currentStep() != WizardSteps::WizardStep::Review)
        ASSERT_TRUE(store.steps()->nextStep());

    ASSERT_TRUE(saved(store)) << qPrintable(store.creationError());
    const QString bundle = home.bundle(u"Team Desk"_s);
    EXPECT_EQ(store.createdAppPath(), bundle);
    EXPECT_TRUE(store.showingSuccess());
    EXPECT_EQ(imports.lastImportSummary().value(u"copiedItemCount"_s).toInt(), 1);
    EXPECT_TRUE(QFileInfo::exists(bundle + u"/Contents/Profile/Default/Bookmarks"_s));
    {
        // The next app's extension list starts with the extension ticked for this one.
        Store next(context);
        next.draft()->setSelectedBrowser(BrowserCatalogue::Brave);
        ASSERT_TRUE(next.imports()->setProperty("importEnabled", true));
        QSignalSpy nextLoaded(next.imports()->availableImportExtensions(), &ChoiceListModel::countChanged);
        ASSERT_TRUE(nextLoaded.wait(5000));
        EXPECT_EQ(next.imports()->availableImportExtensions()->checkedKeys(),
                  QSet<QString>{u"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk"_s});
    }
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
    EXPECT_EQ(editor.draft()->appName(), u"Team Desk"_s);
    EXPECT_EQ(editor.draft()->selectedBrowser(), int(BrowserCatalogue::Brave));
    EXPECT_EQ(editor.draft()->routingRules()->rules().size(), 1);
    EXPECT_EQ(editor.draft()->tabs()->validUrls().size(), 2);
    context.defaults().setValue(u"defaultTabbedApps"_s, false);
    context.notifications().post(NotificationNames::SorvaneSettingsChanged);
    EXPECT_TRUE(editor.draft()->isTabbedApp());

    // Other apps are offered as destinations; the edited app is not.
    const auto offers = [](const Store &wizard, const QString &path) {
        const QList<RoutingDestination> &choices = wizard.draft()->destinations()->choices();
        return std::any_of(choices.cbegin(), choices.cend(), [&](const RoutingDestination &d) { return d.path == path; });
    };
    EXPECT_TRUE(offers(Store(context), bundle));
    EXPECT_FALSE(offers(editor, bundle));

    // A new icon shape rebuilds the icon (other edits: tests/launcher/EditingTest.cpp).
    const QByteArray icon = hashOf(bundle + u"/Contents/Resources/icon.icns"_s);
    ASSERT_TRUE(editor.icon()->setProperty("selectedIconShape", u"circle"_s));
    ASSERT_TRUE(editor.icon()->setProperty("hasCustomIconEnhancements", true));
    ASSERT_TRUE(saved(editor)) << qPrintable(editor.creationError());
    EXPECT_EQ(editor.createdAppPath(), bundle);
    EXPECT_NE(hashOf(bundle + u"/Contents/Resources/icon.icns"_s), icon);

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
