#include "editing/SNFaviconHelper.h"

#include "support/LocalHttpServer.h"
#include "support/TestContext.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QImage>
#include <QRegularExpression>
#include <QTimer>
#include <QtEndian>

#include <gtest/gtest.h>
#include <zlib.h>

using namespace Qt::Literals::StringLiterals;
using Density = SNFaviconHelper::Density;

namespace {

QByteArray encoded(int side, const char *format)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(QColor(30, 144, 255));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

QByteArray png(int side) { return encoded(side, "PNG"); }
QByteArray ico(int side) { return encoded(side, "ICO"); }

QByteArray pngChunk(const char *type, const QByteArray &data)
{
    QByteArray chunk(4, '\0');
    qToBigEndian<quint32>(quint32(data.size()), chunk.data());
    const QByteArray typed = QByteArray(type) + data;
    QByteArray crc(4, '\0');
    qToBigEndian<quint32>(quint32(crc32(0, reinterpret_cast<const Bytef *>(typed.constData()), uInt(typed.size()))),
                          crc.data());
    return chunk + typed + crc;
}

// A valid RGBA PNG of side x side transparent pixels in a few hundred kilobytes: decoded, it
// takes 4 * side * side bytes. Compressed piece by piece, so the test itself never holds it.
QByteArray decompressionBomb(int side)
{
    QByteArray header(13, '\0');
    qToBigEndian<quint32>(quint32(side), header.data());
    qToBigEndian<quint32>(quint32(side), header.data() + 4);
    header[8] = 8; // bits per sample
    header[9] = 6; // RGBA
    z_stream stream{};
    deflateInit(&stream, Z_BEST_COMPRESSION);
    const QByteArray row(1 + 4 * side, '\0');
    QByteArray compressed;
    char out[65536];
    for (int y = 0; y < side; ++y) {
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(row.constData()));
        stream.avail_in = uInt(row.size());
        const int flush = y + 1 == side ? Z_FINISH : Z_NO_FLUSH;
        do {
            stream.next_out = reinterpret_cast<Bytef *>(out);
            stream.avail_out = sizeof out;
            deflate(&stream, flush);
            compressed.append(out, qsizetype(sizeof out - stream.avail_out));
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + pngChunk("IHDR", header) + pngChunk("IDAT", compressed) +
           pngChunk("IEND", {});
}

const QString PagePath = u"/site/page.html"_s;

struct Served
{
    enum Kind { Png, Ico, Html };
    const char *path;
    Kind kind;
    int side = 0;
    int status = 200;
};

struct WinnerCase
{
    const char *name;
    Density density;
    QByteArray page; // empty: the page is not there (404)
    QList<Served> files;
    const char *expectedPath; // nullptr: nothing found
    int expectedWidth = 0;
    QByteArray pageType = "text/html";
};

void PrintTo(const WinnerCase &row, std::ostream *os) { *os << row.name; }

const QByteArray TouchAndShortcut =
    R"(<html><head><link rel="shortcut icon" href="/s16.png"><link rel="apple-touch-icon" href="/t180.png"></head></html>)";

const WinnerCase WinnerCases[] = {
    {"touch icon beats the shortcut icon on high density", Density::High, TouchAndShortcut,
     {{"/s16.png", Served::Png, 16}, {"/t180.png", Served::Png, 180}}, "/t180.png", 180},
    {"standard density ignores the touch icon and the root icon competes", Density::Standard, TouchAndShortcut,
     {{"/s16.png", Served::Png, 16}, {"/t180.png", Served::Png, 180}, {"/favicon.ico", Served::Ico, 32}},
     "/favicon.ico", 32},
    {"root icon wider than every link wins", Density::High,
     R"(<link rel="icon" href="/a16.png"><link rel='icon' href='/b32.png'>)",
     {{"/a16.png", Served::Png, 16}, {"/b32.png", Served::Png, 32}, {"/favicon.ico", Served::Ico, 48}},
     "/favicon.ico", 48},
    {"equal widths keep the link", Density::High, R"(<link rel="icon" href="/b32.png">)",
     {{"/b32.png", Served::Png, 32}, {"/favicon.ico", Served::Ico, 32}}, "/b32.png", 32},
    {"the earlier link wins a tie", Density::Standard,
     R"(<link rel="icon" href="/first.png"><link rel="icon" href="/second.png">)",
     {{"/first.png", Served::Png, 32}, {"/second.png", Served::Png, 32}}, "/first.png", 32},
    {"a 404 with an image body contributes nothing", Density::High,
     R"(<link rel="apple-touch-icon" href="/big.png"><link rel="icon" href="/small.png">)",
     {{"/big.png", Served::Png, 180, 404}, {"/small.png", Served::Png, 16}, {"/favicon.ico", Served::Ico, 64, 404}},
     "/small.png", 16},
    {"only quoted rel values that are exactly accepted count, in any case", Density::High,
     R"(<link rel=icon href="/a.png"><link rel="mask-icon" href="/b.png"><link rel="icon alternate" href="/c.png">)"
     R"(<LINK REL='ICON' HREF='/d.png'/>)",
     {{"/a.png", Served::Png, 64}, {"/b.png", Served::Png, 64}, {"/c.png", Served::Png, 64}, {"/d.png", Served::Png, 16}},
     "/d.png", 16},
    {"bytes that are not an image are skipped", Density::Standard,
     R"(<link rel="icon" href="/page-not-icon.png"><link rel="icon" href="/y.png">)",
     {{"/page-not-icon.png", Served::Html}, {"/y.png", Served::Png, 16}}, "/y.png", 16},
    {"a relative reference resolves against the page", Density::Standard, R"(<link rel="icon" href="icons/r.png">)",
     {{"/site/icons/r.png", Served::Png, 24}}, "/site/icons/r.png", 24},
    {"a page that names no encoding and is not UTF-8 reads as Latin 1", Density::Standard,
     "<link rel=\"icon\" href=\"/ic\xF4ne.png\">", {{"/ic%C3%B4ne.png", Served::Png, 20}}, "/ic%C3%B4ne.png", 20},
    {"the encoding the response names wins", Density::Standard, "<link rel=\"icon\" href=\"/\xB5.png\">",
     {{"/%C4%BE.png", Served::Png, 20}, {"/%C2%B5.png", Served::Png, 40}}, "/%C4%BE.png", 20,
     "text/html; charset=ISO-8859-2"},
    {"a page that is not there still gets the root search", Density::Standard, {},
     {{"/favicon.ico", Served::Ico, 16}}, "/favicon.ico", 16},
    {"nothing found", Density::High, R"(<link rel="icon" href="/missing.png">)", {}, nullptr},
};

void serve(LocalHttpServer &server, const Served &file)
{
    const QByteArray body = file.kind == Served::Png   ? png(file.side)
                            : file.kind == Served::Ico ? ico(file.side)
                                                       : QByteArray("<html>not an icon</html>");
    server.serveBody(QString::fromLatin1(file.path), body, file.kind == Served::Html ? "text/html" : "image/png",
                     file.status);
}

// Waits (without asserting on time) until the server saw `count` hang-ups.
int hangUpsAfterWaiting(const LocalHttpServer &server, int count)
{
    QElapsedTimer timer;
    timer.start();
    while (server.hangUps() < count && timer.elapsed() < 10000)
        QThread::msleep(10);
    return server.hangUps();
}

using WidestIconWins = ::testing::TestWithParam<WinnerCase>;

} // namespace

TEST_P(WidestIconWins, AmongTheLinksAndTheRootFiles)
{
    TestContext test;
    const WinnerCase &row = GetParam();
    LocalHttpServer server;
    if (!row.page.isEmpty())
        server.serveBody(PagePath, row.page, row.pageType);
    for (const Served &file : row.files)
        serve(server, file);

    SNFaviconHelper helper(row.density);
    const SNFaviconHelper::Found found = helper.searchFavicon(server.url(PagePath));

    if (!row.expectedPath) {
        EXPECT_TRUE(found.image.isNull()) << qPrintable(found.source.toString());
    } else {
        ASSERT_FALSE(found.image.isNull());
        EXPECT_EQ(found.source, server.url(QString::fromLatin1(row.expectedPath)));
        EXPECT_EQ(found.width(), row.expectedWidth);
    }
    const QList<LocalHttpServer::Request> requests = server.requests();
    ASSERT_FALSE(requests.isEmpty());
    EXPECT_EQ(requests.first().path, PagePath);
    for (const LocalHttpServer::Request &request : requests)
        EXPECT_EQ(request.userAgent, SNFaviconHelper::userAgent()) << qPrintable(request.path);
    // The root files of the density's table are all asked for, after the page and its links.
    const QStringList paths = server.requestedPaths();
    EXPECT_EQ(paths.mid(paths.size() - helper.defaultNames().size()),
              QStringList(helper.defaultNames()).replaceInStrings(QRegularExpression(u"^"_s), u"/"_s));
}

INSTANTIATE_TEST_SUITE_P(Favicons, WidestIconWins, ::testing::ValuesIn(WinnerCases));

namespace {

struct RefusalCase
{
    const char *name;
    LocalHttpServer::Answer answer; // served at /huge.png
    int bombSide = 0;               // when set, the body is a decompression bomb of that side
};

void PrintTo(const RefusalCase &row, std::ostream *os) { *os << row.name; }

constexpr qint64 FiftyMegabytes = 50LL * 1024 * 1024;

using OversizedIconsAreRefused = ::testing::TestWithParam<RefusalCase>;

} // namespace

// The next, ordinary icon wins: the refused one neither wins nor ends the search. A huge body is
// dropped while it arrives (the server never gets to send it all); a bomb is refused from its
// header, before its pixels take memory.
TEST_P(OversizedIconsAreRefused, WithoutTakingTheirMemory)
{
    TestContext test;
    LocalHttpServer server;
    server.serveBody(PagePath, R"(<link rel="icon" href="/huge.png"><link rel="icon" href="/small.png">)",
                     "text/html");
    LocalHttpServer::Answer answer = GetParam().answer;
    if (GetParam().bombSide > 0)
        answer.body = decompressionBomb(GetParam().bombSide);
    server.serve(u"/huge.png"_s, answer);
    server.serveBody(u"/small.png"_s, png(16), "image/png");

    SNFaviconHelper helper(Density::Standard);
    const SNFaviconHelper::Found found = helper.searchFavicon(server.url(PagePath));

    EXPECT_EQ(found.source, server.url(u"/small.png"_s));
    EXPECT_TRUE(server.requestedPaths().contains(u"/huge.png"_s));
    EXPECT_LT(server.hugeBytesSent(), FiftyMegabytes / 2);
}

INSTANTIATE_TEST_SUITE_P(
    Favicons, OversizedIconsAreRefused,
    ::testing::Values(
        RefusalCase{"50 MB with its length declared",
                    {LocalHttpServer::Answer::Kind::Huge, 200, "image/png", {}, FiftyMegabytes, true}},
        RefusalCase{"50 MB streamed without a length",
                    {LocalHttpServer::Answer::Kind::Huge, 200, "image/png", {}, FiftyMegabytes, false}},
        RefusalCase{"a 4096-pixel decompression bomb",
                    {LocalHttpServer::Answer::Kind::Body, 200, "image/png", {}, 0, true}, 4096}));

// A server that never answers is abandoned within the bounds: the helper hangs up, and the
// search goes on with what is left.
TEST(FaviconBounds, AServerThatNeverAnswersIsAbandoned)
{
    TestContext test;
    const SNFaviconHelper::Limits shortLimits{std::chrono::milliseconds(200), std::chrono::milliseconds(300)};
    const LocalHttpServer::Answer silence = LocalHttpServer::Answer::silence();
    {
        SCOPED_TRACE("an icon that never answers");
        LocalHttpServer server;
        server.serveBody(PagePath, R"(<link rel="icon" href="/silent.png"><link rel="icon" href="/ok.png">)", "text/html");
        server.serve(u"/silent.png"_s, silence);
        server.serveBody(u"/ok.png"_s, png(16), "image/png");
        SNFaviconHelper helper(Density::Standard);
        helper.setLimits(shortLimits);
        EXPECT_EQ(helper.searchFavicon(server.url(PagePath)).source, server.url(u"/ok.png"_s));
        EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    }
    {
        SCOPED_TRACE("a page that never answers still gets the root search");
        LocalHttpServer server;
        server.serve(PagePath, silence);
        server.serveBody(u"/favicon.ico"_s, ico(32), "image/x-icon");
        SNFaviconHelper helper(Density::Standard);
        helper.setLimits(shortLimits);
        EXPECT_EQ(helper.searchFavicon(server.url(PagePath)).source, server.url(u"/favicon.ico"_s));
        EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    }
    {
        SCOPED_TRACE("the search's own deadline ends it, however many links are left");
        LocalHttpServer server;
        QByteArray page;
        for (int i = 0; i < 10; ++i) {
            page += "<link rel=\"icon\" href=\"/silent" + QByteArray::number(i) + ".png\">";
            server.serve(u"/silent%1.png"_s.arg(i), silence);
        }
        server.serveBody(PagePath, page, "text/html");
        SNFaviconHelper helper(Density::High);
        EXPECT_TRUE(helper.searchFavicon(server.url(PagePath), QDeadlineTimer(300)).image.isNull());
        EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
        EXPECT_EQ(server.requestedPaths(), (QStringList{PagePath, u"/silent0.png"_s}));
    }
}

TEST(FaviconBounds, CancellingDropsTheRunningDownloadAndDeliversNothing)
{
    TestContext test;
    LocalHttpServer server;
    server.serveBody(PagePath, R"(<link rel="icon" href="/silent.png"><link rel="icon" href="/ok.png">)", "text/html");
    server.serve(u"/silent.png"_s, LocalHttpServer::Answer::silence());
    server.serveBody(u"/ok.png"_s, png(16), "image/png");

    SNFaviconHelper helper(Density::Standard);
    QObject receiver;
    bool delivered = false;
    helper.getFaviconWithAppURL(server.url(PagePath), &receiver, [&](const SNImage &) { delivered = true; });
    QElapsedTimer timer;
    timer.start();
    while (!server.requestedPaths().contains(u"/silent.png"_s) && timer.elapsed() < 10000)
        QThread::msleep(5);
    helper.isCancelled = true;
    EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    helper.waitForSearch();
    QCoreApplication::processEvents();
    EXPECT_FALSE(delivered);
    EXPECT_FALSE(server.requestedPaths().contains(u"/ok.png"_s));
}

TEST(FaviconBounds, TheThreadedSearchDeliversOnTheReceiversThread)
{
    TestContext test;
    LocalHttpServer server;
    server.serveBody(PagePath, R"(<link rel="icon" href="/ok.png">)", "text/html");
    server.serveBody(u"/ok.png"_s, png(48), "image/png");

    SNFaviconHelper helper(Density::Standard);
    QObject receiver;
    QEventLoop loop;
    QSize delivered;
    QThread *deliveredOn = nullptr;
    helper.getFaviconWithAppURL(server.url(PagePath), &receiver, [&](const SNImage &image) {
        delivered = image.largestPixelSize();
        deliveredOn = QThread::currentThread();
        loop.quit();
    });
    QTimer::singleShot(20000, &loop, &QEventLoop::quit);
    loop.exec();
    EXPECT_EQ(delivered, QSize(48, 48));
    EXPECT_EQ(deliveredOn, QThread::currentThread());
}
