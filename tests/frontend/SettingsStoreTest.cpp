#include "frontend/SorvaneSettingsStore.h"

#include "core/NotificationCenter.h"
#include "core/UserDefaults.h"
#include "core/NotificationNames.h"
#include "support/TestContext.h"

#include <QDir>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

using namespace Qt::Literals::StringLiterals;
using Shape = IconShape::Shape;

namespace {

// Every notification posted; settingsPosts() counts "SorvaneSettingsChanged".
struct Posts : QSignalSpy
{
    explicit Posts(Context &context) : QSignalSpy(&context.notifications(), &NotificationCenter::posted) {}
    qsizetype settingsPosts() const
    {
        return std::count_if(cbegin(), cend(), [](const QList<QVariant> &post) {
            return post.at(0).toString() == NotificationNames::SorvaneSettingsChanged;
        });
    }
};

// Browser locations inside the test's folder, so that what is installed on this machine plays no part.
QMap<QString, QString> localDefaults(const QString &root)
{
    QMap<QString, QString> locations;
    for (int type = 0; type < 8; ++type) {
        const QString key = SorvaneSettingsStore::pathKey(type);
        locations.insert(key, root + u"/browsers/"_s + key);
    }
    return locations;
}

// The settings file keeps texts: a stored value is compared as the text or list it reads back as.
bool storedAs(const QVariant &stored, const QVariant &expected)
{
    if (expected.typeId() == QMetaType::QStringList)
        return stored.toStringList() == expected.toStringList();
    return stored.toString() == expected.toString();
}

} // namespace

TEST(SorvaneSettingsStore, AFreshDomainStartsFromTheDefaultsAndWritesTheThreeFlags)
{
    TestContext test;
    UserDefaults &defaults = test.context().defaults();
    SorvaneSettingsStore::registerStartupDefaults(defaults, test.home());
    SorvaneSettingsStore store(test.context());

    EXPECT_EQ(store.defaultSaveLocation(), test.home() + u"/Applications"_s);
    EXPECT_TRUE(store.automaticAppUpdates());
    EXPECT_EQ(store.defaultIconShape(), Shape::RoundedSquare);
    EXPECT_EQ(store.defaultImportCategories(), QStringList({u"bookmarks"_s, u"extensions"_s, u"settings"_s}));
    for (const QString &key :
         {u"defaultRegisterAsBrowser"_s, u"defaultIncognitoMode"_s, u"defaultTabbedApps"_s}) {
        EXPECT_TRUE(defaults.hasPersistentValue(key)) << key.toStdString();
        EXPECT_TRUE(storedAs(defaults.value(key), false)) << key.toStdString();
    }
    EXPECT_FALSE(defaults.hasPersistentValue(u"chromePath"_s)); // loading is not saving
    // Loading good settings is nothing to report.
    EXPECT_EQ(test.log(), QStringList());
}

// The first start of this generation discards an older one's settings once, keeping the file
// beside it; later starts keep what the user sets.
TEST(SorvaneSettingsStore, TheFirstStartDiscardsOlderSettingsOnceAndKeepsTheirFile)
{
    TestContext test;
    UserDefaults &defaults = test.context().defaults();
    SorvaneSettingsStore::registerStartupDefaults(defaults, test.home());
    defaults.setValue(u"applicationsPath"_s, u"/old/place"_s);
    defaults.synchronize();
    const QByteArray before = readAll(defaults.fileName());

    EXPECT_TRUE(SorvaneSettingsStore::discardOlderGenerationOnce(defaults));
    EXPECT_FALSE(defaults.hasPersistentValue(u"applicationsPath"_s));
    EXPECT_TRUE(defaults.boolForKey(u"HAS_LAUNCHED_4"_s));
    EXPECT_EQ(readAll(defaults.fileName() + u".before-first-launch"_s), before);

    defaults.setValue(u"applicationsPath"_s, u"/new/place"_s);
    EXPECT_FALSE(SorvaneSettingsStore::discardOlderGenerationOnce(defaults));
    EXPECT_EQ(defaults.stringForKey(u"applicationsPath"_s), u"/new/place"_s);
}

