#include "frontend/CustomQuickSetupList.h"

#include "core/UserDefaults.h"
#include "support/TestContext.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString Key = u"CustomQuickSetups"_s;

QJsonArray storedArray(Context &context)
{
    return QJsonDocument::fromJson(context.defaults().value(Key).toByteArray()).array();
}

} // namespace

TEST(CustomQuickSetupList, SuggestsANameAndADescriptionFromTheTabAddresses)
{
    // clang-format off
    const struct { QStringList addresses; QString name; QString description; } cases[] = {
        {{}, u"My Setup"_s, u"Custom tab configuration"_s},
        {{u"  "_s, u"\n"_s}, u"My Setup"_s, u"Custom tab configuration"_s},
        {{u" https://www.github.com/org \n"_s, u"   "_s}, u"Github.com Setup"_s, u"Single site configuration"_s},
        {{u"mail.google.com"_s, u"http://calendar.google.com/x"_s}, u"Mail.google.com + Calendar.google.com Setup"_s, u"2 sites configuration"_s},
        {{u"a.example"_s, u"b.example"_s, u"c.example"_s}, u"A.example + B.example + C.example Setup"_s, u"3 sites configuration"_s},
        {{u"a.example"_s, u"b.example"_s, u"c.example"_s, u"d.example"_s}, u"Multi-Site Setup"_s, u"Multi-site configuration with 4 tabs"_s},
        // An address without a host is skipped for the name but still counted as a tab.
        {{u"https://"_s, u"news.example"_s}, u"News.example Setup"_s, u"2 sites configuration"_s},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.addresses.join(u'|').toStdString());
        EXPECT_EQ(CustomQuickSetupList::suggestedName(c.addresses), c.name);
        EXPECT_EQ(CustomQuickSetupList::suggestedDescription(c.addresses), c.description);
    }
}

TEST(CustomQuickSetupList, SavesTheTrimmedAddressesAsOneJsonArray)
{
    TestContext test;
    test.setNow(QDateTime(QDate(2001, 1, 2), QTime(0, 0, 30), Qt::UTC));
    CustomQuickSetupList list(test.context());
    const QStringList tabs{u"  https://mail.example.org/  "_s, u"   "_s};

    const QUuid id = list.saveCurrentAsSetup(u" Mail "_s, QString(),
                                             CustomQuickSetupList::suggestedDescription(tabs), tabs);

    ASSERT_FALSE(id.isNull());
    const QJsonArray stored = storedArray(test.context());
    ASSERT_EQ(stored.size(), 1);
    const QJsonObject entry = stored.at(0).toObject();
    EXPECT_EQ(entry.value(u"id"_s).toString(), id.toString(QUuid::WithoutBraces).toUpper());
    EXPECT_EQ(entry.value(u"name"_s).toString(), u"Mail"_s);
    EXPECT_EQ(entry.value(u"icon"_s).toString(), CustomQuickSetupList::defaultIcon());
    EXPECT_EQ(entry.value(u"urls"_s).toArray(), QJsonArray({u"https://mail.example.org/"_s}));
    EXPECT_EQ(entry.value(u"description"_s).toString(), u"Single site configuration"_s);
    EXPECT_DOUBLE_EQ(entry.value(u"createdAt"_s).toDouble(), 86430.0); // seconds since 2001-01-01
    EXPECT_FALSE(entry.contains(u"lastUsed"_s));

    // A second list (the next start) reads the same setup back.
    CustomQuickSetupList reloaded(test.context());
    ASSERT_EQ(reloaded.setups().size(), 1);
    EXPECT_EQ(reloaded.setups().constFirst(), list.setups().constFirst());
}

