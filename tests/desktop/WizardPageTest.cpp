// The creation wizard and the editor as a person uses them: what each step shows, what it lets
// through, and what creation leaves on screen.

#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"

#include "core/BrowserCatalogue.h"
#include "core/UserDefaults.h"
#include "frontend/AppCreationWizardStore.h"
#include "frontend/AppSuggestionsStore.h"
#include "frontend/CustomQuickSetupList.h"
#include "frontend/EngineChoices.h"
#include "frontend/HomescreenStore.h"
#include "frontend/InstalledBrowsers.h"

#include <QFile>
#include <QFileInfo>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The main window with the wizard open on a new app (or on `editId`, an existing one).
class Wizard
{
public:
    explicit Wizard(const std::function<void(DesktopHarness &)> &before = {}, bool edit = false)
    {
        if (before)
            before(app);
        if (edit)
            editedId = app.seedApp(u"Mail"_s, {u"https://mail.example.invalid/"_s});
        QString error;
        loaded = app.load(&error);
        EXPECT_TRUE(loaded) << error.toStdString();
        if (edit)
            EXPECT_TRUE(home().editApp(editedId));
        else
            home().newApp();
        // The page has slid in when the keyboard is in its first field.
        opened = DesktopHarness::waitFor([this] { return item(u"appNameField"_s) && item(u"appNameField"_s)->hasActiveFocus(); });
    }

    // Every step is drawn without a QML warning.
    ~Wizard() { EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString(); }

    HomescreenStore &home() { return app.shell().home(); }
    AppCreationWizardStore *store() { return home().wizard(); }

    QQuickItem *item(const QString &name) { return app.find<QQuickItem>(name); }
    QStringList named(const QString &prefix)
    {
        QStringList names;
        for (QObject *object : app.findAll(prefix)) {
            auto *shown = qobject_cast<QQuickItem *>(object);
            if (shown && shown->isVisible() && !names.contains(object->objectName()))
                names.append(object->objectName());
        }
        return names;
    }
    QString text(const QString &name) { return app.value(name, "text").toString(); }
    bool visible(const QString &name) { return app.isShown(name); }
    bool checked(const QString &name) { return app.value(name, "checked").toBool(); }
    void click(const QString &name)
    {
        QString why;
        EXPECT_TRUE(app.click(name, &why)) << why.toStdString();
    }
    void type(const QString &name, const QString &text)
    {
        QString why;
        EXPECT_TRUE(app.type(name, text, &why)) << why.toStdString();
    }
    void fillBasics(const QString &name, const QString &url)
    {
        type(u"appNameField"_s, name);
        type(u"appURLField"_s, url);
    }
    // Moves on with Next until the step is shown.
    void goTo(WizardSteps::WizardStep step)
    {
        while (store() && store()->steps()->currentStep() < step) {
            const auto before = store()->steps()->currentStep();
            click(u"nextButton"_s);
            ASSERT_NE(store()->steps()->currentStep(), before) << store()->steps()->validationMessages().join(u", "_s).toStdString();
        }
    }

    DesktopHarness app;
    QString editedId;
    bool loaded = false;
    bool opened = false;
};

} // namespace

