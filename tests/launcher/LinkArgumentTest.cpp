#include "LinkArgument.h"

#include <gtest/gtest.h>

namespace {

struct LinkCase
{
    std::string given;
    std::optional<std::string> passed; // nothing: dropped
};

void PrintTo(const LinkCase &c, std::ostream *os)
{
    *os << '"' << c.given << '"';
}

class LinkCheck : public testing::TestWithParam<LinkCase>
{
};

} // namespace

TEST_P(LinkCheck, PassesOnlyWebAndMailLinksEncoded)
{
    EXPECT_EQ(LinkArgument::accepted(GetParam().given), GetParam().passed);
}

INSTANTIATE_TEST_SUITE_P(
    Table, LinkCheck,
    testing::Values(LinkCase{"HTTPS://a.test/?b=c&d#e", "HTTPS://a.test/?b=c&d#e"},
                    LinkCase{"https://x/a b\t\n\x7f", "https://x/a%20b%09%0A%7F"},
                    LinkCase{"https://a.test/\"<>\\^`{|}'$(id)",
                             "https://a.test/%22%3C%3E%5C%5E%60%7B%7C%7D'$(id)"},
                    LinkCase{"https://example.com/p?q=a*b[1]", "https://example.com/p?q=a%2Ab%5B1%5D"},
                    LinkCase{"http://u:p@[fe80::1]:8080/[x]", "http://u:p@[fe80::1]:8080/%5Bx%5D"},
                    LinkCase{"https://a[b]/", "https://a%5Bb%5D/"},
                    LinkCase{"mailto:a@b.test?subject=hi there", "mailto:a@b.test?subject=hi%20there"},
                    LinkCase{"*", std::nullopt}, LinkCase{"--renderer-cmd-prefix=/tmp/evil.sh", std::nullopt},
                    LinkCase{"javascript:alert(1)", std::nullopt},
                    LinkCase{"file:///etc/passwd", std::nullopt}, LinkCase{"https:/a.test/", std::nullopt},
                    LinkCase{"https://", std::nullopt}, LinkCase{"http://user@:80/", std::nullopt},
                    LinkCase{"http://[::1/", std::nullopt}, LinkCase{" https://a.test/", std::nullopt},
                    LinkCase{"", std::nullopt}));

TEST(LinkCheck, NamesARefusedArgumentWithoutItsControlCharacters)
{
    EXPECT_EQ(LinkArgument::printable("a\nb\\c\x1b[31m\xc2\x9b\xc3\xa9"),
              "a\\x0Ab\\\\c\\x1B[31m\\xC2\\x9B\xc3\xa9");
}
