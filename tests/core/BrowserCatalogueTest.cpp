#include "core/BrowserCatalogue.h"
#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <gtest/gtest.h>

struct CatalogueRow
{
    int number;
    const char *key;
    const char *name;
    const char *bundleId; // what the bundle-id lookup answers
    const char *framework;
    const char *shortName;
    const char *settingsKey;
    const char *logLabel;
    const char *macUserData;
    const char *linuxEngine;
};

void PrintTo(const CatalogueRow &row, std::ostream *os)
{
    *os << row.key;
}

class BrowserCatalogueRows : public ::testing::TestWithParam<CatalogueRow>
{
};

TEST_P(BrowserCatalogueRows, HoldEveryColumn)
{
    const CatalogueRow &row = GetParam();
    const BrowserInfo &byNumber = BrowserCatalogue::byNumber(row.number);
    const BrowserInfo &byKey = BrowserCatalogue::byTypeKey(QString::fromUtf8(row.key));
    EXPECT_EQ(&byNumber, &byKey);
    EXPECT_EQ(byNumber.typeKey, QString::fromUtf8(row.key));
    EXPECT_EQ(byNumber.browserName, QString::fromUtf8(row.name));
    EXPECT_EQ(byNumber.escapedBrowserName, QString::fromUtf8(row.name).replace(u' ', QStringLiteral("\\ ")));
    EXPECT_EQ(BrowserCatalogue::bundleIdForNumber(row.number), QString::fromUtf8(row.bundleId));
    EXPECT_EQ(byNumber.frameworkFolder, QString::fromUtf8(row.framework));
    EXPECT_EQ(byNumber.browserShortName, QString::fromUtf8(row.shortName));
    EXPECT_EQ(byNumber.settingsKey, QString::fromUtf8(row.settingsKey));
    EXPECT_EQ(BrowserCatalogue::logLabelForNumber(row.number), QString::fromUtf8(row.logLabel));
    EXPECT_EQ(byNumber.macEnginePath,
              QStringLiteral("/Applications/%1.app/Contents/MacOS/%1").arg(QString::fromUtf8(row.name)));
    EXPECT_EQ(byNumber.macUserDataFolder, QString::fromUtf8(row.macUserData));
    EXPECT_EQ(byNumber.linuxEnginePath, QString::fromUtf8(row.linuxEngine));
    EXPECT_EQ(BrowserCatalogue::numberForTypeKey(QString::fromUtf8(row.key)), row.number);
    EXPECT_EQ(BrowserCatalogue::typeKeyForNumber(row.number), QString::fromUtf8(row.key));
}

INSTANTIATE_TEST_SUITE_P(
    AllEight, BrowserCatalogueRows,
    ::testing::Values(
        CatalogueRow{0, "chrome", "Google Chrome", "com.google.Chrome", "Google Chrome Framework.framework", "Chrome",
                     "chromePath", "Chrome", "Google/Chrome", "/opt/google/chrome/chrome"},
        CatalogueRow{1, "canary", "Google Chrome Canary", "com.google.Chrome.canary",
                     "Google Chrome Framework.framework", "Chrome", "canaryPath", "Chrome Canary",
                     "Google/Chrome Canary", "/opt/google/chrome-canary/chrome"},
        CatalogueRow{2, "brave", "Brave Browser", "com.brave.Browser", "Brave Browser Framework.framework", "Brave",
                     "bravePath", "Brave", "BraveSoftware/Brave-Browser", "/opt/brave.com/brave/brave"},
        CatalogueRow{3, "edge", "Microsoft Edge", "com.microsoft.edgemac", "Microsoft Edge Framework.framework",
                     "Edge", "edgePath", "Edge", "Microsoft Edge", "/opt/microsoft/msedge/msedge"},
        CatalogueRow{4, "opera", "Opera", "com.operasoftware.Opera", "Opera Framework.framework", "Opera",
                     "operaPath", "Opera", "com.operasoftware.Opera", "/usr/lib/x86_64-linux-gnu/opera/opera"},
        CatalogueRow{5, "chromium", "Chromium", "org.chromium.Chromium", "Chromium Framework.framework", "Chromium",
                     "chromiumPath", "Chromium", "Google/Chrome", "/usr/lib/chromium/chromium"},
        // Vivaldi and Helium answer Google Chrome's identifier.
        CatalogueRow{6, "vivaldi", "Vivaldi", "com.google.Chrome", "Vivaldi Framework.framework", "Vivaldi",
                     "vivaldiPath", "Vivaldi", "Vivaldi", "/opt/vivaldi/vivaldi"},
        CatalogueRow{7, "helium", "Helium", "com.google.Chrome", "Helium Framework.framework", "Helium", "heliumPath",
                     "Helium", "net.imput.helium", "/opt/helium/helium"}));

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
