// Reading apps back from launcher scripts: the forms older generators wrote and values that pose
// as markers. Today's scripts of every browser and kind, and with hostile names, are read back in
// tests/generation/SNAppScriptHelperTest.cpp; scripts cut and scrambled at random, in tests/fuzz.

#include "maintenance/AppScriptReader.h"

#include "support/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// Forms older generators wrote, the engine line's variants, and user values that look like
// markers. Each case names the keys it checks.
TEST(AppScriptReader, OlderFormsAndValuesThatPoseAsMarkers)
{
    const struct
    {
        const char *what;
        QString name;
        QString script;
        QVariantMap expected;
    } cases[] = {
        {"tabbed with two quoted addresses", u"A"_s,
         u"NEEDTAB=1\nTABS=\"https://a.test/ https://b.test/\"\n"_s,
         {{u"isTabs"_s, true}, {u"tabs"_s, QStringList{u"https://a.test/"_s, u"https://b.test/"_s}},
          {u"appURL"_s, u"https://a.test/"_s}}},
        {"an --app= switch without NEEDTAB", u"A"_s,
         u"launchArray[2]=\"--app=https://mail.test/inbox\"\nexec x\n"_s,
         {{u"isTabs"_s, false}, {u"appURL"_s, u"https://mail.test/inbox"_s}}},
        {"the older tabbed switch and a Tabs= line", u"A"_s,
         u"NEWLAUNCHSTR+=\" --app=$LINK\"\nTabs=\"https://x.test/ https://y.test/\"\n"_s,
         {{u"isTabs"_s, true}, {u"appURL"_s, u"https://x.test/"_s},
          {u"tabs"_s, QStringList{u"https://x.test/"_s, u"https://y.test/"_s}}}},
        {"a Canary bundle is not Chrome", u"A"_s,
         u"    sh ./createEngine.sh \"A\" \"$W\" \"/Applications/Google Chrome Canary.app\" \"x\" \"y\" \"z\"\n"_s,
         {{u"browserType"_s, u"canary"_s}}},
        {"a Linux engine path", u"A"_s,
         u"sh ./createEngine.sh \"A\" \"$W\" \"/opt/brave.com/brave/brave\" \"Brave Browser\" \"Brave\" \"F\"\n"_s,
         {{u"browserType"_s, u"brave"_s}}},
        {"a Snap", u"A"_s, u"sh ./createEngine.sh \"A\" \"$W\" \"/snap/bin/chromium\" \"?\" \"?\" \"?\"\n"_s,
         {{u"browserType"_s, u"chromium"_s}}},
        {"a Flatpak of the user's", u"A"_s,
         u"sh ./createEngine.sh \"A\" \"$W\" \"/home/me/.local/share/flatpak/exports/bin/com.microsoft.Edge\" \"?\" \"?\" \"?\"\n"_s,
         {{u"browserType"_s, u"edge"_s}}},
        {"Fedora's Chromium", u"A"_s,
         u"sh ./createEngine.sh \"A\" \"$W\" \"/usr/lib64/chromium-browser/chromium-browser\" \"?\" \"?\" \"?\"\n"_s,
         {{u"browserType"_s, u"chromium"_s}}},
        {"a command on PATH", u"A"_s,
         u"sh ./createEngine.sh \"A\" \"$W\" \"/usr/bin/google-chrome-stable\" \"Brave Browser\" \"?\" \"?\"\n"_s,
         {{u"browserType"_s, u"chrome"_s}}},
        {"a Linux engine path of the user's", u"A"_s,
         u"sh ./createEngine.sh \"A\" \"$W\" \"/home/me/bin/vivaldi\" \"?\" \"?\" \"?\"\n"_s,
         {{u"browserType"_s, u"vivaldi"_s}}},
        {"the name of another browser on Chrome", u"Brave New World"_s,
         u"pgrepResult=$(pgrep -f \"$PWD\"/../MacOS/Brave\\ New\\ World\\ Engine)\n"
         u"launchArray[0]=\"$PWD/../MacOS/Brave New World Engine\"\n"
         u"sh ./createEngine.sh \"Brave New World\" \"$W\" \"/opt/x/unknown\" \"Google Chrome\" \"Chrome\" \"F\"\n"_s,
         {{u"browserType"_s, u"chrome"_s}, {u"incognito"_s, false}}},
        {"a name full of markers", u"x HOMEPAGE=https://evil.test/ incognito --load-extension= Brave"_s,
         u"sh ./createEngine.sh \"x HOMEPAGE=https://evil.test/ incognito --load-extension= Brave\" \"$W\" \"/opt/google/chrome/chrome\" \"Google Chrome\" \"Chrome\" \"F\"\n"
         u"NEEDTAB=0\nTABS=\"\"\nHOMEPAGE=\"https://good.test/\"\n"_s,
         {{u"appURL"_s, u"https://good.test/"_s}, {u"incognito"_s, false}, {u"shouldIncludeWLExt"_s, false},
          {u"browserType"_s, u"chrome"_s}}},
        {"an address with a switch's word in it", u"A"_s,
         u"NEEDTAB=0\nHOMEPAGE=\"https://x.test/incognito?\\$v=Brave\"\nlaunchArray[3]=\"--app=https://x.test/incognito?\\$v=Brave\"\n"_s,
         {{u"appURL"_s, u"https://x.test/incognito?$v=Brave"_s}, {u"incognito"_s, false}, {u"browserType"_s, u"chrome"_s}}},
        {"a per-app manifest and the tracker line", u"A"_s,
         u"cp x NativeMessagingHosts/com.ondrel.sorvane.helper.AB12.json\n"
         u"plutil -replace ID-1.appPath -string \"$R\" /x/tracker.plist\n"_s,
         {{u"uniqueID"_s, u"AB12"_s}, {u"appID"_s, u"ID-1"_s}}},
        {"nothing recognisable", u"A"_s, u"#!/bin/sh\necho hi\n"_s,
         {{u"isTabs"_s, true}, {u"appURL"_s, QString()}, {u"browserType"_s, u"chrome"_s}, {u"incognito"_s, false}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const std::optional<QVariantMap> read = AppScriptReader::appInfo(c.name, c.script);
        ASSERT_TRUE(read.has_value());
        EXPECT_EQ(read->value(u"appName"_s).toString(), c.name);
        for (auto it = c.expected.cbegin(); it != c.expected.cend(); ++it)
            EXPECT_EQ(read->value(it.key()), it.value()) << qPrintable(it.key());
    }
    EXPECT_EQ(AppScriptReader::appInfo(u"Demo"_s, u"#!/bin/sh\n# Sorvane demo app\n"_s), std::nullopt);
}