// Next is held back by the store's messages beside the fields and lets a valid step through;
// Enter is Next and Escape closes the wizard.
TEST(WizardPage, NextWaitsForAValidNameAndAddress)
{
    struct Case
    {
        const char *name;
        QString appName, url;
        QString nameMessage, urlMessage;
    };
    const QList<Case> cases{
        {"empty", {}, {}, u"App name is required"_s, u"App URL is required"_s},
        {"bad", u"Work/Home"_s, u"http://"_s, u"App name contains invalid characters"_s, u"Please enter a valid URL"_s},
        {"good", u"Mail"_s, u"https://mail.example.invalid/"_s, {}, {}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Wizard wizard;
        ASSERT_TRUE(wizard.opened);
        if (!c.appName.isEmpty())
            wizard.fillBasics(c.appName, c.url);
        wizard.app.key(Qt::Key_Return);
        const bool passes = c.nameMessage.isEmpty();
        EXPECT_EQ(wizard.visible(u"appNameMessages"_s), !passes);
        EXPECT_EQ(wizard.text(u"appNameMessages"_s), c.nameMessage);
        EXPECT_EQ(wizard.text(u"appURLMessages"_s), c.urlMessage);
        EXPECT_EQ(wizard.visible(u"appNameField"_s), !passes);
        EXPECT_EQ(wizard.visible(u"browserList"_s), passes);
        EXPECT_EQ(wizard.text(u"step:1"_s), u"2 Browser"_s);

        wizard.app.key(Qt::Key_Escape);
        EXPECT_TRUE(DesktopHarness::waitFor([&] { return wizard.store() == nullptr; }));
    }
}

// A suggestion fills the name and the address the person then sees in the fields.
TEST(WizardPage, ASuggestionFillsTheBasics)
{
    Wizard wizard;
    ASSERT_TRUE(wizard.opened);
    const QStringList offered = wizard.named(u"suggestion:"_s);
    ASSERT_FALSE(offered.isEmpty());
    const QString name = offered.last();
    const QVariantMap values = wizard.app.shell().suggestions().wizardValues(name.mid(name.indexOf(u':') + 1));
    wizard.click(name);
    EXPECT_EQ(wizard.text(u"appNameField"_s), values.value(u"appName"_s).toString());
    EXPECT_EQ(wizard.text(u"appURLField"_s), values.value(u"appURL"_s).toString());
    EXPECT_FALSE(wizard.text(u"appNameField"_s).isEmpty());
}

// The browser step lists the installed engines only, each with its word on link routing, and
// picks the first of them for a new app.
TEST(WizardPage, TheBrowserStepListsTheInstalledEngines)
{
    Wizard wizard([](DesktopHarness &app) {
        UserDefaults &defaults = app.test().context().defaults();
        for (const BrowserInfo &browser : BrowserCatalogue::all())
            if (browser.typeKey != u"chromium"_s)
                defaults.setValue(browser.settingsKey, QString(app.test().root() + u"/missing"_s));
        defaults.setValue(u"bravePath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
    });
    ASSERT_TRUE(wizard.opened);
    wizard.fillBasics(u"Mail"_s, u"https://mail.example.invalid/"_s);
    wizard.goTo(WizardSteps::WizardStep::Browser);

    QStringList expected;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const bool installed = browser.typeKey == u"brave"_s || browser.typeKey == u"chromium"_s ||
                               QFileInfo::exists(InstalledBrowsers::defaultPath(browser.number));
        if (installed)
            expected.append(u"browser:"_s + browser.browserName);
        else
            EXPECT_EQ(wizard.item(u"browser:"_s + browser.browserName), nullptr) << browser.browserName.toStdString();
    }
    EXPECT_EQ(wizard.named(u"browser:"_s), expected);
    const QString braveName = BrowserCatalogue::byNumber(BrowserCatalogue::Brave).browserName;
    EXPECT_EQ(wizard.text(u"browserRouting:"_s + braveName), EngineChoices::linkRoutingNote(CompanionSupport::Routing::Yes));
    // Where the engine comes from stands under its name.
    EXPECT_EQ(wizard.text(u"browserPackaging:"_s + braveName), QStringLiteral(SORVANE_FAKE_ENGINE));
    EXPECT_TRUE(wizard.checked(expected.first()));
}

// The tabs editor comes with the tabbed switch; private mode turns tabs on, and they stay on.
TEST(WizardPage, TabsFollowTheTabbedSwitchAndPrivateMode)
{
    Wizard wizard;
    ASSERT_TRUE(wizard.opened);
    wizard.fillBasics(u"Desk"_s, u"https://desk.example.invalid/"_s);
    wizard.goTo(WizardSteps::WizardStep::Settings);
    EXPECT_FALSE(wizard.visible(u"tabsEditor"_s));
    wizard.click(u"tabbedSwitch"_s);
    EXPECT_TRUE(wizard.visible(u"tabsEditor"_s));
    wizard.click(u"addTabButton"_s);
    wizard.click(u"addTabButton"_s);
    wizard.type(u"tabField:1"_s, u"https://docs.example.invalid/"_s);
    wizard.click(u"tabUpButton:1"_s);
    EXPECT_EQ(wizard.text(u"tabField:0"_s), u"https://docs.example.invalid/"_s);
    EXPECT_EQ(wizard.text(u"tabField:1"_s), QString()); // a blank tab may stand while editing
    wizard.click(u"tabbedSwitch"_s);
    EXPECT_FALSE(wizard.visible(u"tabsEditor"_s));

    wizard.click(u"incognitoSwitch"_s);
    EXPECT_TRUE(wizard.checked(u"tabbedSwitch"_s));
    EXPECT_FALSE(wizard.item(u"tabbedSwitch"_s)->isEnabled());
    EXPECT_TRUE(wizard.visible(u"tabsEditor"_s));
    EXPECT_TRUE(wizard.visible(u"incognitoTabsNote"_s));
    // Private mode turned off again leaves the tabs on.
    wizard.click(u"incognitoSwitch"_s);
    EXPECT_TRUE(wizard.checked(u"tabbedSwitch"_s));
}

// "Add several rules" turns a pasted list into one row per domain, in order.
TEST(WizardPage, AddSeveralRulesAddsARowPerDomain)
{
    Wizard wizard;
    ASSERT_TRUE(wizard.opened);
    wizard.fillBasics(u"Desk"_s, u"https://desk.example.invalid/"_s);
    wizard.goTo(WizardSteps::WizardStep::Settings);
    wizard.click(u"addSeveralRulesButton"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return wizard.visible(u"severalRulesField"_s); }));
    wizard.type(u"severalRulesField"_s, u"a.example, b.example *.c.example"_s);
    wizard.click(u"severalRulesAddButton"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return !wizard.visible(u"severalRulesField"_s); }));
    EXPECT_EQ(wizard.text(u"rulePattern:0"_s), u"a.example"_s);
    EXPECT_EQ(wizard.text(u"rulePattern:1"_s), u"b.example"_s);
    EXPECT_EQ(wizard.text(u"rulePattern:2"_s), u"*.c.example"_s);
    EXPECT_EQ(wizard.item(u"rulePattern:3"_s), nullptr);
    EXPECT_EQ(wizard.store()->draft()->routingRules()->count(), 3);
}

