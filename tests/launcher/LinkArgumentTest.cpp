#include "LinkArgument.h"

#include <gtest/gtest.h>

// What the whole-start tests do not reach: hosts, schemes and malformed web links.
TEST(LinkArgument, PassesOnlyWebAndMailLinksEncoded)
{
    const std::pair<std::string, std::optional<std::string>> cases[] = {
        {"HTTPS://a.test/?b=c&d#e", "HTTPS://a.test/?b=c&d#e"},
        {"https://a.test/\"<>\\^`{|}'$(id)\t\n\x7f",
         "https://a.test/%22%3C%3E%5C%5E%60%7B%7C%7D'$(id)%09%0A%7F"},
        {"http://u:p@[fe80::1]:8080/[x]", "http://u:p@[fe80::1]:8080/%5Bx%5D"},
        {"https://a[b]/", "https://a%5Bb%5D/"},
        {"mailto:a@b.test?subject=hi there", "mailto:a@b.test?subject=hi%20there"},
        {"https:/a.test/", std::nullopt},
        {"https://", std::nullopt},
        {"http://user@:80/", std::nullopt},
        {"http://[::1/", std::nullopt},
    };
    for (const auto &[given, passed] : cases)
        EXPECT_EQ(LinkArgument::accepted(given), passed) << given;
    EXPECT_EQ(LinkArgument::printable("a\nb\\c\x1b[31m\xc2\x9b\xc3\xa9"),
              "a\\x0Ab\\\\c\\x1B[31m\\xC2\\x9B\xc3\xa9");
}
