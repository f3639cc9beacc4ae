#include "core/BrowserCatalogue.h"

#include <gtest/gtest.h>

// The type number an app's files store names its engine; an unknown one means Google Chrome.
TEST(BrowserCatalogue, TypeKeysFollowTheNumberAndUnknownMeansGoogleChrome)
{
    const std::pair<int, const char *> keys[] = {{0, "chrome"}, {1, "canary"},   {2, "brave"},   {3, "edge"},
                                                 {4, "opera"},  {5, "chromium"}, {6, "vivaldi"}, {7, "helium"}};
    for (const auto &[number, key] : keys) {
        EXPECT_EQ(BrowserCatalogue::typeKeyForNumber(number), QString::fromLatin1(key)) << number;
        EXPECT_EQ(BrowserCatalogue::numberForTypeKey(QString::fromLatin1(key)), number) << key;
    }
    for (int number : {-1, 8, 42}) {
        EXPECT_EQ(BrowserCatalogue::typeKeyForNumber(number), QStringLiteral("chrome"));
        EXPECT_EQ(BrowserCatalogue::bundleIdForNumber(number), QStringLiteral("com.google.Chrome"));
    }
    for (const char *key : {"", "firefox", "Chrome", "BRAVE"})
        EXPECT_EQ(BrowserCatalogue::numberForTypeKey(QString::fromUtf8(key)), 0) << key;
}

