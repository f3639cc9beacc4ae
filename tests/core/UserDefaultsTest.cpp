#include "core/UserDefaults.h"

#include "support/TestContext.h"

#include <gtest/gtest.h>

struct BoolCase
{
    QVariant value;
    bool expected;
};

void PrintTo(const BoolCase &c, std::ostream *os)
{
    PrintTo(c.value, os);
}

using UserDefaultsBool = ::testing::TestWithParam<BoolCase>;

TEST_P(UserDefaultsBool, ReadsLikeTheMacDefaultsStore)
{
    EXPECT_EQ(UserDefaults::toBool(GetParam().value), GetParam().expected) << qPrintable(GetParam().value.toString());
}

INSTANTIATE_TEST_SUITE_P(
    Values, UserDefaultsBool,
    ::testing::Values(BoolCase{QStringLiteral("YES"), true}, BoolCase{QStringLiteral("yes"), true},
                      BoolCase{QStringLiteral("NO"), false}, BoolCase{QStringLiteral("true"), true},
                      BoolCase{QStringLiteral("false"), false}, BoolCase{QStringLiteral("1"), true},
                      BoolCase{QStringLiteral("0"), false}, BoolCase{QStringLiteral("2"), true},
                      BoolCase{QStringLiteral(""), false}, BoolCase{QStringLiteral("maybe"), false},
                      BoolCase{true, true}, BoolCase{false, false}, BoolCase{1, true}, BoolCase{0, false},
                      BoolCase{QVariant(), false}));

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
