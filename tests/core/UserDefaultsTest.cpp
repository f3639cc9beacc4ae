#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <gtest/gtest.h>

TEST(UserDefaults, BooleansReadLikeTheMacDefaultsStore)
{
    const std::pair<QVariant, bool> rows[] = {
        {QStringLiteral("YES"), true}, {QStringLiteral("yes"), true}, {QStringLiteral("NO"), false},
        {QStringLiteral("true"), true}, {QStringLiteral("false"), false}, {QStringLiteral("1"), true},
        {QStringLiteral("0"), false}, {QStringLiteral("2"), true}, {QStringLiteral(""), false},
        {QStringLiteral("maybe"), false}, {true, true}, {false, false}, {1, true}, {0, false}, {QVariant(), false}};
    for (const auto &[value, expected] : rows)
        EXPECT_EQ(UserDefaults::toBool(value), expected) << qPrintable(value.toString());
}

TEST(UserDefaults, PersistentValuesWinOverRegisteredOnesAndSurviveReopening)
{
    TestContext test;
    const QString file = test.root() + QStringLiteral("/defaults.ini");
    {
        UserDefaults defaults(file);
        defaults.registerDefaults({{QStringLiteral("HAS_LAUNCHED_4"), QStringLiteral("NO")},
                                   {QStringLiteral("chromePath"), QStringLiteral("/registered")}});
        EXPECT_FALSE(defaults.boolForKey(QStringLiteral("HAS_LAUNCHED_4")));
        EXPECT_EQ(defaults.stringForKey(QStringLiteral("chromePath")), QStringLiteral("/registered"));
        EXPECT_FALSE(defaults.hasPersistentValue(QStringLiteral("chromePath")));

        defaults.setValue(QStringLiteral("chromePath"), QStringLiteral("/mine"));
        defaults.setValue(QStringLiteral("HAS_LAUNCHED_4"), true);
        defaults.synchronize();
    }
    UserDefaults reopened(file);
    EXPECT_EQ(reopened.stringForKey(QStringLiteral("chromePath")), QStringLiteral("/mine"));
    EXPECT_TRUE(reopened.boolForKey(QStringLiteral("HAS_LAUNCHED_4")));

    reopened.registerDefaults({{QStringLiteral("chromePath"), QStringLiteral("/registered")}});
    reopened.removePersistentDomain();
    EXPECT_EQ(reopened.stringForKey(QStringLiteral("chromePath")), QStringLiteral("/registered"));
    EXPECT_FALSE(reopened.boolForKey(QStringLiteral("HAS_LAUNCHED_4")));
}