// The review shows the choices; a failed creation shows the store's alert and leaves every
// field as it was.
TEST(WizardPage, AFailedCreationShowsTheErrorAndKeepsTheChoices)
{
    Wizard wizard;
    ASSERT_TRUE(wizard.opened);
    wizard.fillBasics(u"Mail"_s, u"https://mail.example.invalid/"_s);
    wizard.goTo(WizardSteps::WizardStep::Settings);
    wizard.click(u"incognitoSwitch"_s);
    wizard.goTo(WizardSteps::WizardStep::Review);
    EXPECT_EQ(wizard.text(u"review:name"_s), u"Mail"_s);
    EXPECT_EQ(wizard.text(u"review:address"_s), u"https://mail.example.invalid/"_s);
    EXPECT_EQ(wizard.text(u"review:browser"_s), wizard.store()->draft()->selectedBrowserName());
    EXPECT_EQ(wizard.text(u"review:incognito"_s), u"Yes"_s);
    EXPECT_EQ(wizard.text(u"review:window"_s), u"Tabs"_s);
    EXPECT_EQ(wizard.text(u"createButton"_s), u"Create"_s);

    // The folder the app goes to is a file: creation cannot write there.
    const QString blocked = wizard.app.test().root() + u"/not-a-folder"_s;
    QFile file(blocked);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    ASSERT_TRUE(wizard.store()->draft()->setProperty("appSaveLocation", blocked));
    wizard.click(u"createButton"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return wizard.visible(u"creationErrorText"_s); }));
    EXPECT_EQ(wizard.text(u"creationErrorTitle"_s), u"App Creation Failed"_s);
    EXPECT_FALSE(wizard.store()->creationError().isEmpty());
    EXPECT_EQ(wizard.text(u"creationErrorText"_s), wizard.store()->creationError());
    wizard.click(u"creationErrorOkButton"_s);
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return !wizard.visible(u"creationErrorText"_s); }));
    EXPECT_FALSE(wizard.store()->showingError());
    EXPECT_FALSE(wizard.visible(u"successView"_s));
    EXPECT_TRUE(wizard.visible(u"createButton"_s));
    EXPECT_EQ(wizard.text(u"review:name"_s), u"Mail"_s);
    EXPECT_EQ(wizard.text(u"appNameField"_s), u"Mail"_s);
    EXPECT_FALSE(QFileInfo::exists(wizard.app.bundle(u"Mail"_s)));
}

