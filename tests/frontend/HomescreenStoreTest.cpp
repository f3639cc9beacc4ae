// The home screen over apps made by the real creation (on the recording fake engine), driven as
// its view would drive it.

#include "support/FakeEngineApp.h"
#include "support/Frozen.h"
#include "support/TestContext.h"

#include "core/NotificationCenter.h"
#include "core/Prompter.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "frontend/AppCreationWizardStore.h"
#include "frontend/BundleLauncher.h"
#include "core/NotificationNames.h"
#include "frontend/HomescreenAppsModel.h"
#include "frontend/HomescreenStore.h"
#include "frontend/JobProgress.h"
#include "frontend/SNDeepLinkRouter.h"
#include "maintenance/AppList.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>
#include <QUuid>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <tuple>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

using Order = HomescreenStore::AppSortOrder;
using Direction = HomescreenStore::SortDirection;

// Answers every question with one button; keeps each question as {message, informative text,
// buttons...} and each error.
struct ScriptedPrompter final : Prompter
{
    ScriptedPrompter(int button, QList<QStringList> &questions, QStringList &shown)
        : answer(button), asked(questions), errors(shown)
    {
    }
    int ask(const QString &message, const QString &text, const QStringList &buttons) override
    {
        asked.append(QStringList{message, text} + buttons);
        return answer;
    }
    void showError(const QString &message) override { errors.append(message); }
    int answer;
    QList<QStringList> &asked;
    QStringList &errors;
};

// A test home with Notes (standard, registered as a browser), Mail 2 (tabbed: mail and
// calendar, incognito) and Mail (standard), made in that order.
struct Home
{
    Home()
    {
        test.context().defaults().setValue(u"chromiumPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
        answer(0);
        make(u"Notes"_s, {u"https://notes.example.com/"_s}, false, true);
        make(u"Mail 2"_s, {u"https://mail.example.org/"_s, u"https://calendar.example.net/"_s}, true, false);
        make(u"Mail"_s, {u"https://mail.example.org/"_s}, false, false);
    }
    void make(const QString &name, const QStringList &urls, bool incognito, bool registerAsBrowser)
    {
        ids.insert(name, makeFakeEngineApp(test.context(), apps(), name, urls, incognito, registerAsBrowser));
    }
    void answer(int button) { test.context().setPrompter(std::make_unique<ScriptedPrompter>(button, asked, errors)); }
    QString apps() const { return test.root() + u"/Apps"_s; }
    QString bundle(const QString &name) const { return apps() + u'/' + name + u".app"_s; }

    TestContext test;
    QMap<QString, QString> ids;
    QList<QStringList> asked;
    QStringList errors;
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

// Sorting (search and filter: the desktop HomeScreenNarrowing cases).
struct SortCase
{
    const char *label;
    Order order;
    Direction direction;
    QStringList expected;
};

using HomescreenSort = SharedHome<SortCase>;

TEST_P(HomescreenSort, OrdersTheList)
{
    const SortCase &row = GetParam();
    HomescreenStore store(home->test.context());
    QSignalSpy filtered(&store, &HomescreenStore::filteredAppsChanged);
    const QStringList before = names(store.filteredApps());
    store.setSortOrder(row.order);
    store.setSortDirection(row.direction);
    EXPECT_EQ(names(store.filteredApps()), row.expected);
    EXPECT_TRUE(before == row.expected || !filtered.isEmpty());
}

const QStringList byName{u"Mail"_s, u"Mail 2"_s, u"Notes"_s};
const QStringList byDate{u"Notes"_s, u"Mail 2"_s, u"Mail"_s};

INSTANTIATE_TEST_SUITE_P(Cases, HomescreenSort,
                         ::testing::Values(SortCase{"name", Order::Name, Direction::Ascending, byName},
                                           SortCase{"nameDescending", Order::Name, Direction::Descending, byDate},
                                           SortCase{"date", Order::Date, Direction::Ascending, byDate},
                                           SortCase{"dateDescending", Order::Date, Direction::Descending, byName}),
                         label);

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
    // Everything else is the source's.
    HomescreenAppEntry source = store.apps()->entryAt(store.apps()->rowOf(sourceId));
    copy.id = source.id;
    copy.name = source.name;
    copy.appPath = source.appPath;
    copy.date = source.date;
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
    EXPECT_EQ(QDir(home->apps()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 3); // nothing on disk
}

INSTANTIATE_TEST_SUITE_P(Cases, HomescreenDuplicate,
                         ::testing::Values(std::pair{u"Mail"_s, u"Mail 3"_s}, std::pair{u"Notes"_s, u"Notes 2"_s},
                                           std::pair{u"Mail 2"_s, u"Mail 2 2"_s}),
                         [](const auto &test) { return QString(test.param.second).remove(u' ').toStdString(); });

struct DeleteCase
{
    const char *label;
    int answer;  // the button chosen: 0 Delete, 1 Cancel, -1 dismissed
    bool frozen; // the bundle cannot be removed
};

class HomescreenDelete : public ::testing::TestWithParam<DeleteCase>
{
};

TEST_P(HomescreenDelete, AsksThenRemovesTheBundleAndItsRecord)
{
    const DeleteCase &row = GetParam();
    const bool gone = row.answer == 0 && !row.frozen;
    Home home;
    home.answer(row.answer);
    HomescreenStore store(home.test.context());
    QSignalSpy apps(&store, &HomescreenStore::appsChanged);
    const QString id = home.ids.value(u"Mail"_s);
    std::optional<Frozen> frozen;
    if (row.frozen) {
        ASSERT_TRUE(frozen.emplace(home.apps()).frozen());
    }

    QSignalSpy deleted(&store, &HomescreenStore::appDeleted);
    const bool started = store.deleteApp(id);
    EXPECT_EQ(started, row.answer == 0);
    if (started) { // the removal runs in the background
        ASSERT_TRUE(QTest::qWaitFor([&store] { return !store.work()->running(); }, 30000));
    }
    EXPECT_EQ(deleted.size(), gone ? 1 : 0);

    EXPECT_EQ(home.asked.value(0), (QStringList{u"Delete Mail?"_s,
                                               u"This will permanently delete the app from your Applications folder. "
                                               "This action cannot be undone."_s,
                                               u"Delete"_s, u"Cancel"_s}));
    EXPECT_EQ(QFileInfo::exists(home.bundle(u"Mail"_s)), !gone);
    EXPECT_EQ(SNAppTracker(home.test.context()).getTracker().contains(id), !gone);
    EXPECT_EQ(store.filteredApps()->rowOf(id) >= 0, !gone);
    EXPECT_EQ(store.appList().count(), gone ? 2 : 3);
    // Taken off the list at once; a failed removal shows it again after the reload.
    EXPECT_EQ(apps.size(), row.answer != 0 ? 0 : row.frozen ? 2 : 1);
    EXPECT_EQ(home.asked.size(), row.frozen ? 2 : 1);
    if (row.frozen) {
        EXPECT_EQ(home.asked.value(1).value(0), u"Failed to delete app"_s);
        EXPECT_TRUE(home.asked.value(1).value(1).contains(u"could not be moved to the Trash"_s));
        EXPECT_EQ(home.asked.value(1).mid(2), QStringList{u"OK"_s});
        EXPECT_EQ(home.test.log().filter(u"Failed to delete app: "_s).size(), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, HomescreenDelete,
                         ::testing::Values(DeleteCase{"confirmed", 0, false}, DeleteCase{"cancelled", 1, false},
                                           DeleteCase{"dismissed", -1, false}, DeleteCase{"removalFails", 0, true}),
                         label);

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
