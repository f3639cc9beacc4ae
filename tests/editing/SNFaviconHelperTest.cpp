#include "editing/SNFaviconHelper.h"

#include "support/LocalHttpServer.h"
#include "support/TestContext.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <future>
#include <iostream>

using namespace Qt::Literals::StringLiterals;
using Density = SNFaviconHelper::Density;
using Kind = LocalHttpServer::Kind;

namespace {

QByteArray image(int side, const char *format = "PNG") { return LocalHttpServer::icon(side, format); }
const QString Page = u"/site/page.html"_s;

// Each file is a PNG (an ICO when its name ends in .ico) of `side` pixels; side 0: an HTML page.
struct File
{
    const char *path;
    int side;
    int status = 200;
};

struct WinnerCase
{
    const char *name;
    Density density;
    QByteArray page; // empty: no page there (404)
    QList<File> files;
    const char *winner; // nullptr: nothing found
    int width = 0;
    QByteArray pageType = {};
};

void PrintTo(const WinnerCase &row, std::ostream *os) { *os << row.name; }

const QByteArray ShortcutAndTouch = R"(<link rel="shortcut icon" href="/s16.png"><link rel="apple-touch-icon" href="/t180.png">)";

// The touch icon winning on high density is `sorvane icon`'s case in tests/cli/SiteIconTest.cpp.
const WinnerCase WinnerCases[] = {
    {"standard density ignores the touch icon; the root icon competes", Density::Standard, ShortcutAndTouch,
     {{"/s16.png", 16}, {"/t180.png", 180}, {"/favicon.ico", 32}}, "/favicon.ico", 32},
    {"root icon wider than every link wins", Density::High, R"(<link rel="icon" href="/a.png"><link rel='icon' href='/b.png'>)",
     {{"/a.png", 16}, {"/b.png", 32}, {"/favicon.ico", 48}}, "/favicon.ico", 48},
    {"equal widths keep the link", Density::High, R"(<link rel="icon" href="/b.png">)",
     {{"/b.png", 32}, {"/favicon.ico", 32}}, "/b.png", 32},
    {"the earlier link wins a tie", Density::Standard, R"(<link rel="icon" href="/1.png"><link rel="icon" href="/2.png">)",
     {{"/1.png", 32}, {"/2.png", 32}}, "/1.png", 32},
    {"a 404 with an image body contributes nothing", Density::High,
     R"(<link rel="apple-touch-icon" href="/big.png"><link rel="icon" href="/small.png">)",
     {{"/big.png", 180, 404}, {"/small.png", 16}, {"/favicon.ico", 64, 404}}, "/small.png", 16},
    {"only quoted, exactly accepted rel values count, in any case; non-images are skipped", Density::High,
     R"(<link rel=icon href="/a.png"><link rel="mask-icon" href="/b.png"><link rel="icon x" href="/c.png">)"
     R"(<LINK REL='ICON' HREF='/html.png'/><link rel="icon" href="icons/d.png">)",
     {{"/a.png", 64}, {"/b.png", 64}, {"/c.png", 64}, {"/html.png", 0}, {"/site/icons/d.png", 16}},
     "/site/icons/d.png", 16},
    {"a page that names no encoding and is not UTF-8 reads as Latin 1", Density::Standard,
     "<link rel=\"icon\" href=\"/ic\xF4ne.png\">", {{"/ic%C3%B4ne.png", 20}}, "/ic%C3%B4ne.png", 20},
    {"the encoding the response names wins", Density::Standard, "<link rel=\"icon\" href=\"/\xB5.png\">",
     {{"/%C4%BE.png", 20}, {"/%C2%B5.png", 40}}, "/%C4%BE.png", 20, "text/html; charset=ISO-8859-2"},
    {"a page that is not there still gets the root search", Density::Standard, {}, {{"/favicon.ico", 16}},
     "/favicon.ico", 16},
    {"nothing found", Density::High, R"(<link rel="icon" href="/missing.png">)", {}, nullptr},
};

// Waits, without asserting on time, for the server to see `count` hang-ups.
int hangUpsAfterWaiting(const LocalHttpServer &server, int count)
{
    QElapsedTimer timer;
    timer.start();
    while (server.seen().hangUps < count && timer.elapsed() < 10000)
        QThread::msleep(10);
    return server.seen().hangUps;
}

using WidestIconWins = ::testing::TestWithParam<WinnerCase>;

} // namespace

