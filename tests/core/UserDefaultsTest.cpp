#include "core/UserDefaults.h"

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
