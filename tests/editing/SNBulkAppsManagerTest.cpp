#include "editing/SNBulkAppsManager.h"

#include "core/UserDefaults.h"
#include "support/TestContext.h"


#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

AppDefinition app(const QString &name, const QString &url)
{
    AppDefinition entry;
    entry.appName = name;
    entry.appURL = url;
    return entry;
}

QStringList names(const SNBulkAppsManager &manager)
{
    QStringList list;
    for (const AppDefinition &entry : manager.appsToCreate())
        list.append(entry.appName);
    return list;
}

SNImage square(int side, QRgb colour)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(colour);
    return SNImage({image});
}

// Stands in for the site icon search: remembers each request, answers when the test says, and
// counts the searches it was told to stop.
struct FakeSearch
{
    QStringList addresses;
    QList<SNBulkAppsManager::IconDelivery> pending;
    QStringList stopped;

    SNBulkAppsManager::FaviconSearch hook()
    {
        return [this](const QString &address, SNBulkAppsManager::IconDelivery deliver) {
            addresses.append(address);
            pending.append(std::move(deliver));
            return [this, address] { stopped.append(address); };
        };
    }
};

} // namespace

TEST(SNBulkAppsManager, RemovingRowsRenumbersTheRest)
{
    enum Action { RemoveFirst, RemoveSelected, RemoveAllButFirst, Reset };
    // clang-format off
    const struct { const char *name; Action action; QList<int> selected; QStringList left; } cases[] = {
        {"row 0 of three", RemoveFirst, {}, {u"B"_s, u"C"_s}},
        {"selection with an index past the end", RemoveSelected, {2, 0, 7, 2}, {u"B"_s}},
        {"all but the first", RemoveAllButFirst, {}, {u"A"_s}},
        {"reset", Reset, {}, {QString()}},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        test.context().defaults().setValue(u"applicationsPath"_s, u"/Volumes/Apps"_s);
        SNBulkAppsManager manager(test.context());
        for (const QString &name : {u"A"_s, u"B"_s, u"C"_s})
            manager.addApp(app(name, u"https://%1.example/"_s.arg(name)));
        ASSERT_TRUE(manager.removeAllEnabled());
        int enabledChanges = 0;
        QObject::connect(&manager, &SNBulkAppsManager::removeAllEnabledChanged, [&] { ++enabledChanges; });

        if (c.action == RemoveFirst)
            manager.removeAppAction(0);
        else if (c.action == RemoveSelected)
            manager.removeSelectedAppsAction(c.selected);
        else if (c.action == RemoveAllButFirst)
            manager.removeAllAppsAction();
        else
            manager.reset();

        EXPECT_EQ(names(manager), c.left);
        EXPECT_EQ(manager.rowCount(), c.left.size());
        for (int row = 0; row < manager.appCount(); ++row) {
            const AppDefinition &entry = manager.cell(row).bulkApp;
            EXPECT_EQ(manager.cell(row).row, row);
            // Rows keep their values; a new row starts in the applications folder.
            EXPECT_EQ(entry.appURL, c.action == Reset ? QString() : u"https://%1.example/"_s.arg(c.left.at(row)));
            EXPECT_EQ(entry.applicationsPath, c.action == Reset ? u"/Volumes/Apps"_s : QString());
        }
        EXPECT_EQ(manager.removeAllEnabled(), c.left.size() >= 2);
        EXPECT_EQ(enabledChanges, c.left.size() >= 2 ? 0 : 1);
    }
}

TEST(SNBulkAppsManager, EachRowSearchesItsOwnIcon)
{
    TestContext test;
    SNBulkAppsManager manager(test.context());
    FakeSearch search;
    manager.setFaviconSearch(search.hook());
    manager.addApp(app(u"Mail"_s, {}));
    manager.addApp(app(u"News"_s, u"https://news.example/"_s));
    const QModelIndex mail = manager.index(0);

    manager.fieldEditingEnded(0); // no address yet: nothing to look for
    EXPECT_FALSE(manager.cell(0).tabsEnabled);
    ASSERT_TRUE(manager.setData(mail, u"mail.example"_s, SNBulkAppsManager::AppURLRole));
    manager.fieldEditingEnded(0);
    manager.fieldEditingEnded(0); // a search is running
    ASSERT_EQ(search.addresses, QStringList{u"mail.example"_s}); // as typed: the search tries the schemes
    EXPECT_TRUE(manager.cell(0).tabsEnabled);
    EXPECT_TRUE(manager.data(mail, SNBulkAppsManager::IconBeingFetchedRole).toBool());

    search.pending.takeFirst()(square(32, qRgb(255, 0, 0)), u"http://mail.example"_s);
    EXPECT_FALSE(manager.cell(0).iconBeingFetched);
    EXPECT_EQ(manager.cell(0).bulkApp.appURL, u"http://mail.example"_s); // the scheme its site answered on
    EXPECT_EQ(manager.cell(0).bulkApp.appIcon.largestPixelSize(), QSize(32, 32));
    manager.fieldEditingEnded(0); // the address the last search was for
    EXPECT_EQ(search.addresses.size(), 1);

    // A search that finds nothing clears the proposal.
    manager.setData(mail, u"https://mail2.example"_s, SNBulkAppsManager::AppURLRole);
    manager.fieldEditingEnded(0);
    search.pending.takeFirst()(SNImage(), QString());
    EXPECT_TRUE(manager.cell(0).bulkApp.appIcon.isNull());

    // The user's own icon is never replaced, by a search under way or a later address.
    manager.setData(mail, u"https://mail3.example"_s, SNBulkAppsManager::AppURLRole);
    manager.fieldEditingEnded(0);
    QString error;
    EXPECT_FALSE(manager.chooseIcon(0, SNImage({QImage(40, 20, QImage::Format_ARGB32)}), &error));
    EXPECT_EQ(error, u"The image you provided is not square."_s);
    ASSERT_TRUE(manager.chooseIcon(0, square(64, qRgb(0, 0, 255))));
    search.pending.takeFirst()(square(16, qRgb(255, 0, 0)), u"https://mail3.example"_s);
    manager.setData(mail, u"https://mail4.example"_s, SNBulkAppsManager::AppURLRole);
    manager.fieldEditingEnded(0);
    EXPECT_EQ(search.addresses.size(), 3);
    EXPECT_EQ(manager.cell(0).bulkApp.appIcon.largestPixelSize(), QSize(64, 64));

    // A row removed while its search runs stops it, is not brought back by its answer, and the
    // row now at its index is left alone.
    EXPECT_TRUE(search.stopped.isEmpty());
    manager.fieldEditingEnded(1);
    ASSERT_EQ(search.pending.size(), 1);
    manager.removeAppAction(1);
    EXPECT_EQ(search.stopped, QStringList{u"https://news.example/"_s});
    manager.addApp(app(u"Later"_s, u"https://later.example/"_s));
    search.pending.takeFirst()(square(32, qRgb(0, 255, 0)), u"https://news.example/"_s);
    EXPECT_EQ(names(manager), (QStringList{u"Mail"_s, u"Later"_s}));
    EXPECT_TRUE(manager.cell(1).bulkApp.appIcon.isNull());
}
