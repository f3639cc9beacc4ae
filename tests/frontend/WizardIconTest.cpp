#include "support/LocalHttpServer.h"
#include "support/TestContext.h"

#include "editing/SNFaviconHelper.h"
#include "frontend/WizardDraft.h"
#include "frontend/WizardIcon.h"

#include <QElapsedTimer>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

// The site's title names the app when the user has not, and its icon becomes the app's.
TEST(WizardIcon, NamesTheAppAfterItsSite)
{
    TestContext test;
    LocalHttpServer site;
    site.serve(u"/"_s, {R"(<html><head><title> Team &amp; Chat
        </title><link rel="icon" href="/icon.png"></head></html>)", 200, "text/html"});
    site.serve(u"/icon.png"_s, {LocalHttpServer::icon(64), 200, "image/png"});
    LocalHttpServer slow; // answers nothing, ever
    slow.serve(u"/"_s, {{}, 200, "text/html", LocalHttpServer::Kind::Silent});
    LocalHttpServer bare; // a page without any icon
    bare.serve(u"/"_s, {"<html><head><title>Bare</title></head></html>", 200, "text/html"});
    const auto withoutScheme = [](const LocalHttpServer &server) { return server.url().toString().mid(7); };

    // Typed without a scheme while a slow site is being searched: the slow search is dropped, and
    // the second site answers within its own bounds, over the scheme it speaks.
    WizardDraft draft(test.context());
    WizardIcon icon(test.context(), draft);
    draft.setAppURL(slow.url().toString());
    icon.detectNameAndIcon();
    draft.setAppURL(withoutScheme(site));
    QSignalSpy detection(&icon, &WizardIcon::detectionChanged);
    QElapsedTimer clock;
    clock.start();
    icon.detectNameAndIcon();
    EXPECT_TRUE(icon.isAutoDetecting());
    ASSERT_TRUE(detection.wait(15000));
    EXPECT_LT(clock.elapsed(), SNFaviconHelper::Limits().searchTimeout.count()); // not held up by the first
    EXPECT_FALSE(icon.isAutoDetecting());
    EXPECT_EQ(icon.autoDetectedName(), u"Team & Chat"_s);
    EXPECT_EQ(draft.appName(), u"Team & Chat"_s);
    EXPECT_EQ(icon.image().largestRepresentation().width(), 64);
    EXPECT_FALSE(icon.isCustomAsset());
    EXPECT_EQ(draft.savedAddress(), site.url().toString()); // what the review shows and the app keeps
    EXPECT_EQ(draft.definition().appURL, site.url().toString());

    // A site without an icon clears the one the previous address found.
    draft.setAppURL(bare.url().toString());
    icon.detectNameAndIcon();
    ASSERT_TRUE(detection.wait(15000));
    EXPECT_TRUE(icon.image().isNull());

    // A name the user typed stays; a short text without a scheme is not looked up.
    WizardDraft typed(test.context());
    WizardIcon typedIcon(test.context(), typed);
    typed.setAppName(u"Mine"_s);
    typed.setAppURL(site.url().toString());
    QSignalSpy typedDetection(&typedIcon, &WizardIcon::detectionChanged);
    typedIcon.detectNameAndIcon();
    ASSERT_TRUE(typedDetection.wait(15000));
    EXPECT_EQ(typed.appName(), u"Mine"_s);
    typed.setAppURL(u"a.b"_s);
    typedIcon.detectNameAndIcon();
    EXPECT_FALSE(typedIcon.isAutoDetecting());
}