TEST(SorvaneSettingsStore, LoadingKeepsKnownValuesAndIgnoresUnknownOnes)
{
    // clang-format off
    const struct { const char *name; QString key; QVariant stored; std::function<bool(const SorvaneSettingsStore &)> holds; } cases[] = {
        {"chosen folder", u"applicationsPath"_s, u"/Volumes/Apps"_s, [](auto &s) { return s.defaultSaveLocation() == u"/Volumes/Apps"_s; }},
        {"relative folder", u"applicationsPath"_s, u"Apps"_s, [](auto &s) { return s.defaultSaveLocation().endsWith(u"/home/Applications"_s); }},
        {"known shape", u"defaultIconShape"_s, u"circle"_s, [](auto &s) { return s.defaultIconShape() == Shape::Circle; }},
        {"unknown shape", u"defaultIconShape"_s, u"hexagon"_s, [](auto &s) { return s.defaultIconShape() == Shape::RoundedSquare; }},
        {"known categories in stored order", u"defaultImportCategories"_s, QStringList{u"passwords"_s, u"bogus"_s, u"history"_s},
         [](auto &s) { return s.defaultImportCategories() == QStringList({u"passwords"_s, u"history"_s}); }},
        {"no known category", u"defaultImportCategories"_s, QStringList{u"bogus"_s},
         [](auto &s) { return s.defaultImportCategories().size() == 3; }},
        {"flag stored as NO", u"defaultTabbedApps"_s, u"NO"_s, [](auto &s) { return !s.defaultTabbedApps(); }},
        {"a chosen engine path", u"canaryPath"_s, u"/usr/local/bin/canary"_s, [](auto &s) { return s.canaryPath() == u"/usr/local/bin/canary"_s; }},
        {"an engine path with a line break", u"canaryPath"_s, u"/usr/bin/x\n--no-sandbox"_s, [](auto &s) { return s.canaryPath() == SorvaneSettingsStore::platformBrowserDefaults().value(u"canaryPath"_s); }},
        {"a relative engine path", u"canaryPath"_s, u"bin/canary"_s, [](auto &s) { return s.canaryPath() == SorvaneSettingsStore::platformBrowserDefaults().value(u"canaryPath"_s); }},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        test.context().defaults().setValue(c.key, c.stored);
        SorvaneSettingsStore store(test.context());
        EXPECT_TRUE(c.holds(store));
    }
}

TEST(SorvaneSettingsStore, InstalledBrowsersFollowTheConfiguredFileOrTheDefaultLocation)
{
    enum Thing
    {
        Nothing,
        Folder,
        Executable,
        PlainFile
    };
    // clang-format off
    const struct { const char *name; Thing configured; Thing atDefault; bool installed; } cases[] = {
        {"configured executable", Executable, Nothing, true},
        {"configured folder, default executable there", Folder, Executable, true},
        {"configured folder, nothing at the default", Folder, Nothing, false},
        {"configured file that does not run", PlainFile, Nothing, false},
        {"nothing configured, default executable there", Nothing, Executable, true},
        {"a folder at the default location", Nothing, Folder, false},
        {"a file at the default that does not run", Nothing, PlainFile, false},
    };
    // clang-format on
    const auto make = [](Thing thing, const QString &path) {
        if (thing == Folder)
            QDir().mkpath(path);
        else if (thing != Nothing)
            writeFile(path, "#!/bin/sh\n",
                      thing == Executable ? QFileDevice::ExeOwner : QFileDevice::Permissions());
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        const QMap<QString, QString> locations = localDefaults(test.root());
        const QString configured = test.root() + u"/chosen/brave"_s;
        make(c.configured, configured);
        make(c.atDefault, locations.value(u"bravePath"_s));
        if (c.configured != Nothing)
            test.context().defaults().setValue(u"bravePath"_s, configured);
        SorvaneSettingsStore store(test.context(), locations);
        EXPECT_EQ(store.isInstalled(2), c.installed);
        EXPECT_EQ(store.installedBrowsers(), c.installed ? QList<int>{2} : QList<int>{});
    }
}