TEST_P(WidestIconWins, AmongTheLinksAndTheRootFiles)
{
    TestContext test;
    const WinnerCase &row = GetParam();
    LocalHttpServer server;
    if (!row.page.isEmpty())
        server.serve(Page, {row.page, 200, row.pageType});
    for (const File &file : row.files) {
        const QString path = QString::fromLatin1(file.path);
        server.serve(path, {file.side ? image(file.side, path.endsWith(u".ico"_s) ? "ICO" : "PNG") : "<p>", file.status});
    }
    SNFaviconHelper helper(row.density);
    const SNFaviconHelper::Found found = helper.searchFavicon(server.url(Page));

    EXPECT_EQ(found.source, row.winner ? server.url(QString::fromLatin1(row.winner)) : QUrl());
    EXPECT_EQ(found.width(), row.width);
    // The page first, the root files of the density's table last; every request says who asks.
    const LocalHttpServer::Seen seen = server.seen();
    EXPECT_EQ(seen.paths.first(), Page);
    EXPECT_EQ(seen.paths.mid(seen.paths.size() - helper.defaultNames().size()).replaceInStrings(u"/"_s, QString()),
              helper.defaultNames());
    EXPECT_EQ(seen.userAgents, QByteArrayList(seen.paths.size(), SNFaviconHelper::userAgent()));
}

INSTANTIATE_TEST_SUITE_P(Favicons, WidestIconWins, ::testing::ValuesIn(WinnerCases));

// A huge body is dropped while it arrives (the server never gets to send it all); a bomb, a PNG
// of a few hundred kilobytes that unpacks to 64 MB, is refused from its header before its pixels
// take memory. Either way the next icon wins, and so does a silent server's neighbour.
TEST(Favicons, OversizedAndSilentIconsAreDropped)
{
    TestContext test;
    const QList<LocalHttpServer::Answer> answers = {
        {{}, 200, {}, Kind::Huge}, {{}, 200, {}, Kind::HugeUndeclared}, {image(4096)}, {{}, 200, {}, Kind::Silent}};
    for (const LocalHttpServer::Answer &answer : answers) {
        SCOPED_TRACE(int(answer.kind));
        LocalHttpServer server;
        server.serve(Page, {R"(<link rel="icon" href="/bad.png"><link rel="icon" href="/small.png">)"});
        server.serve(u"/bad.png"_s, answer);
        server.serve(u"/small.png"_s, {image(16)});
        SNFaviconHelper helper(Density::Standard);
        helper.setLimits({std::chrono::milliseconds(200), std::chrono::milliseconds(300)});
        EXPECT_EQ(helper.searchFavicon(server.url(Page)).source, server.url(u"/small.png"_s));
        EXPECT_LT(server.seen().hugeBytesSent, LocalHttpServer::HugeBytes / 2);
        if (answer.kind == Kind::Silent) {
            EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
        }
    }
}

// A page that never answers is abandoned and the root still searched; the search's own deadline
// ends it however many links are left.
TEST(Favicons, ASearchEndsWithinItsBounds)
{
    TestContext test;
    LocalHttpServer silentPage;
    silentPage.serve(Page, {{}, 200, {}, Kind::Silent});
    silentPage.serve(u"/favicon.ico"_s, {image(16, "ICO")});
    SNFaviconHelper helper(Density::Standard);
    helper.setLimits({std::chrono::milliseconds(200), std::chrono::milliseconds(300)});
    EXPECT_EQ(helper.searchFavicon(silentPage.url(Page)).source, silentPage.url(u"/favicon.ico"_s));
    EXPECT_EQ(hangUpsAfterWaiting(silentPage, 1), 1);

    LocalHttpServer server;
    QByteArray page;
    for (int i = 0; i < 10; ++i) {
        page += "<link rel=\"icon\" href=\"/silent" + QByteArray::number(i) + ".png\">";
        server.serve(u"/silent%1.png"_s.arg(i), {{}, 200, {}, Kind::Silent});
    }
    server.serve(Page, {page});
    EXPECT_TRUE(SNFaviconHelper(Density::High).searchFavicon(server.url(Page), QDeadlineTimer(300)).image.isNull());
    EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    EXPECT_EQ(server.seen().paths, (QStringList{Page, u"/silent0.png"_s}));
}

