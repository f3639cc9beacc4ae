#include "core/LetterIcon.h"

#include <QSet>

#include <gtest/gtest.h>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

// The relative luminance of a colour (sRGB), as contrast ratios are measured.
double luminance(const QColor &colour)
{
    const auto linear = [](double c) { return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

} // namespace

TEST(LetterIcon, TheInitialIsTheFirstLetterOrDigitAsOneWholeCharacter)
{
    const struct
    {
        QString name;
        QString initial;
    } cases[] = {
        {u"mail"_s, u"M"_s},
        {u"  \tpost office"_s, u"P"_s},                // blanks before the name
        {u"$(touch pwned) `id`"_s, u"T"_s},            // signs before the first letter
        {u"100% Café"_s, u"1"_s},                      // a digit counts
        {u"école"_s, u"É"_s},                          // non-ASCII letters upper-cased
        {u"e\u0301cole"_s, u"E\u0301"_s},              // a letter and its combining accent stay together
        {u"日本語"_s, u"日"_s},
        {u"\U0001D400 bold"_s, u"\U0001D400"_s},       // a letter beyond the 16-bit range, both halves
        {u"☕ Coffee"_s, u"C"_s},                       // a symbol before the first letter
        {u"%%% ☕"_s, u"%"_s},                          // no letter or digit: the first character
        {u"   "_s, u"?"_s},
        {QString(), u"?"_s},
    };
    for (const auto &test : cases)
        EXPECT_EQ(LetterIcon::initial(test.name), test.initial) << test.name.toStdString();
}

// The background differs between names, and white text stands out against it
// (at least 3:1, the contrast large bold text needs).
TEST(LetterIcon, TheColourIsTheNamesAndCarriesWhiteText)
{
    QSet<int> hues;
    for (int i = 0; i < 400; ++i) {
        const QString name = u"App %1"_s.arg(i);
        const QColor colour = LetterIcon::colour(name);
        EXPECT_GE(1.05 / (luminance(colour) + 0.05), 3.0) << name.toStdString() << " " << colour.name().toStdString();
        hues.insert(colour.hslHue());
    }
    EXPECT_GT(hues.size(), 200) << "names share too few colours";

    // The drawn icon stands on that colour.
    for (const QString &name : {u"Mail"_s, u"Café ☕"_s}) {
        const QImage icon = LetterIcon::draw(name, 128);
        ASSERT_EQ(icon.size(), QSize(128, 128));
        EXPECT_EQ(icon.pixelColor(64, 8).rgb(), LetterIcon::colour(name).rgb()) << name.toStdString();
        EXPECT_EQ(icon.pixelColor(0, 0).alpha(), 0) << "the corner is rounded off";
    }
}
