#include "support/TestContext.h"

#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "core/UserDefaults.h"
#include "frontend/AppSuggestionsStore.h"
#include "frontend/InstalledBrowsers.h"
#include "frontend/WizardDraft.h"
#include "frontend/WizardSteps.h"

#include <QFileInfo>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

using Error = WizardDraft::ValidationError;
using Step = WizardSteps::WizardStep;

} // namespace

// A chosen template fills the tabs and makes the app tabbed (saved quick setups: the desktop
// WizardPage tests).
TEST(WizardDraft, TakesTabsFromTemplates)
{
    TestContext test;
    WizardDraft draft(test.context());
    draft.applySuggestion(AppSuggestionsStore(test.context()).wizardValues(u"google-workspace"_s));
    EXPECT_EQ(draft.appName(), u"Google Workspace"_s);
    EXPECT_TRUE(draft.isTabbedApp());
    EXPECT_GE(draft.tabs()->validUrls().size(), 2);
}

// Next leaves the basics only when the name and the addresses can make an app; the errors are
// published with it (empty and plainly bad fields: WizardPage.NextWaitsForAValidNameAndAddress).
TEST(WizardDraft, ValidatesTheBasics)
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
        WizardDraft draft(test.context());
        WizardSteps steps(draft);
        QSignalSpy changed(&steps, &WizardSteps::validationErrorsChanged);
        draft.setAppName(c.appName);
        draft.setAppURL(c.url);
        ASSERT_TRUE(draft.setProperty("isTabbedApp", c.tabbed));
        for (const QString &tab : c.tabs)
            draft.tabs()->addTab(tab);
        EXPECT_EQ(steps.nextStep(), c.errors.isEmpty());
        EXPECT_EQ(steps.validationErrors(), c.errors);
        EXPECT_EQ(steps.currentStep(), c.errors.isEmpty() ? Step::Browser : Step::Basics);
        EXPECT_EQ(changed.count(), 1);
        // Which message stands beside which field: WizardPage.NextWaitsForAValidNameAndAddress.
        if (c.errors.isEmpty()) {
            // Only the tabs with an address reach the app.
            EXPECT_EQ(draft.definition().tabsList.size(), c.tabbed ? 1 : 0);
        } else {
            EXPECT_EQ(steps.validationMessages().first(), WizardDraft::message(c.errors.first()));
        }
    }
}

// The first installed browser in the picker's order is chosen once; an Opera engine runs tabbed.
// (What the picker lists, and its word on link routing, is proved by the desktop WizardPage tests.)
TEST(WizardDraft, ChoosesTheFirstInstalledBrowserOnce)
{
    TestContext test;
    test.context().defaults().setValue(u"operaPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
    for (const char *key : {"chromePath", "canaryPath", "bravePath", "edgePath"})
        test.context().defaults().setValue(QString::fromLatin1(key), QString(test.root() + u"/missing"_s));
    for (int type : {BrowserCatalogue::Chrome, BrowserCatalogue::Canary, BrowserCatalogue::Brave, BrowserCatalogue::Edge}) {
        if (QFileInfo::exists(InstalledBrowsers::defaultPath(type)))
            GTEST_SKIP() << "a browser before Opera is installed on this machine";
    }
    WizardDraft draft(test.context());
    draft.applyInitialBrowserFromPickerOrder();
    EXPECT_EQ(draft.selectedBrowser(), int(BrowserCatalogue::Opera));
    EXPECT_EQ(draft.selectedBrowserName(), u"Opera"_s);
    EXPECT_TRUE(draft.isTabbedApp());

    ASSERT_TRUE(draft.setProperty("isTabbedApp", false));
    draft.setSelectedBrowser(BrowserCatalogue::Chromium);
    draft.applyInitialBrowserFromPickerOrder();
    EXPECT_EQ(draft.selectedBrowser(), int(BrowserCatalogue::Chromium));
    draft.setSelectedBrowser(BrowserCatalogue::Opera); // by hand: no tabs forced
    EXPECT_FALSE(draft.isTabbedApp());

    // An app that exists keeps its engine.
    WizardDraft edited(test.context());
    edited.fill(AppDefinition{}, BrowserCatalogue::Chromium);
    edited.applyInitialBrowserFromPickerOrder();
    EXPECT_EQ(edited.selectedBrowser(), int(BrowserCatalogue::Chromium));
}
