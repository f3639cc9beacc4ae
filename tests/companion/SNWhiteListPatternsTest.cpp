#include "companion/SNWhiteListPatterns.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

// Lists are written as "a|b": nullptr is no address at all, "" one empty address.
TEST(LegacyPatterns, FollowAddresses)
{
    const auto list = [](const char *s) { return s ? QString::fromUtf8(s).split(u'|') : QStringList(); };
    const struct
    {
        const char *name, *input, *expected;
        bool split; // at blanks, as on regeneration
    } cases[] = {
        {"two_pieces_kept", "q.r", "q.r", false},
        {"only_first_piece_dropped", "p.q.r.s", "q.r.s", false},
        {"path_kept", "https://p.q.r/s.t", "q.r/s.t", false},
        {"every_scheme_removed_before_counting", "https://q.r|http://http://x.y", "q.r|x.y", false},
        {"webmail_subdomain_adds_signin", "https://mail.gmail.com", "gmail.com|accounts.google.com", false},
        {"no_address", nullptr, nullptr, false},
        {"empty_skipped_order_and_duplicates_kept", "https://a.b.c||x.y|https://a.b.c", "b.c|x.y|b.c", false},
        {"creation_does_not_split", "a.b.c d.e.f", "b.c d.e.f", false},
        // Pieces are made distinct before the scheme is stripped, so x.y appears twice.
        {"regeneration_dedupes_pieces", " https://a.b.c  x.y|http://x.y https://a.b.c", "b.c|x.y|x.y", true},
        {"table_entries_follow_all_results", "https://mail.gmail.com https://inbox.gmail.com|q.r",
         "gmail.com|gmail.com|q.r|accounts.google.com|accounts.google.com", true},
    };
    for (const auto &c : cases)
        EXPECT_EQ(SNWhiteListPatterns::legacyPatterns(list(c.input), c.split), list(c.expected)) << c.name;
}
