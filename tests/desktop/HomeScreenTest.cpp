// The home screen as a person sees it: narrowed by search and filter, and used with the keyboard.
// Empty, and deleting through the alert, are the desktop flow's (FlowTest.cpp).

#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"
#include "frontend/HomescreenStore.h"

#include <QDir>
#include <QQuickItem>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// The names of the tiles a person can see, sorted.
QStringList visibleTiles(const DesktopHarness &app)
{
    QStringList names;
    for (QObject *object : app.findAll(u"app:"_s)) {
        const auto *item = qobject_cast<QQuickItem *>(object);
        if (item && item->isVisible() && item->parentItem())
            names.append(object->objectName().mid(4));
    }
    names.sort();
    return names;
}

} // namespace

struct NarrowingCase
{
    const char *label;
    QString search;
    int filterSteps; // Down presses in the filter's list: 1 Standard, 2 Tabbed
    QStringList shown;
};

class HomeScreenNarrowing : public ::testing::TestWithParam<NarrowingCase>
{
};

TEST_P(HomeScreenNarrowing, ShowsOnlyTheMatchingTiles)
{
    const NarrowingCase &c = GetParam();
    DesktopHarness app;
    app.seedApp(u"Mail"_s, {u"https://mail.example.org/"_s});
    app.seedApp(u"Notes"_s, {u"https://notes.example.com/"_s});
    app.seedApp(u"Team"_s, {u"https://chat.example.net/"_s, u"https://calendar.example.net/"_s});
    ASSERT_TRUE(app.load());
    app.settle();
    ASSERT_EQ(visibleTiles(app), (QStringList{u"Mail"_s, u"Notes"_s, u"Team"_s}));
    EXPECT_FALSE(app.isShown(u"emptyState"_s));

    QString why;
    if (!c.search.isEmpty()) {
        ASSERT_TRUE(app.type(u"searchField"_s, c.search, &why)) << why.toStdString();
    }
    if (c.filterSteps > 0) {
        ASSERT_TRUE(app.click(u"filterBox"_s, &why)) << why.toStdString();
        app.settle();
        for (int i = 0; i < c.filterSteps; ++i)
            app.key(Qt::Key_Down, Qt::NoModifier, u"filterBox"_s);
        app.key(Qt::Key_Return, Qt::NoModifier, u"filterBox"_s);
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
                      NarrowingCase{"NothingMatches", u"zzz"_s, 0, {}}),
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