// The threaded search delivers on the receiver's thread; cancelled, it drops its download at once
// and delivers nothing.
TEST(Favicons, TheThreadedSearchDeliversOnTheReceiversThreadUnlessCancelled)
{
    TestContext test;
    LocalHttpServer server;
    server.serve(u"/ok.png"_s, {image(48)});
    server.serve(u"/silent.png"_s, {{}, 200, {}, Kind::Silent});
    server.serve(u"/ok.html"_s, {R"(<link rel="icon" href="/ok.png">)"});
    server.serve(Page, {R"(<link rel="icon" href="/silent.png"><link rel="icon" href="/ok.png">)"});
    SNFaviconHelper helper(Density::Standard);
    QObject receiver;
    QList<QPair<QSize, QThread *>> deliveries;
    const auto deliver = [&](const SNFaviconHelper::Found &found) {
        deliveries.append({found.image.largestPixelSize(), QThread::currentThread()});
    };
    for (const QString &path : {u"/ok.html"_s, Page}) {
        helper.lookUpSite(server.url(path).toString(), &receiver, deliver);
        while (path == Page && !server.seen().paths.contains(u"/silent.png"_s))
            QThread::msleep(5);
        helper.isCancelled = path == Page;
        helper.waitForSearch();
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(deliveries, (QList<QPair<QSize, QThread *>>{{QSize(48, 48), QThread::currentThread()}}));
    EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    EXPECT_EQ(server.seen().paths.count(u"/ok.png"_s), 1);
}

// Whatever a site does, a search ends by its own bound (one second here; the wait is a hang guard,
// not a measure of speed) and reports the best icon found by then: a body without end, thousands
// of icon links. Only a bounded number of links is tried.
TEST(Favicons, AHostileSiteCannotHoldASearch)
{
    TestContext test;
    QByteArray thousands;
    for (int i = 0; i < 10000; ++i)
        thousands += "<link rel=\"icon\" href=\"/n" + QByteArray::number(i) + ".png\">";
    const QByteArray okThenTrickle = R"(<link rel="icon" href="/ok.png"><link rel="icon" href="/trickle.png">)";
    // The page (or, when it is empty, the answer for it) and the icon that wins; nullptr: none.
    // clang-format off
    const struct { const char *name; QByteArray page; LocalHttpServer::Answer pageAnswer; const char *winner; } rows[] = {
        {"a page without end", {}, {{}, 200, "text/html", Kind::Trickle}, nullptr},
        {"an icon without end", okThenTrickle, {}, "/ok.png"},
        {"ten thousand links", thousands + R"(<link rel="icon" href="/ok.png">)", {}, nullptr},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        LocalHttpServer server;
        server.serve(Page, row.page.isEmpty() ? row.pageAnswer : LocalHttpServer::Answer{row.page});
        server.serve(u"/ok.png"_s, {image(32)});
        server.serve(u"/trickle.png"_s, {{}, 200, "image/png", Kind::Trickle});
        SNFaviconHelper helper(Density::Standard);
        SNFaviconHelper::Limits limits;
        limits.searchTimeout = std::chrono::seconds(1);
        helper.setLimits(limits);

        QElapsedTimer timer;
        timer.start();
        auto search = std::async(std::launch::async, [&] { return helper.searchFavicon(server.url(Page)); });
        if (search.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
            helper.isCancelled = true;
            search.wait();
            FAIL() << "the search did not end";
        }
        const SNFaviconHelper::Found found = search.get();
        EXPECT_EQ(found.source, row.winner ? server.url(QString::fromLatin1(row.winner)) : QUrl());
        const LocalHttpServer::Seen seen = server.seen();
        EXPECT_GE(seen.paths.size(), 1);
        EXPECT_LE(seen.paths.size(), 1 + limits.maximumCandidates + helper.defaultNames().size());
        std::cout << "[ measured ] " << row.name << ": " << timer.elapsed() << " ms, " << seen.paths.size()
                  << " requests, " << seen.hugeBytesSent << " streamed bytes\n";
    }
}
