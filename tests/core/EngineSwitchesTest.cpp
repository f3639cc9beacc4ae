#include "core/EngineSwitches.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// A switch lands unquoted in the app's script: only one plain word that starts like a switch
// gets there, and a refusal names the value and the rule.
TEST(EngineSwitches, OnlyOneWordOfCharactersWithoutMeaningToTheShellIsASwitch)
{
    const QString accepted[] = {
        u"--no-sandbox"_s,
        u"--enable-features=WebUIDarkMode,OverlayScrollbar"_s,
        u"--proxy-server=socks5://127.0.0.1:1080"_s,
        u"--user-agent=Mozilla/5.0%20X11"_s,
        u"--lang=de_DE.UTF-8"_s,
        u"--force-device-scale-factor=1.25"_s,
        u"--auth-server-allowlist=@example.test,+x"_s,
        u"--2fa"_s,
    };
    for (const QString &value : accepted)
        EXPECT_EQ(EngineSwitches::problem(value), QString()) << qPrintable(value);

    const QString refused[] = {
        u""_s, u"no-sandbox"_s, u"-x"_s, u"--"_s, u"---x"_s, u"--=x"_s, u"--a b"_s, u"--a\tb"_s, u"--a\nb"_s,
        u"--a;id"_s, u"--a&"_s, u"--a|b"_s, u"--a>out"_s, u"--a<in"_s, u"--a$HOME"_s, u"--a$(id)"_s,
        u"--a`id`"_s, u"--a'b"_s, u"--a\"b"_s, u"--a\\b"_s, u"--a*"_s, u"--a?"_s, u"--a[1]"_s, u"--a{b,c}"_s,
        u"--a~"_s, u"--a#b"_s, u"--a!b"_s, u"--a(b)"_s, u"--sprache=ü"_s,
    };
    for (const QString &value : refused) {
        const QString problem = EngineSwitches::problem(value);
        EXPECT_TRUE(problem.contains(u" is not one engine switch: a switch starts with -- and a letter or digit"_s))
            << qPrintable(value) << " -> " << qPrintable(problem);
    }
    EXPECT_TRUE(EngineSwitches::problem(u"--a\x1b[2J"_s).startsWith(u"'--a\\x1b[2J' is not"_s));
    EXPECT_TRUE(EngineSwitches::problem(u"--"_s + QString(1000, u'a')).contains(u"is longer than 1000 characters"_s));

    EXPECT_EQ(EngineSwitches::check({u"--ok"_s, u"--fine=1"_s}, u"engineSwitches"_s), QString());
    EXPECT_TRUE(EngineSwitches::check({u"--ok"_s, u"--a b"_s, u"bad"_s}, u"engineSwitches"_s)
                    .startsWith(u"engineSwitches[1]: '--a b' is not one engine switch"_s));
    EXPECT_EQ(EngineSwitches::fromText(u"  --a\t--b=1\n\n--c "_s), (QStringList{u"--a"_s, u"--b=1"_s, u"--c"_s}));
}
