// Which engines can load the companion extension: stand-in engines in a temporary folder answer
// `--version` the way real ones do (or fail to), for the browsers whose verdict depends on it and
// for some that do not.

#include "companion/CompanionSupport.h"
#include "core/BrowserCatalogue.h"
#include "core/PropertyList.h"
#include "support/TestContext.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using Routing = CompanionSupport::Routing;

namespace {

// An executable shell script at `path` that logs its start to `<path>.ran` and runs `body`.
void writeEngine(const QString &path, const QString &body)
{
    writeFile(path, u"#!/bin/sh\ntouch \"$0.ran\"\n%1\n"_s.arg(body).toUtf8(), QFile::ExeOwner);
}

struct EngineCase
{
    const char *typeKey;
    const char *body; // empty: no engine at all
    const char *expectedVersion; // empty: unknown
    Routing expectedRouting;
};

} // namespace

// Chrome 137, Canary 136 and Chromium are read by `sorvane browsers` in tests/cli/LinkRoutingTest.cpp.
TEST(CompanionSupport, VerdictFollowsTheBrowserAndItsInstalledVersion)
{
    const QList<EngineCase> cases{
        {"chrome", "echo 'Google Chrome 136.0.7103.113'", "136.0.7103.113", Routing::Yes},
        {"canary", "echo 'Google Chrome 137.0.7151.55'", "137.0.7151.55", Routing::ThroughPipe},
        {"chrome", "echo 'Google Chrome 140.0.7339'", "140.0.7339", Routing::ThroughPipe},
        {"brave", "echo 'Brave Browser 138.1.80.115'", "138.1.80.115", Routing::Yes},
        {"chrome", "echo 'no version 12.3 here'", "", Routing::Unknown},
        {"chrome", "echo 'Google Chrome 137.0.7151.55'; exit 3", "", Routing::Unknown},
        {"canary", "", "", Routing::Unknown},
        {"chromium", "echo 'garbage'", "", Routing::Yes},
        {"brave", "", "", Routing::Yes},
    };
    TestContext test;
    const CompanionSupport support(test.context());
    int number = 0;
    for (const EngineCase &engineCase : cases) {
        const QString enginePath = test.root() + u"/engine-%1"_s.arg(++number);
        const QString body = QString::fromUtf8(engineCase.body);
        if (!body.isEmpty())
            writeEngine(enginePath, body);
        const BrowserInfo &browser = BrowserCatalogue::byTypeKey(QString::fromUtf8(engineCase.typeKey));
        const QString label = u"%1 engine: %2"_s.arg(browser.typeKey, body.isEmpty() ? u"missing"_s : body);

        const CompanionSupport::Verdict verdict = support.assess(browser, enginePath, true);
        EXPECT_EQ(verdict.installed, !body.isEmpty()) << qPrintable(label);
        EXPECT_EQ(verdict.version.text, QString::fromUtf8(engineCase.expectedVersion)) << qPrintable(label);
        EXPECT_EQ(verdict.version.isKnown(), !verdict.version.text.isEmpty()) << qPrintable(label);
        EXPECT_EQ(verdict.routing, engineCase.expectedRouting) << qPrintable(label);

        // Every engine whose verdict hangs on its version, unless that version honours
        // --load-extension, gets the companion through the pipe.
        EXPECT_EQ(CompanionSupport::loadsThroughPipe(browser, verdict),
                  CompanionSupport::dependsOnVersion(browser) && engineCase.expectedRouting != Routing::Yes)
            << qPrintable(label);
        const QString warning = CompanionSupport::creationWarning(u"Mail"_s, verdict);
        if (engineCase.expectedRouting == Routing::ThroughPipe) {
            EXPECT_TRUE(warning.isEmpty()) << qPrintable(label);
            EXPECT_EQ(CompanionSupport::routingKey(verdict.routing), u"yes (through the DevTools pipe)"_s);
        } else if (engineCase.expectedRouting == Routing::Yes) {
            EXPECT_TRUE(warning.isEmpty()) << qPrintable(label);
        } else {
            // The why names the switch and the cut-off; a known version is named too.
            EXPECT_TRUE(verdict.reason.contains(u"Chrome 137 and later ignore --load-extension"_s)) << qPrintable(label);
            EXPECT_TRUE(verdict.reason.contains(u"tries the DevTools pipe"_s)) << qPrintable(label);
            EXPECT_TRUE(verdict.reason.contains(browser.browserName)) << qPrintable(verdict.reason);
            EXPECT_TRUE(verdict.reason.contains(verdict.version.isKnown() ? verdict.version.text : enginePath))
                << qPrintable(verdict.reason);
            EXPECT_TRUE(warning.startsWith(u"⚠️ "_s)) << qPrintable(warning);
            EXPECT_TRUE(warning.contains(verdict.reason)) << qPrintable(warning);
        }
    }
}

// A confined engine cannot start the companion's host, whatever its version; it is never started
// the pipe way, and creation says so.
TEST(CompanionSupport, ConfinedEnginesRouteNoLinks)
{
    struct Row
    {
        const char *typeKey;
        const char *enginePath;
        const char *packagingWord;
    };
    const Row rows[] = {{"chromium", "/snap/bin/chromium", "Snap"},
                        {"chrome", "/var/lib/flatpak/exports/bin/com.google.Chrome", "Flatpak"},
                        {"brave", "/home/u/.local/share/flatpak/exports/bin/com.brave.Browser", "Flatpak"}};
    for (const Row &row : rows) {
        const BrowserInfo &browser = BrowserCatalogue::byTypeKey(QString::fromUtf8(row.typeKey));
        const QString enginePath = QString::fromUtf8(row.enginePath);
        const CompanionSupport::Verdict verdict =
            CompanionSupport::verdictFor(browser, enginePath, true, CompanionSupport::versionFromText(u"140.0.7339.5"_s));
        EXPECT_EQ(verdict.routing, Routing::No) << row.enginePath;
        EXPECT_EQ(CompanionSupport::routingKey(verdict.routing), u"no"_s);
        EXPECT_FALSE(CompanionSupport::loadsThroughPipe(browser, verdict)) << row.enginePath;
        EXPECT_TRUE(verdict.reason.contains(QString::fromUtf8(row.packagingWord)) && verdict.reason.contains(enginePath))
            << qPrintable(verdict.reason);
        const QString warning = CompanionSupport::creationWarning(u"Mail"_s, verdict);
        EXPECT_TRUE(warning.startsWith(u"⚠️ Links of \"Mail\" are not routed"_s) && warning.contains(verdict.reason))
            << qPrintable(warning);
    }
}

TEST(CompanionSupport, ReadsTheVersionOfABrowserBundle)
{
    TestContext test;
    const QString bundle = test.root() + u"/Google Chrome.app"_s;
    ASSERT_TRUE(QDir().mkpath(bundle + u"/Contents"_s));
    ASSERT_TRUE(PropertyList::writeFile(bundle + u"/Contents/Info.plist"_s,
                                        QVariantMap{{u"CFBundleShortVersionString"_s, u"137.0.7151.55"_s},
                                                    {u"CFBundleVersion"_s, u"7151.55"_s}}));
    const CompanionSupport::EngineVersion version = CompanionSupport::versionFromBundle(bundle);
    EXPECT_EQ(version.text, u"137.0.7151.55"_s);
    EXPECT_EQ(version.major, 137);
    EXPECT_FALSE(CompanionSupport::versionFromBundle(test.root() + u"/Missing.app"_s).isKnown());
}
