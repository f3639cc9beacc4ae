// The bulk list: rows a person fills, the message that says what is wrong, and Create All
// making one app per row on disk.

#include "DesktopHarness.h"

#include "desktop/DesktopShell.h"
#include "editing/SNBulkAppsManager.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

void openBulkPage(DesktopHarness &app)
{
    // No site-icon search on the web from a test.
    app.shell().bulk().setFaviconSearch({});
    ASSERT_TRUE(app.load());
    QString why;
    ASSERT_TRUE(app.click(u"bulkButton"_s, &why)) << why.toStdString();
    // The page takes input once it has slid in.
    ASSERT_TRUE(DesktopHarness::waitFor([&app] {
        return app.find(u"bulkNameField:0"_s) && !app.value(u"mainStack"_s, "busy").toBool();
    }));
    app.settle();
}

void fillRow(DesktopHarness &app, int row, const QString &name, const QString &address)
{
    QString why;
    ASSERT_TRUE(app.type(u"bulkNameField:%1"_s.arg(row), name, &why)) << why.toStdString();
    ASSERT_TRUE(app.type(u"bulkUrlField:%1"_s.arg(row), address, &why)) << why.toStdString();
}

} // namespace

struct RowCase
{
    const char *label;
    QString name;
    QString address;
    QString message; // what the page says; empty: the list can be made
};

class BulkValidation : public ::testing::TestWithParam<RowCase>
{
};

TEST_P(BulkValidation, SaysWhichRowIsWrongAndHoldsCreateAllBack)
{
    const RowCase &c = GetParam();
    DesktopHarness app;
    openBulkPage(app);
    fillRow(app, 0, u"First"_s, u"first.example.com"_s);
    ASSERT_TRUE(app.click(u"bulkAddButton"_s));
    fillRow(app, 1, c.name, c.address);
    const QString shown = app.value(u"bulkValidationLabel"_s, "text").toString();
    // A message ending in "…" is the generator's own, checked by its start.
    EXPECT_TRUE(c.message.endsWith(u'…') ? shown.startsWith(c.message.chopped(1)) : shown == c.message)
        << shown.toStdString();
    EXPECT_EQ(app.value(u"bulkCreateAllButton"_s, "enabled").toBool(), c.message.isEmpty());
    EXPECT_TRUE(QDir(app.appsFolder()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, BulkValidation,
    ::testing::Values(RowCase{"NoName", {}, u"mail.example.com"_s, u"Row 2: give the app a name, without \"/\"."_s},
                      RowCase{"SlashInName", u"Mail/Work"_s, u"mail.example.com"_s,
                              u"Row 2: give the app a name, without \"/\"."_s},
                      RowCase{"ShortAddress", u"Mail"_s, u"a.bc"_s,
                              u"Row 2: the address needs at least 6 characters."_s},
                      RowCase{"NotAWebAddress", u"Mail"_s, u"ftp://files.example.com"_s, u"Row 2: appURL…"_s},
                      RowCase{"Good", u"Mail"_s, u"mail.example.com"_s, {}},
                      RowCase{"SameNameTwice", u"First"_s, u"second.example.com"_s, {}}),
    [](const auto &row) { return std::string(row.param.label); });

TEST(BulkPage, CreateAllMakesEveryRowAndKeepsTheOnesThatFailed)
{
    DesktopHarness app;
    openBulkPage(app);
    EXPECT_FALSE(app.value(u"bulkRemoveAllButton"_s, "enabled").toBool());
    fillRow(app, 0, u"Mail"_s, u"https://mail.example.org/"_s);
    ASSERT_TRUE(app.click(u"bulkAddButton"_s));
    fillRow(app, 1, u"Wiki"_s, u"wiki.example.com"_s);
    ASSERT_TRUE(app.click(u"bulkAddButton"_s));
    fillRow(app, 2, u"Notes"_s, u"notes.example.com"_s);
    EXPECT_TRUE(app.value(u"bulkRemoveAllButton"_s, "enabled").toBool());
    // Wiki's folder cannot be made: a file stands in its way.
    const QString blocked = app.test().root() + u"/blocked"_s;
    writeFile(blocked, "a file");
    QString why;
    ASSERT_TRUE(app.type(u"bulkFolderField:1"_s, blocked + u"/Apps"_s, &why)) << why.toStdString();

    AlertAnswer failure;
    app.answerNextAlert(0, failure);
    ASSERT_TRUE(app.click(u"bulkCreateAllButton"_s, &why)) << why.toStdString();
    ASSERT_TRUE(DesktopHarness::waitFor([&app] { return app.value(u"bulkBackButton"_s, "enabled").toBool(); }, 30000));
    app.settle();
    EXPECT_TRUE(QDir(app.bundle(u"Mail"_s)).exists());
    EXPECT_TRUE(QDir(app.bundle(u"Notes"_s)).exists());
    EXPECT_EQ(failure.shown.value(0), u"Error"_s);
    EXPECT_EQ(app.value(u"bulkResultLabel"_s, "text").toString(), u"2 of 3 apps created."_s);
    EXPECT_TRUE(app.isShown(u"bulkResultLabel"_s));
    EXPECT_EQ(app.shell().bulk().appCount(), 1);
    EXPECT_EQ(app.value(u"bulkNameField:0"_s, "text").toString(), u"Wiki"_s);

    // Back home, the new apps are there.
    ASSERT_TRUE(app.click(u"bulkBackButton"_s, &why)) << why.toStdString();
    ASSERT_TRUE(DesktopHarness::waitFor([&app] { return app.find(u"bulkPage"_s) == nullptr; }));
    EXPECT_NE(app.find(u"app:Notes"_s), nullptr);
    EXPECT_NE(app.find(u"app:Mail"_s), nullptr);
    EXPECT_TRUE(app.qmlWarnings().isEmpty()) << app.qmlWarnings().join(u'\n').toStdString();
}
