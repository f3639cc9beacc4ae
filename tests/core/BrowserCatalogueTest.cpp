#include "core/BrowserCatalogue.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <gtest/gtest.h>

TEST(BrowserCatalogue, NumbersAndKeysFindTheSameRow)
{
    for (int number = 0; number < 8; ++number) {
        const BrowserInfo &browser = BrowserCatalogue::all().at(number);
        EXPECT_EQ(browser.number, number);
        EXPECT_EQ(&BrowserCatalogue::byTypeKey(browser.typeKey), &BrowserCatalogue::byNumber(number));
        EXPECT_EQ(browser.escapedBrowserName, QString(browser.browserName).replace(u' ', QStringLiteral("\\ ")));
    }
}

TEST(BrowserCatalogue, BundleIdLookupKnowsOnlyOneToFive)
{
    const QStringList expected{QStringLiteral("com.google.Chrome"),     QStringLiteral("com.google.Chrome.canary"),
                               QStringLiteral("com.brave.Browser"),     QStringLiteral("com.microsoft.edgemac"),
                               QStringLiteral("com.operasoftware.Opera"), QStringLiteral("org.chromium.Chromium"),
                               QStringLiteral("com.google.Chrome"),     QStringLiteral("com.google.Chrome")};
    for (int number = 0; number < 8; ++number)
        EXPECT_EQ(BrowserCatalogue::bundleIdForNumber(number), expected[number]) << number;
}

TEST(BrowserCatalogue, UnknownNumbersAndKeysMeanGoogleChrome)
{
    for (int number : {-1, 8, 42}) {
        EXPECT_EQ(BrowserCatalogue::typeKeyForNumber(number), QStringLiteral("chrome"));
        EXPECT_EQ(BrowserCatalogue::bundleIdForNumber(number), QStringLiteral("com.google.Chrome"));
        EXPECT_EQ(BrowserCatalogue::logLabelForNumber(number), QStringLiteral("Chrome"));
    }
    for (const char *key : {"", "firefox", "Chrome", "BRAVE"})
        EXPECT_EQ(BrowserCatalogue::numberForTypeKey(QString::fromUtf8(key)), 0) << key;
}

TEST(BrowserCatalogue, ExtraSwitchesAndEngineName)
{
    EXPECT_EQ(BrowserCatalogue::extraEngineSwitches(QStringLiteral("brave")),
              QStringLiteral("--no-default-browser-check --disable-brave-update"));
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        if (browser.typeKey != QLatin1String("brave")) {
            EXPECT_EQ(BrowserCatalogue::extraEngineSwitches(browser.typeKey), QStringLiteral("--no-default-browser-check"));
        }
    }
    EXPECT_EQ(BrowserCatalogue::engineExecutableName(QStringLiteral("My App")), QStringLiteral("My App Engine"));
}

TEST(BrowserCatalogue, TheTwoPathLookupsDifferOnlyForChromium)
{
    TestContext test;
    UserDefaults &defaults = test.context().defaults();
    // Unset: the platform's default engine path, never another installed browser.
    EXPECT_EQ(BrowserCatalogue::enginePathForScript(QStringLiteral("chromium"), defaults),
              QStringLiteral("/usr/lib/chromium/chromium"));
    EXPECT_EQ(BrowserCatalogue::enginePathForGenerator(BrowserCatalogue::Chromium, defaults),
              QStringLiteral("/opt/google/chrome/chrome"));

    defaults.setValue(QStringLiteral("chromiumPath"), QStringLiteral("/my/chromium"));
    defaults.setValue(QStringLiteral("chromePath"), QStringLiteral("/my/chrome"));
    defaults.setValue(QStringLiteral("bravePath"), QStringLiteral("/my/brave"));
    EXPECT_EQ(BrowserCatalogue::enginePathForScript(QStringLiteral("chromium"), defaults), QStringLiteral("/my/chromium"));
    EXPECT_EQ(BrowserCatalogue::enginePathForGenerator(BrowserCatalogue::Chromium, defaults), QStringLiteral("/my/chrome"));
    EXPECT_EQ(BrowserCatalogue::enginePathForScript(QStringLiteral("brave"), defaults), QStringLiteral("/my/brave"));
    EXPECT_EQ(BrowserCatalogue::enginePathForGenerator(BrowserCatalogue::Brave, defaults), QStringLiteral("/my/brave"));
    EXPECT_EQ(BrowserCatalogue::enginePathForGenerator(99, defaults), QStringLiteral("/my/chrome"));
    EXPECT_EQ(BrowserCatalogue::userDataFolder(BrowserCatalogue::byNumber(2), QStringLiteral("/h")),
              QStringLiteral("/h/.config/BraveSoftware/Brave-Browser"));
}