TEST(CustomQuickSetupList, DeletingRemovesEveryEntryWithThatIdAndKeepsTheOrder)
{
    TestContext test;
    const QString twice = u"6F9619FF-8B86-D011-B42D-00C04FC964FF"_s;
    const auto entry = [](const QString &id, const QString &name) {
        return QJsonObject{{u"id"_s, id},
                           {u"name"_s, name},
                           {u"icon"_s, u"star"_s},
                           {u"description"_s, u""_s},
                           {u"urls"_s, QJsonArray()},
                           {u"createdAt"_s, 10.5}};
    };
    const QJsonArray stored{
        entry(twice, u"one"_s), entry(u"0F9619FF-8B86-D011-B42D-00C04FC964FF"_s, u"two"_s),
        entry(twice, u"three"_s), entry(u"1F9619FF-8B86-D011-B42D-00C04FC964FF"_s, u"four"_s)};
    test.context().defaults().setValue(Key, QJsonDocument(stored).toJson());
    CustomQuickSetupList list(test.context());
    ASSERT_EQ(list.count(), 4);
    QSignalSpy removed(&list, &QAbstractItemModel::rowsRemoved);

    list.deleteSetup(QUuid::fromString(twice));

    EXPECT_EQ(removed.count(), 2);
    ASSERT_EQ(list.count(), 2);
    EXPECT_EQ(list.data(list.index(0), CustomQuickSetupList::NameRole).toString(), u"two"_s);
    EXPECT_EQ(list.data(list.index(1), CustomQuickSetupList::NameRole).toString(), u"four"_s);
    EXPECT_EQ(storedArray(test.context()).size(), 2);
}

TEST(CustomQuickSetupList, StoredDataThatDoesNotDecodeReadsAsNoSetups)
{
    const QByteArray good =
        R"({"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":"n","icon":"star","description":"d","urls":["a.example"],"createdAt":1})";
    // clang-format off
    const struct { const char *name; QByteArray data; qsizetype count; } cases[] = {
        {"a valid entry", "[" + good + "]", 1},
        {"a valid entry used once", "[" + QByteArray(good).replace("}", R"(,"lastUsed":5.25})") + "]", 1},
        {"not JSON", "Setups", 0},
        {"an object, not an array", good, 0},
        {"one bad entry among good ones", "[" + good + ",{\"name\":\"x\"}]", 0},
        {"an id that is no UUID", "[" + QByteArray(good).replace("6F9619FF-8B86-D011-B42D-00C04FC964FF", "nope") + "]", 0},
        {"a date as text", "[" + QByteArray(good).replace("\"createdAt\":1", "\"createdAt\":\"2024\"") + "]", 0},
        {"a date beyond any calendar", "[" + QByteArray(good).replace("\"createdAt\":1", "\"createdAt\":1e300") + "]", 0},
        {"an address that is not text", "[" + QByteArray(good).replace("[\"a.example\"]", "[3]") + "]", 0},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TestContext test;
        test.context().defaults().setValue(Key, c.data);
        CustomQuickSetupList list(test.context());
        EXPECT_EQ(list.count(), c.count);
    }
}

TEST(CustomQuickSetupList, RefusalsAndEncodeFailuresLeaveTheStoredListAlone)
{
    TestContext test;
    CustomQuickSetupList list(test.context());
    list.saveCurrentAsSetup(u"Kept"_s, u"star"_s, {}, {u"kept.example"_s});
    const QByteArray before = test.context().defaults().value(Key).toByteArray();

    EXPECT_TRUE(list.saveCurrentAsSetup(u"   "_s, u"star"_s, {}, {u"a.example"_s}).isNull());
    EXPECT_TRUE(list.saveCurrentAsSetup(u"Bad icon"_s, u"../../icon"_s, {}, {u"a.example"_s}).isNull());
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(test.context().defaults().value(Key).toByteArray(), before);

    // A date that has no number cannot be encoded: the list in memory grows, the stored one stays.
    test.setNow(QDateTime());
    EXPECT_FALSE(list.saveCurrentAsSetup(u"Undated"_s, u"star"_s, {}, {u"a.example"_s}).isNull());
    EXPECT_EQ(list.count(), 2);
    EXPECT_EQ(test.context().defaults().value(Key).toByteArray(), before);
}
