// The accent colour in the engine's preferences: the forms a colour is typed in, what counts as
// none, and that nothing outside the theme colour keys changes.

#include "generation/SNChromePrefsHelper.h"
#include "support/TestContext.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

struct AccentCase
{
    const char *label;
    QString colour;
    QByteArray preferencesBefore; // empty: no Default folder yet
    QByteArray preferencesAfter;  // compact JSON
};

void PrintTo(const AccentCase &c, std::ostream *os) { *os << c.label; }

using Accent = testing::TestWithParam<AccentCase>;

const QByteArray UserTheme =
    R"({"browser":{"show_home_button":true,"theme":{"user_color":-1,"user_color2":-2,"color_scheme":2}},"homepage":"x"})";

} // namespace

TEST_P(Accent, SetsOrRemovesOnlyTheThemeColour)
{
    TestContext test;
    const QString profile = test.root() + u"/Profile"_s;
    if (!GetParam().preferencesBefore.isEmpty())
        writeFile(profile + u"/Default/Preferences"_s, GetParam().preferencesBefore);
    SNChromePrefsHelper::applyAccentColor(GetParam().colour, profile);
    EXPECT_EQ(QJsonDocument::fromJson(readAll(profile + u"/Default/Preferences"_s)),
              QJsonDocument::fromJson(GetParam().preferencesAfter));
}

INSTANTIATE_TEST_SUITE_P(
    Colours, Accent,
    testing::Values(
        AccentCase{"hashUpperCase", u"#1E90FF"_s, {}, R"({"browser":{"theme":{"user_color":-14774017}}})"},
        AccentCase{"bareLowerCaseWithBlanks", u"  1e90ff\n"_s, UserTheme,
                   R"({"browser":{"show_home_button":true,"theme":{"user_color":-14774017,"color_scheme":2}},"homepage":"x"})"},
        AccentCase{"threeDigitsIsNone", u"#FFF"_s, UserTheme,
                   R"({"browser":{"show_home_button":true,"theme":{"color_scheme":2}},"homepage":"x"})"},
        AccentCase{"notHexIsNone", u"#1E90FG"_s, "not json", R"({"browser":{"theme":{}}})"}),
    [](const auto &p) { return std::string(p.param.label); });
