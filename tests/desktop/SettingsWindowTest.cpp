// The settings window: each switch is kept in the user defaults at once, and the browsers tab
// tells which browsers are installed and takes a program of the user's choice.

#include "DesktopHarness.h"

#include "core/Context.h"
#include "core/UserDefaults.h"
#include "desktop/DesktopShell.h"
#include "frontend/SorvaneSettingsStore.h"

#include <QFileInfo>

#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// Opens the settings window from the home screen's button.
void openSettings(DesktopHarness &app)
{
    ASSERT_TRUE(app.load());
    QString why;
    ASSERT_TRUE(app.click(u"settingsButton"_s, &why)) << why.toStdString();
    auto *window = app.find<QQuickWindow>(u"settingsWindow"_s);
    ASSERT_NE(window, nullptr);
    ASSERT_TRUE(DesktopHarness::waitFor([window] { return window->isExposed(); }));
    app.settle();
}

QVariant stored(DesktopHarness &app, const QString &key)
{
    return app.test().context().defaults().value(key);
}

} // namespace

struct ToggleCase
{
    const char *label;
    QString control;
    QString key;
};

class SettingsToggles : public ::testing::TestWithParam<ToggleCase>
{
};

TEST_P(SettingsToggles, AreKeptInTheUserDefaultsAtOnce)
{
    const ToggleCase &c = GetParam();
    DesktopHarness app;
    openSettings(app);
    const bool before = app.value(c.control, "checked").toBool();
    QString why;
    ASSERT_TRUE(app.click(c.control, &why)) << why.toStdString();
    EXPECT_EQ(app.value(c.control, "checked").toBool(), !before);
    ASSERT_TRUE(stored(app, c.key).isValid());
    EXPECT_EQ(stored(app, c.key).toBool(), !before);
    ASSERT_TRUE(app.click(c.control, &why)) << why.toStdString();
    EXPECT_EQ(stored(app, c.key).toBool(), before);
    EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SettingsToggles,
    ::testing::Values(ToggleCase{"RegisterAsBrowser", u"registerAsBrowserSwitch"_s, u"defaultRegisterAsBrowser"_s},
                      ToggleCase{"Incognito", u"incognitoSwitch"_s, u"defaultIncognitoMode"_s},
                      ToggleCase{"Tabbed", u"tabbedSwitch"_s, u"defaultTabbedApps"_s},
                      ToggleCase{"AutomaticUpdates", u"automaticUpdatesSwitch"_s, u"automaticAppUpdates"_s},
                      ToggleCase{"Import", u"importSwitch"_s, u"defaultImportEnabled"_s},
                      ToggleCase{"StorePage", u"storePageSwitch"_s, u"openExtensionStoreOnFirstStart"_s}),
    [](const auto &row) { return std::string(row.param.label); });

// Switches for every app are kept once the field is left; a refused one says why and keeps the
// ones before.
TEST(SettingsWindow, EngineSwitchesAreCheckedWhenTheFieldIsLeft)
{
    DesktopHarness app;
    openSettings(app);
    QString why;
    ASSERT_TRUE(app.type(u"engineSwitchesField"_s, u"--no-sandbox --lang=de"_s, &why)) << why.toStdString();
    QTest::keyClick(app.find<QQuickWindow>(u"settingsWindow"_s), Qt::Key_Return);
    app.settle();
    EXPECT_EQ(stored(app, u"defaultEngineSwitches"_s).toStringList(), (QStringList{u"--no-sandbox"_s, u"--lang=de"_s}));
    EXPECT_FALSE(app.value(u"engineSwitchesProblem"_s, "visible").toBool());

    ASSERT_TRUE(app.type(u"engineSwitchesField"_s, u"--no-sandbox $(id)"_s, &why)) << why.toStdString();
    QTest::keyClick(app.find<QQuickWindow>(u"settingsWindow"_s), Qt::Key_Return);
    app.settle();
    EXPECT_EQ(stored(app, u"defaultEngineSwitches"_s).toStringList(), (QStringList{u"--no-sandbox"_s, u"--lang=de"_s}));
    EXPECT_TRUE(app.value(u"engineSwitchesProblem"_s, "visible").toBool());
    EXPECT_TRUE(app.value(u"engineSwitchesProblem"_s, "text").toString().startsWith(
        u"Engine switches for every app[1]: '$(id)' is not one engine switch"_s));
    EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString();
}

TEST(SettingsWindow, ImportCategoriesFollowTheImportSwitch)
{
    DesktopHarness app;
    openSettings(app);
    const QString history = u"importCategory:history"_s;
    EXPECT_FALSE(app.value(history, "enabled").toBool());
    QString why;
    ASSERT_TRUE(app.click(u"importSwitch"_s, &why)) << why.toStdString();
    ASSERT_TRUE(app.click(history, &why)) << why.toStdString();
    EXPECT_EQ(stored(app, u"defaultImportCategories"_s).toStringList(),
              (QStringList{u"bookmarks"_s, u"extensions"_s, u"settings"_s, u"history"_s}));
    ASSERT_TRUE(app.click(u"importCategory:bookmarks"_s, &why)) << why.toStdString();
    EXPECT_EQ(stored(app, u"defaultImportCategories"_s).toStringList(),
              (QStringList{u"extensions"_s, u"settings"_s, u"history"_s}));
}

TEST(SettingsWindow, BrowsersTabShowsWhichAreInstalledAndTakesAProgram)
{
    DesktopHarness app;
    openSettings(app);
    QString why;
    ASSERT_TRUE(app.click(u"browsersTab"_s, &why)) << why.toStdString();
    const auto state = [&app](int type) {
        return app.value(u"browserState:%1"_s.arg(type), "text").toString();
    };
    // The harness's Chromium is the fake engine.
    EXPECT_EQ(app.value(u"browserRow:5"_s, "title").toString(), u"Chromium"_s);
    EXPECT_EQ(state(5), u"Installed"_s);
    EXPECT_EQ(state(6), app.shell().settings().isInstalled(6) ? u"Installed"_s : u"Not found"_s);

    const QString engine = QStringLiteral(SORVANE_FAKE_ENGINE);
    ASSERT_TRUE(app.type(u"browserPathField:6"_s, engine, &why)) << why.toStdString();
    app.key(Qt::Key_Return, Qt::NoModifier, u"browserPathField:6"_s);
    EXPECT_EQ(stored(app, u"vivaldiPath"_s).toString(), engine);
    EXPECT_EQ(state(6), u"Installed"_s);

    // A relative path is refused: the field shows the kept one again.
    ASSERT_TRUE(app.type(u"browserPathField:6"_s, u"vivaldi"_s, &why)) << why.toStdString();
    app.key(Qt::Key_Return, Qt::NoModifier, u"browserPathField:6"_s);
    EXPECT_EQ(app.value(u"browserPathField:6"_s, "text").toString(), engine);

    // Back to where Vivaldi is installed by default, which this machine may or may not have.
    ASSERT_TRUE(app.click(u"resetBrowserButton:6"_s, &why)) << why.toStdString();
    const QString vivaldi = SorvaneSettingsStore::platformBrowserDefaults().value(u"vivaldiPath"_s);
    EXPECT_EQ(stored(app, u"vivaldiPath"_s).toString(), vivaldi);
    EXPECT_EQ(state(6), QFileInfo(vivaldi).isExecutable() ? u"Installed"_s : u"Not found"_s);
}
