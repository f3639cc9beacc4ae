// The home screen as a person sees it: narrowed by search and filter, sorted, used with the
// keyboard, and deleting through its alerts. Empty is the desktop flow's (FlowTest.cpp).

#include "DesktopHarness.h"

#include "support/Frozen.h"

#include "core/SNAppTracker.h"
#include "core/SNImage.h"
#include "generation/IconConverter.h"
#include "desktop/AppIconImageProvider.h"
#include "desktop/DesktopShell.h"
#include "frontend/HomescreenStore.h"
#include "frontend/JobProgress.h"

#include <QDir>
#include <QFileInfo>
#include <QQuickItem>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

// The names of the tiles a person can see, in reading order.
QStringList visibleTiles(const DesktopHarness &app)
{
    QList<std::pair<QPointF, QString>> tiles;
    for (QObject *object : app.findAll(u"app:"_s)) {
        const auto *item = qobject_cast<QQuickItem *>(object);
        if (item && item->isVisible() && item->parentItem())
            tiles.append({item->mapToScene({}), object->objectName().mid(4)});
    }
    std::sort(tiles.begin(), tiles.end(), [](const auto &a, const auto &b) {
        return std::pair(a.first.y(), a.first.x()) < std::pair(b.first.y(), b.first.x());
    });
    QStringList names;
    for (const auto &tile : tiles)
        names.append(tile.second);
    return names;
}

// Chooses the entry `steps` below the current one in a combo box, with the keyboard.
void choose(DesktopHarness &app, const QString &box, int steps)
{
    QString why;
    ASSERT_TRUE(app.click(box, &why)) << why.toStdString();
    app.settle();
    for (int i = 0; i < steps; ++i)
        app.key(Qt::Key_Down, Qt::NoModifier, box);
    app.key(Qt::Key_Return, Qt::NoModifier, box);
}

} // namespace

struct NarrowingCase
{
    const char *label;
    QString search;
    int filterSteps; // Down presses in the filter's list: 1 Standard, 2 Tabbed
    QStringList shown;
    bool byDate = false;
    bool descending = false;
};

class HomeScreenNarrowing : public ::testing::TestWithParam<NarrowingCase>
{
};

TEST_P(HomeScreenNarrowing, ShowsOnlyTheMatchingTilesInOrder)
{
    const NarrowingCase &c = GetParam();
    DesktopHarness app;
    // Made in this order: by date, Team comes first.
    app.seedApp(u"Team"_s, {u"https://chat.example.net/"_s, u"https://calendar.example.net/"_s});
    app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    app.seedApp(u"Notes"_s, {u"https://notes.example.com/"_s});
    ASSERT_TRUE(app.load());
    app.settle();
    ASSERT_EQ(visibleTiles(app), (QStringList{u"Mail"_s, u"Notes"_s, u"Team"_s}));
    EXPECT_FALSE(app.isShown(u"emptyState"_s));

    QString why;
    if (!c.search.isEmpty()) {
        ASSERT_TRUE(app.type(u"searchField"_s, c.search, &why)) << why.toStdString();
    }
    if (c.filterSteps > 0)
        choose(app, u"filterBox"_s, c.filterSteps);
    if (c.byDate)
        choose(app, u"sortBox"_s, 1);
    if (c.descending) {
        ASSERT_TRUE(app.click(u"sortDirectionButton"_s, &why)) << why.toStdString();
    }
    app.settle();
    EXPECT_EQ(visibleTiles(app), c.shown);
    EXPECT_EQ(app.isShown(u"noMatchLabel"_s), c.shown.isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, HomeScreenNarrowing,
    ::testing::Values(NarrowingCase{"SearchByName", u"NOT"_s, 0, {u"Notes"_s}},
                      NarrowingCase{"SearchByAddress", u"calendar.example"_s, 0, {u"Team"_s}},
                      NarrowingCase{"TabbedOnly", {}, 2, {u"Team"_s}},
                      NarrowingCase{"StandardAndSearch", u"te"_s, 1, {u"Notes"_s}},
                      NarrowingCase{"NothingMatches", u"zzz"_s, 0, {}},
                      NarrowingCase{"NameDescending", {}, 0, {u"Team"_s, u"Notes"_s, u"Mail"_s}, false, true},
                      NarrowingCase{"Date", {}, 0, {u"Team"_s, u"Mail"_s, u"Notes"_s}, true},
                      NarrowingCase{"DateDescending", {}, 0, {u"Notes"_s, u"Mail"_s, u"Team"_s}, true, true}),
    [](const auto &row) { return std::string(row.param.label); });

struct DeleteCase
{
    const char *label;
    int answer;  // the button chosen: 0 Delete, 1 Cancel, -1 Escape
    bool frozen; // the bundle cannot be moved away
};

class HomeScreenDelete : public ::testing::TestWithParam<DeleteCase>
{
};

// Only a confirmed delete that could move the bundle away takes the app off the list and the
// registry; a failed one says so and shows the app again.
TEST_P(HomeScreenDelete, AsksThenRemovesTheBundleAndItsRecord)
{
    const DeleteCase &c = GetParam();
    const bool gone = c.answer == 0 && !c.frozen;
    DesktopHarness app;
    const QString id = app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    app.seedApp(u"Notes"_s, {u"https://notes.example.com/"_s});
    ASSERT_TRUE(app.load());
    std::optional<Frozen> frozen;
    if (c.frozen) {
        ASSERT_TRUE(frozen.emplace(app.appsFolder()).frozen());
    }

    AlertAnswer question, failure;
    app.answerNextAlert(c.answer, question);
    // The failure is told while the click may still be under way: its answer is ready as soon
    // as the question has been answered.
    QTimer next;
    QObject::connect(&next, &QTimer::timeout, &next, [&] {
        if (question.answered && c.frozen) {
            next.stop();
            app.answerNextAlert(0, failure);
        }
    });
    next.start(10);
    QString why;
    ASSERT_TRUE(app.click(u"appActions:Mail"_s, &why) && app.click(u"deleteAction:Mail"_s, &why)) << why.toStdString();
    EXPECT_EQ(question.shown, (QStringList{u"Delete Mail?"_s,
                                           u"This will permanently delete the app from your Applications folder. "
                                           "This action cannot be undone."_s,
                                           u"Delete"_s, u"Cancel"_s}));
    if (c.frozen) {
        ASSERT_TRUE(DesktopHarness::waitFor([&] { return failure.answered; }, 30000));
        EXPECT_EQ(failure.shown.value(0), u"Failed to delete app"_s);
        EXPECT_TRUE(failure.shown.value(1).contains(u"could not be moved to the Trash"_s)) << failure.shown.value(1).toStdString();
        EXPECT_EQ(failure.shown.mid(2), QStringList{u"OK"_s});
        EXPECT_EQ(app.test().log().filter(u"Failed to delete app: "_s).size(), 1);
    }
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return !app.shell().home().work()->running(); }, 30000));
    app.settle();
    EXPECT_EQ(QFileInfo::exists(app.bundle(u"Mail"_s)), !gone);
    EXPECT_EQ(SNAppTracker(app.test().context()).getTracker().contains(id), !gone);
    EXPECT_EQ(visibleTiles(app), gone ? QStringList{u"Notes"_s} : (QStringList{u"Mail"_s, u"Notes"_s}));
}