// (Refused engine switches: SettingsWindow.EngineSwitchesAreCheckedWhenTheFieldIsLeft.)
TEST(SorvaneSettingsStore, BadInputIsRefusedAndChangesNothing)
{
    TestContext test;
    SorvaneSettingsStore store(test.context(), localDefaults(test.root()));
    Posts saved(test.context());
    const QString before = store.chromePath();

    EXPECT_FALSE(store.setBrowserPath(8, u"/opt/x"_s));
    EXPECT_FALSE(store.setBrowserPath(-1, u"/opt/x"_s));
    EXPECT_FALSE(store.resetBrowserPath(8));
    EXPECT_FALSE(store.setBrowserPath(0, u"chrome"_s));
    EXPECT_FALSE(store.setBrowserPath(0, u"/opt/chrome\n--remote-debugging-port=1"_s));
    store.setDefaultSaveLocation(u"../../etc"_s);
    store.setDefaultSaveLocation(QString());
    store.setDefaultIconShape(static_cast<Shape>(7));
    store.setDefaultImportCategories({u"*"_s, u"cookies"_s});

    EXPECT_EQ(store.chromePath(), before);
    EXPECT_TRUE(store.defaultSaveLocation().endsWith(u"/home/Applications"_s));
    EXPECT_EQ(store.defaultIconShape(), Shape::RoundedSquare);
    EXPECT_EQ(store.defaultImportCategories().size(), 3);
    EXPECT_EQ(saved.settingsPosts(), 0);
}

TEST(SorvaneSettingsStore, EachChangeSavesAtOnceAndAnnouncesIt)
{
    // The switches and import categories: the settings window's SettingsToggles and ImportCategories.
    // clang-format off
    const struct { const char *name; QString property; QString key; QVariant value; QVariant stored; } cases[] = {
        {"folder", u"defaultSaveLocation"_s, u"applicationsPath"_s, u"/srv/apps"_s, u"/srv/apps"_s},
        {"shape", u"defaultIconShape"_s, u"defaultIconShape"_s, QVariant::fromValue(Shape::Square), u"square"_s},
        {"store page", u"storePageOnFirstStart"_s, u"openExtensionStoreOnFirstStart"_s, false, false},
        {"engine switches", u"defaultEngineSwitches"_s, u"defaultEngineSwitches"_s, u"--no-sandbox  --lang=de"_s,
         QStringList{u"--no-sandbox"_s, u"--lang=de"_s}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        SorvaneSettingsStore store(test.context());
        const QMetaProperty property =
            store.metaObject()->property(store.metaObject()->indexOfProperty(qPrintable(c.property)));
        QSignalSpy changed(&store, property.notifySignal());
        Posts saved(test.context());

        ASSERT_TRUE(property.write(&store, c.value));
        EXPECT_EQ(changed.count(), 1);
        EXPECT_EQ(saved.settingsPosts(), 1);
        EXPECT_TRUE(storedAs(test.context().defaults().value(c.key), c.stored));

        property.write(&store, c.value); // the same value again is no change
        EXPECT_EQ(changed.count(), 1);
        EXPECT_EQ(saved.settingsPosts(), 1);
    }
}

TEST(SorvaneSettingsStore, ValuesChangedWhileLoadingAreNotSaved)
{
    TestContext test;
    SorvaneSettingsStore store(test.context());
    QSignalSpy tabbed(&store, &SorvaneSettingsStore::defaultTabbedAppsChanged);
    Posts saved(test.context());
    test.context().defaults().setValue(u"defaultTabbedApps"_s, true);
    test.context().defaults().setValue(u"defaultIconShape"_s, u"circle"_s);

    store.loadSettings();

    EXPECT_TRUE(store.defaultTabbedApps());
    EXPECT_EQ(store.defaultIconShape(), Shape::Circle);
    EXPECT_EQ(tabbed.count(), 1);
    EXPECT_EQ(saved.settingsPosts(), 0);
    EXPECT_FALSE(store.isLoadingSettings());
}
