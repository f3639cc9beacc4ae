#include "companion/SNWhiteListPatterns.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct LegacyCase
{
    const char *name;
    QStringList addresses;
    bool splitAtBlanks;
    QStringList expected;
};

void PrintTo(const LegacyCase &c, std::ostream *os)
{
    *os << c.name;
}

class LegacyPatterns : public ::testing::TestWithParam<LegacyCase>
{
};

} // namespace

TEST_P(LegacyPatterns, FollowAddresses)
{
    EXPECT_EQ(SNWhiteListPatterns::legacyPatterns(GetParam().addresses, GetParam().splitAtBlanks),
              GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, LegacyPatterns,
    ::testing::Values(LegacyCase{"webmail_subdomain_adds_signin",
                                 {u"https://mail.gmail.com"_s},
                                 false,
                                 {u"gmail.com"_s, u"accounts.google.com"_s}},
                      LegacyCase{"two_pieces_kept", {u"q.r"_s}, false, {u"q.r"_s}},
                      LegacyCase{"only_first_piece_dropped", {u"p.q.r.s"_s}, false, {u"q.r.s"_s}},
                      LegacyCase{"path_kept", {u"https://p.q.r/s.t"_s}, false, {u"q.r/s.t"_s}},
                      LegacyCase{"every_scheme_removed_before_counting",
                                 {u"https://q.r"_s, u"http://http://x.y"_s},
                                 false,
                                 {u"q.r"_s, u"x.y"_s}},
                      LegacyCase{"no_address", {}, false, {}},
                      LegacyCase{"empty_address", {QString()}, false, {}},
                      LegacyCase{"tabs_in_order_with_duplicates",
                                 {u"https://a.b.c"_s, u"x.y"_s, u"https://a.b.c"_s},
                                 false,
                                 {u"b.c"_s, u"x.y"_s, u"b.c"_s}},
                      LegacyCase{"creation_does_not_split", {u"a.b.c d.e.f"_s}, false, {u"b.c d.e.f"_s}},
                      // Pieces are made distinct before the scheme is stripped, so x.y appears twice.
                      LegacyCase{"regeneration_splits_and_dedupes",
                                 {u"  https://a.b.c  http://x.y https://a.b.c"_s, u"x.y https://a.b.c"_s},
                                 true,
                                 {u"b.c"_s, u"x.y"_s, u"x.y"_s}},
                      LegacyCase{"table_entries_follow_all_results",
                                 {u"https://mail.gmail.com https://inbox.gmail.com"_s, u"q.r"_s},
                                 true,
                                 {u"gmail.com"_s, u"gmail.com"_s, u"q.r"_s, u"accounts.google.com"_s,
                                  u"accounts.google.com"_s}}),
    [](const auto &param) { return std::string(param.param.name); });