// In the editor another engine is only taken after the warning; Cancel keeps the app's engine,
// and saving ends in the success view, whose Done closes the editor.
TEST(WizardPage, TheEditorWarnsBeforeAnotherEngine)
{
    Wizard wizard(
        [](DesktopHarness &app) {
            app.test().context().defaults().setValue(u"bravePath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
        },
        true);
    ASSERT_TRUE(wizard.opened);
    EXPECT_EQ(wizard.text(u"wizardTitle"_s), u"Edit App"_s);
    EXPECT_EQ(wizard.text(u"appNameField"_s), u"Mail"_s);
    wizard.goTo(WizardSteps::WizardStep::Browser);
    EXPECT_TRUE(wizard.checked(u"browser:Chromium"_s));

    wizard.click(u"browser:"_s + BrowserCatalogue::byNumber(BrowserCatalogue::Brave).browserName);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return wizard.visible(u"engineSwitchText"_s); }));
    EXPECT_EQ(wizard.text(u"engineSwitchText"_s), wizard.store()->engineSwitch()->warningText());
    EXPECT_TRUE(wizard.text(u"engineSwitchText"_s).contains(u"before switching its engine"_s));
    wizard.click(u"engineSwitchCancelButton"_s);
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return !wizard.visible(u"engineSwitchText"_s); }));
    EXPECT_EQ(wizard.store()->draft()->selectedBrowser(), int(BrowserCatalogue::Chromium));
    EXPECT_TRUE(wizard.checked(u"browser:Chromium"_s));
    EXPECT_FALSE(wizard.checked(u"browser:"_s + BrowserCatalogue::byNumber(BrowserCatalogue::Brave).browserName));

    wizard.goTo(WizardSteps::WizardStep::Review);
    EXPECT_EQ(wizard.text(u"createButton"_s), u"Save"_s);
    // The progress is on screen (a frame was drawn with it) before the blocking update starts.
    bool progressShown = false;
    int framesWithProgress = 0;
    QObject::connect(wizard.app.window(), &QQuickWindow::frameSwapped, wizard.store(), [&] {
        framesWithProgress += wizard.visible(u"creationOverlay"_s) ? 1 : 0;
    });
    QObject::connect(wizard.store(), &AppCreationWizardStore::creationStateChanged, wizard.store(), [&] {
        if (wizard.store()->isCreatingApp())
            progressShown = progressShown || framesWithProgress > 0;
    });
    wizard.click(u"createButton"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return wizard.visible(u"doneButton"_s); }, 20000))
        << wizard.store()->creationError().toStdString();
    EXPECT_TRUE(progressShown);
    EXPECT_EQ(wizard.text(u"successTitle"_s), u"Mail is saved"_s);
    wizard.click(u"doneButton"_s);
    EXPECT_TRUE(DesktopHarness::waitFor([&] { return wizard.store() == nullptr; }));
}

// The tabs saved as a quick setup under the proposed name come back with one click, until the
// setup is deleted.
TEST(WizardPage, QuickSetupsAreSavedUsedAndDeleted)
{
    Wizard wizard;
    ASSERT_TRUE(wizard.opened);
    wizard.fillBasics(u"Desk"_s, u"https://desk.example.invalid/"_s);
    wizard.goTo(WizardSteps::WizardStep::Settings);
    wizard.click(u"tabbedSwitch"_s);
    wizard.click(u"addTabButton"_s);
    wizard.click(u"addTabButton"_s);
    wizard.type(u"tabField:0"_s, u"https://mail.example.org/"_s);
    wizard.type(u"tabField:1"_s, u"https://docs.example.org/"_s);
    wizard.click(u"backButton"_s);
    wizard.click(u"backButton"_s);

    wizard.click(u"saveSetupButton"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return wizard.visible(u"setupNameField"_s); }));
    EXPECT_EQ(wizard.text(u"setupNameField"_s), u"Mail.example.org + Docs.example.org Setup"_s);
    EXPECT_EQ(wizard.text(u"setupDescriptionField"_s), u"2 sites configuration"_s);
    wizard.type(u"setupNameField"_s, u"Office"_s);
    wizard.click(u"setupSaveButton"_s);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return wizard.visible(u"quickSetup:Office"_s); }));

    wizard.store()->draft()->tabs()->setUrls({u"https://other.example.org/"_s});
    wizard.click(u"applySetupButton:Office"_s);
    EXPECT_EQ(wizard.store()->draft()->tabs()->urls(), (QStringList{u"https://mail.example.org/"_s, u"https://docs.example.org/"_s}));
    wizard.click(u"deleteSetupButton:Office"_s);
    EXPECT_EQ(wizard.item(u"quickSetup:Office"_s), nullptr);
    EXPECT_EQ(wizard.store()->draft()->customQuickSetups()->count(), 0);
}