INSTANTIATE_TEST_SUITE_P(Cases, HomeScreenDelete,
                         ::testing::Values(DeleteCase{"Confirmed", 0, false}, DeleteCase{"Cancelled", 1, false},
                                           DeleteCase{"Escaped", -1, false}, DeleteCase{"RemovalFails", 0, true}),
                         [](const auto &row) { return std::string(row.param.label); });

TEST(HomeScreen, TilesAreUsableWithTheKeyboard)
{
    DesktopHarness app;
    app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    app.seedApp(u"Notes"_s, {u"https://notes.example.com/"_s});
    ASSERT_TRUE(app.load());
    app.settle();
    // From the search field, Down goes to the first tile and Right to the next one.
    ASSERT_TRUE(app.type(u"searchField"_s, {}));
    app.key(Qt::Key_Down);
    app.key(Qt::Key_Right);
    const auto *notes = app.find<QQuickItem>(u"app:Notes"_s);
    ASSERT_NE(notes, nullptr);
    EXPECT_TRUE(notes->hasActiveFocus());

    // Shift+F10 opens its menu; Escape closes it.
    app.key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_TRUE(app.isShown(u"deleteAction:Notes"_s));
    app.key(Qt::Key_Escape);
    EXPECT_FALSE(app.isShown(u"deleteAction:Notes"_s));

    // Delete asks about that app; Escape keeps it.
    AlertAnswer answer;
    app.answerNextAlert(-1, answer);
    app.key(Qt::Key_Delete);
    EXPECT_EQ(answer.shown.value(0), u"Delete Notes?"_s);
    EXPECT_TRUE(QDir(app.bundle(u"Notes"_s)).exists());
}

// A tile shows the app's own icon, read from its bundle; an app without one shows its initial.
TEST(HomeScreen, TilesShowTheAppsOwnIcons)
{
    DesktopHarness app;
    app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    app.seedApp(u"Notes"_s, {u"https://notes.example.com/"_s});
    QImage red(256, 256, QImage::Format_ARGB32);
    red.fill(QColor(220, 20, 20));
    ASSERT_TRUE(IconConverter::convertImagesWithSourceImage(SNImage({red}),
                                                            app.bundle(u"Mail"_s) + u"/Contents/Resources"_s));
    QFile::remove(app.bundle(u"Notes"_s) + u"/Contents/Resources/icon.icns"_s);
    ASSERT_TRUE(app.load());

    constexpr int Ready = 1; // Image.Ready
    const auto *icon = app.find<QQuickItem>(u"appIcon:Mail"_s);
    ASSERT_NE(icon, nullptr);
    ASSERT_TRUE(DesktopHarness::waitFor([&] { return icon->property("status").toInt() == Ready; }))
        << icon->property("source").toString().toStdString();
    const QImage tile = app.grab().copy(icon->mapRectToScene(icon->boundingRect()).toRect());
    const QColor centre = tile.pixelColor(tile.width() / 2, tile.height() / 2);
    EXPECT_GT(centre.red(), 180);
    EXPECT_LT(centre.green(), 60);

    EXPECT_TRUE(app.value(u"appIcon:Notes"_s, "source").toUrl().isEmpty());

    // The entry read is the smallest that fills the tile, else the largest.
    QImage small(32, 32, QImage::Format_ARGB32);
    small.fill(Qt::blue);
    QImage large(1024, 1024, QImage::Format_ARGB32);
    large.fill(Qt::green);
    const QString resources = app.bundle(u"Notes"_s) + u"/Contents/Resources"_s;
    ASSERT_TRUE(IconConverter::convertImagesWithSourceImage(SNImage({small, large}), resources));
    for (const auto &[side, expected] : {std::pair{20, 32}, {32, 32}, {100, 128}, {600, 1024}, {4000, 1024}})
        EXPECT_EQ(AppIconImageProvider::bestImage(resources + u"/icon.icns"_s, side).width(), expected) << side;
}
