// The home screen over apps made by the real creation (on the recording fake engine), driven as
// its view would drive it. Search, filter, sort and delete are driven through the window
// (tests/desktop/HomeScreenTest.cpp).

#include "support/FakeEngineApp.h"
#include "support/TestContext.h"

#include "core/NotificationCenter.h"
#include "core/PropertyList.h"
#include "core/UserDefaults.h"
#include "frontend/AppCreationWizardStore.h"
#include "frontend/BundleLauncher.h"
#include "core/NotificationNames.h"
#include "frontend/HomescreenAppsModel.h"
#include "frontend/HomescreenStore.h"
#include "frontend/SNDeepLinkRouter.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>

#include <gtest/gtest.h>

#include <tuple>

using namespace Qt::Literals::StringLiterals;

namespace {

const QVariantMap NotesRule{{u"id"_s, u"r1"_s},
                            {u"pattern"_s, u"docs.example.com"_s},
                            {u"action"_s, u"route"_s},
                            {u"destination"_s, QVariantMap{{u"type"_s, u"default"_s}}}};

// A test home with Notes (standard, registered as a browser, dark, with a routing rule), Mail 2
// (tabbed: mail and calendar, incognito) and Mail (standard), made in that order.
struct Home
{
    Home()
    {
        test.context().defaults().setValue(u"chromiumPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
        AppDefinition notes;
        notes.appName = u"Notes"_s;
        notes.appURL = u"https://notes.example.com/"_s;
        notes.registerAsBrowser = true;
        notes.forceDarkMode = true;
        notes.routingRules = {NotesRule};
        ids.insert(notes.appName, makeFakeEngineApp(test.context(), apps(), notes));
        make(u"Mail 2"_s, {u"https://mail.example.org/"_s, u"https://calendar.example.net/"_s}, true, false);
        make(u"Mail"_s, {u"https://mail.example.org/"_s}, false, false);
    }
    void make(const QString &name, const QStringList &urls, bool incognito, bool registerAsBrowser)
    {
        ids.insert(name, makeFakeEngineApp(test.context(), apps(), name, urls, incognito, registerAsBrowser));
    }
    QString apps() const { return test.root() + u"/Apps"_s; }
    QString bundle(const QString &name) const { return apps() + u'/' + name + u".app"_s; }

    TestContext test;
    QMap<QString, QString> ids;
};

QStringList names(const HomescreenAppsModel *model)
{
    QStringList list;
    for (const HomescreenAppEntry &entry : model->entries())
        list.append(entry.name);
    return list;
}

// One home for the cases that only read it.
template<typename Case>
class SharedHome : public ::testing::TestWithParam<Case>
{
protected:
    static void SetUpTestSuite() { home = new Home; }
    static void TearDownTestSuite() { delete home; }
    void SetUp() override { home->test.clearLog(); }
    static inline Home *home = nullptr;
};

const auto label = [](const auto &test) { return std::string(test.param.label); };

} // namespace

// The app copied, and the name its copy gets.
using HomescreenDuplicate = SharedHome<std::pair<QString, QString>>;

TEST_P(HomescreenDuplicate, OpensTheWizardOnACopyWithTheFirstFreeName)
{
    const auto &[sourceName, expectedName] = GetParam();
    HomescreenStore store(home->test.context());
    QSignalSpy editing(&store, &HomescreenStore::editingAppChanged);
    QSignalSpy showing(&store, &HomescreenStore::showingAppEditChanged);
    const QString sourceId = home->ids.value(sourceName);
    home->test.clearLog();

    ASSERT_TRUE(store.duplicateApp(sourceId));

    HomescreenAppEntry copy = store.editingApp();
    EXPECT_EQ(copy.name, expectedName);
    EXPECT_TRUE(copy.appPath.isEmpty());
    EXPECT_EQ(copy.id, QUuid::fromString(copy.id).toString(QUuid::WithoutBraces).toUpper());
    EXPECT_NE(copy.id, sourceId);
    EXPECT_EQ(copy.copiedFromId, sourceId);
    // Everything else is the source's.
    HomescreenAppEntry source = store.apps()->entryAt(store.apps()->rowOf(sourceId));
    copy.id = source.id;
    copy.name = source.name;
    copy.appPath = source.appPath;
    copy.date = source.date;
    copy.copiedFromId.clear();
    EXPECT_EQ(copy, source);
    EXPECT_TRUE(store.showingAppEdit());
    EXPECT_EQ(editing.size(), 1);
    EXPECT_EQ(showing.size(), 1);
    // The wizard opens on the copy, with the switches stored with the source.
    ASSERT_NE(store.wizard(), nullptr);
    const WizardDraft &draft = *store.wizard()->draft();
    EXPECT_EQ(draft.appName(), expectedName);
    EXPECT_EQ(draft.isTabbedApp(), sourceName == u"Mail 2"_s);
    EXPECT_EQ(draft.enableIncognito(), sourceName == u"Mail 2"_s);
    EXPECT_EQ(draft.registerAsBrowser(), sourceName == u"Notes"_s);
    // The copy routes links and looks as the source does.
    EXPECT_EQ(draft.property("forceDarkMode").toBool(), sourceName == u"Notes"_s);
    EXPECT_EQ(draft.routingRules()->records().value(0).toMap().value(u"pattern"_s).toString(),
              sourceName == u"Notes"_s ? u"docs.example.com"_s : QString());
    EXPECT_EQ(QDir(home->apps()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 3); // nothing on disk
}

INSTANTIATE_TEST_SUITE_P(Cases, HomescreenDuplicate,
                         ::testing::Values(std::pair{u"Mail"_s, u"Mail 3"_s}, std::pair{u"Notes"_s, u"Notes 2"_s},
                                           std::pair{u"Mail 2"_s, u"Mail 2 2"_s}),
                         [](const auto &test) { return QString(test.param.second).remove(u' ').toStdString(); });

class HomescreenReload : public ::testing::TestWithParam<QString>
{
};

TEST_P(HomescreenReload, ReloadsWhenTheListMayHaveChanged)
{
    Home home;
    HomescreenStore store(home.test.context());
    QSignalSpy apps(&store, &HomescreenStore::appsChanged);
    QSignalSpy loading(&store, &HomescreenStore::isLoadingChanged);
    ASSERT_TRUE(QDir(home.bundle(u"Notes"_s)).removeRecursively());

    home.test.context().notifications().post(GetParam());

    EXPECT_TRUE(apps.wait(5000));
    EXPECT_EQ(names(store.filteredApps()), (QStringList{u"Mail"_s, u"Mail 2"_s}));
    EXPECT_FALSE(store.isLoading());
    EXPECT_EQ(loading.size(), 2); // on, then off
}

INSTANTIATE_TEST_SUITE_P(Notifications, HomescreenReload,
                         ::testing::Values(NotificationNames::AppUpdateNotification,
                                           NotificationNames::SorvaneAppsUpdated,
                                           NotificationNames::AppCreationCompleted),
                         [](const auto &test) { return test.param.toStdString(); });

// Whether the app is listed, and whether the link came while no home screen was open.
using HomescreenDeepLink = SharedHome<std::tuple<bool, bool>>;

TEST_P(HomescreenDeepLink, OpensTheEditorOfTheLinkedApp)
{
    const auto [known, beforeTheStore] = GetParam();
    const QString id = known ? home->ids.value(u"Notes"_s) : u"0BADF00D-0000-0000-0000-000000000000"_s;
    if (beforeTheStore)
        SNDeepLinkRouter::requestAppEditor(id, home->test.context());
    HomescreenStore store(home->test.context());
    QSignalSpy editing(&store, &HomescreenStore::editingAppChanged);
    if (!beforeTheStore)
        SNDeepLinkRouter::requestAppEditor(id, home->test.context());

    EXPECT_TRUE(SNDeepLinkRouter::pendingEditAppId().isEmpty()); // consumed
    EXPECT_EQ(store.showingAppEdit(), known);
    EXPECT_EQ(store.editingApp().name, known ? u"Notes"_s : QString());
    EXPECT_EQ(editing.size(), known && !beforeTheStore ? 1 : 0);
    EXPECT_EQ(home->test.log().contains(u"Deep link: no app with tracker id "_s + id), !known);
}

INSTANTIATE_TEST_SUITE_P(Cases, HomescreenDeepLink, ::testing::Combine(::testing::Bool(), ::testing::Bool()),
                         [](const auto &test) {
                             return std::string(std::get<0>(test.param) ? "known" : "unknown") +
                                    (std::get<1>(test.param) ? "Pending" : "");
                         });

struct LaunchCase
{
    const char *label;
    QString named;   // CFBundleExecutable
    QString present; // the program in Contents/MacOS; none: only a link to a program outside
};

class BundleLaunch : public ::testing::TestWithParam<LaunchCase>
{
};

TEST_P(BundleLaunch, StartsTheLaunchProgramOrLogsWhyNot)
{
    const LaunchCase &row = GetParam();
    TestContext test;
    const QString bundle = test.root() + u"/Tool.app"_s;
    const QString marker = test.root() + u"/started"_s;
    ASSERT_TRUE(QDir().mkpath(bundle + u"/Contents"_s));
    ASSERT_TRUE(PropertyList::writeFile(bundle + u"/Contents/Info.plist"_s, QVariantMap{{u"CFBundleExecutable"_s, row.named}}));
    const QString program = row.present.isEmpty() ? QString(test.root() + u"/outside"_s)
                                                   : QString(bundle + u"/Contents/MacOS/"_s + row.present);
    // Its arguments and folder show that it ran as itself, with no shell around it.
    writeFile(program, "#!/bin/sh\necho \"$# $(pwd)\" > '" + marker.toUtf8() + "'\n", QFileDevice::ExeOwner);
    if (row.present.isEmpty())
        QFile::link(program, bundle + u"/Contents/MacOS/Link"_s);

    EXPECT_EQ(BundleLauncher::launch(bundle), !row.present.isEmpty());

    if (!row.present.isEmpty()) {
        ASSERT_TRUE(QTest::qWaitFor([&] { return readAll(marker).endsWith('\n'); }));
        const QByteArray folder = QFile::encodeName(QFileInfo(bundle).canonicalFilePath()) + "/Contents/MacOS";
        EXPECT_EQ(readAll(marker), "0 " + folder + '\n');
        EXPECT_TRUE(test.log().isEmpty());
    } else {
        ASSERT_EQ(test.log().size(), 1);
        EXPECT_TRUE(test.log().first().startsWith(u"launchApp: LaunchServices refused "_s));
        EXPECT_TRUE(test.log().first().contains(u" and direct exec failed: "_s));
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, BundleLaunch,
                         ::testing::Values(LaunchCase{"named", u"Tool"_s, u"Tool"_s},
                                           LaunchCase{"fallbackToScript", u"Missing"_s, u"Tool"_s},
                                           LaunchCase{"linkOutside", u"Link"_s, {}},
                                           LaunchCase{"escapingName", u"../../../outside"_s, {}}),
                         label);
