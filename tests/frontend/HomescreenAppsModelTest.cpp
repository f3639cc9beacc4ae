// The home screen's list changes row by row when apps are added, removed or changed, so that the
// grid keeps the other tiles; only a new order resets it.

#include "frontend/HomescreenAppsModel.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// "b" is the app b; "b*" the same app under another name.
QList<HomescreenAppEntry> entries(const QStringList &names)
{
    QList<HomescreenAppEntry> list;
    for (const QString &name : names) {
        HomescreenAppEntry entry;
        entry.id = name.left(1);
        entry.name = name;
        list.append(entry);
    }
    return list;
}

} // namespace

TEST(HomescreenAppsModel, ChangesRowByRowUnlessTheOrderChanges)
{
    struct Case
    {
        const char *name;
        QStringList shown, next;
        int inserted, removed, changed;
        bool reset;
    };
    // clang-format off
    const Case cases[] = {
        {"added in the middle", {u"a"_s, u"c"_s},          {u"a"_s, u"b"_s, u"c"_s},          1, 0, 0, false},
        {"removed",             {u"a"_s, u"b"_s, u"c"_s},  {u"a"_s, u"c"_s},                  0, 1, 0, false},
        {"added and removed",   {u"a"_s, u"b"_s},          {u"b"_s, u"c"_s, u"d"_s},          2, 1, 0, false},
        {"renamed in place",    {u"a"_s, u"b"_s},          {u"a"_s, u"b*"_s},                 0, 0, 1, false},
        {"first app",           {},                        {u"a"_s},                          1, 0, 0, false},
        {"last app gone",       {u"a"_s},                  {},                                0, 1, 0, false},
        {"new order",           {u"a"_s, u"b"_s, u"c"_s},  {u"c"_s, u"a"_s, u"b"_s},          0, 0, 0, true},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        HomescreenAppsModel model;
        model.setEntries(entries(c.shown));
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        EXPECT_TRUE(model.setEntries(entries(c.next)));
        EXPECT_EQ(model.entries(), entries(c.next));
        EXPECT_EQ(inserted.count(), c.inserted);
        EXPECT_EQ(removed.count(), c.removed);
        EXPECT_EQ(changed.count(), c.changed);
        EXPECT_EQ(reset.count(), c.reset ? 1 : 0);
        EXPECT_FALSE(model.setEntries(entries(c.next)));
    }
}
