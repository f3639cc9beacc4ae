#include "editing/SNFaviconHelper.h"

#include "support/LocalHttpServer.h"
#include "support/TestContext.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QtEndian>

#include <gtest/gtest.h>
#include <zlib.h>

using namespace Qt::Literals::StringLiterals;
using Density = SNFaviconHelper::Density;

namespace {

QByteArray image(int side, const char *format = "PNG")
{
    QImage pixels(side, side, QImage::Format_ARGB32);
    pixels.fill(Qt::blue);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    pixels.save(&buffer, format);
    return bytes;
}

QByteArray pngChunk(const QByteArray &typeAndData)
{
    QByteArray length(4, '\0'), crc(4, '\0');
    qToBigEndian<quint32>(quint32(typeAndData.size() - 4), length.data());
    qToBigEndian<quint32>(quint32(crc32(0, reinterpret_cast<const Bytef *>(typeAndData.constData()),
                                        uInt(typeAndData.size()))), crc.data());
    return length + typeAndData + crc;
}

// A valid RGBA PNG of side x side transparent pixels in a few hundred kilobytes, compressed row by
// row so that the test itself never holds the 4 * side * side bytes it unpacks to.
QByteArray decompressionBomb(int side)
{
    QByteArray header("IHDR\0\0\0\0\0\0\0\0\x08\x06\0\0\0", 17);
    qToBigEndian<quint32>(quint32(side), header.data() + 4);
    qToBigEndian<quint32>(quint32(side), header.data() + 8);
    z_stream stream{};
    deflateInit(&stream, Z_BEST_COMPRESSION);
    const QByteArray row(1 + 4 * side, '\0');
    QByteArray data("IDAT"), out(1 << 16, '\0');
    for (int y = 0; y < side; ++y) {
        stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(row.constData()));
        stream.avail_in = uInt(row.size());
        do {
            stream.next_out = reinterpret_cast<Bytef *>(out.data());
            stream.avail_out = uInt(out.size());
            deflate(&stream, y + 1 == side ? Z_FINISH : Z_NO_FLUSH);
            data.append(out.constData(), out.size() - stream.avail_out);
        } while (stream.avail_out == 0);
    }
    deflateEnd(&stream);
    return QByteArray("\x89PNG\r\n\x1a\n") + pngChunk(header) + pngChunk(data) + pngChunk("IEND");
}

const QString Page = u"/site/page.html"_s;

// Each file is a PNG (or an ICO when its name ends in .ico) of `side` pixels, 0: an HTML page.
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
    QByteArray pageType = "text/html";
};

void PrintTo(const WinnerCase &row, std::ostream *os) { *os << row.name; }

const QByteArray ShortcutAndTouch = R"(<link rel="shortcut icon" href="/s16.png"><link rel="apple-touch-icon" href="/t180.png">)";

const WinnerCase WinnerCases[] = {
    {"touch icon beats the shortcut icon on high density", Density::High, ShortcutAndTouch,
     {{"/s16.png", 16}, {"/t180.png", 180}}, "/t180.png", 180},
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
        server.serveBody(Page, row.page, row.pageType);
    for (const File &file : row.files) {
        const QString path = QString::fromLatin1(file.path);
        server.serveBody(path, file.side ? image(file.side, path.endsWith(u".ico"_s) ? "ICO" : "PNG") : "<html></html>",
                         {}, file.status);
    }
    SNFaviconHelper helper(row.density);
    const SNFaviconHelper::Found found = helper.searchFavicon(server.url(Page));

    EXPECT_EQ(found.source, row.winner ? server.url(QString::fromLatin1(row.winner)) : QUrl());
    EXPECT_EQ(found.width(), row.width);
    // The page first, the root files of the density's table last; every request says who asks.
    QStringList paths = server.requestedPaths();
    EXPECT_EQ(paths.first(), Page);
    EXPECT_EQ(paths.mid(paths.size() - helper.defaultNames().size()).replaceInStrings(u"/"_s, QString()),
              helper.defaultNames());
    EXPECT_EQ(server.userAgents(), QByteArrayList(paths.size(), SNFaviconHelper::userAgent()));
}

INSTANTIATE_TEST_SUITE_P(Favicons, WidestIconWins, ::testing::ValuesIn(WinnerCases));

// A huge body is dropped while it arrives (the server never gets to send it all); a bomb is
// refused from its header, before its pixels take memory. Either way the next icon wins.
TEST(Favicons, OversizedIconsAreRefusedWithoutTakingTheirMemory)
{
    TestContext test;
    constexpr qint64 FiftyMegabytes = 50LL << 20;
    const QList<LocalHttpServer::Answer> answers = {
        {LocalHttpServer::Answer::Kind::Huge, 200, {}, {}, FiftyMegabytes, true},
        {LocalHttpServer::Answer::Kind::Huge, 200, {}, {}, FiftyMegabytes, false},
        {LocalHttpServer::Answer::Kind::Body, 200, {}, decompressionBomb(4096), 0, true},
    };
    for (const LocalHttpServer::Answer &answer : answers) {
        SCOPED_TRACE(answer.body.isEmpty() ? "huge body" : "decompression bomb");
        LocalHttpServer server;
        server.serveBody(Page, R"(<link rel="icon" href="/huge.png"><link rel="icon" href="/small.png">)");
        server.serve(u"/huge.png"_s, answer);
        server.serveBody(u"/small.png"_s, image(16));
        EXPECT_EQ(SNFaviconHelper(Density::Standard).searchFavicon(server.url(Page)).source, server.url(u"/small.png"_s));
        EXPECT_TRUE(server.requestedPaths().contains(u"/huge.png"_s));
        EXPECT_LT(server.hugeBytesSent(), FiftyMegabytes / 2);
    }
}

// A server that never answers is abandoned within the bounds: the helper hangs up and goes on.
TEST(Favicons, AServerThatNeverAnswersIsAbandoned)
{
    TestContext test;
    const SNFaviconHelper::Limits shortLimits{std::chrono::milliseconds(200), std::chrono::milliseconds(300)};
    for (const bool silentPage : {false, true}) {
        SCOPED_TRACE(silentPage ? "page" : "icon");
        LocalHttpServer server;
        server.serveBody(Page, R"(<link rel="icon" href="/silent.png">)");
        server.serveNothing(silentPage ? Page : u"/silent.png"_s);
        server.serveBody(u"/favicon.ico"_s, image(16, "ICO"));
        SNFaviconHelper helper(Density::Standard);
        helper.setLimits(shortLimits);
        EXPECT_EQ(helper.searchFavicon(server.url(Page)).source, server.url(u"/favicon.ico"_s));
        EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    }
    // The search's own deadline ends it, however many links are left.
    LocalHttpServer server;
    QByteArray page;
    for (int i = 0; i < 10; ++i) {
        page += "<link rel=\"icon\" href=\"/silent" + QByteArray::number(i) + ".png\">";
        server.serveNothing(u"/silent%1.png"_s.arg(i));
    }
    server.serveBody(Page, page);
    EXPECT_TRUE(SNFaviconHelper(Density::High).searchFavicon(server.url(Page), QDeadlineTimer(300)).image.isNull());
    EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    EXPECT_EQ(server.requestedPaths(), (QStringList{Page, u"/silent0.png"_s}));
}

// The threaded search delivers on the receiver's thread; cancelled, it drops its download at once
// and delivers nothing.
TEST(Favicons, TheThreadedSearchDeliversOnTheReceiversThreadUnlessCancelled)
{
    TestContext test;
    LocalHttpServer server;
    server.serveBody(Page, R"(<link rel="icon" href="/ok.png">)");
    server.serveBody(u"/ok.png"_s, image(48));
    server.serveBody(u"/cancel.html"_s, R"(<link rel="icon" href="/silent.png"><link rel="icon" href="/ok.png">)");
    server.serveNothing(u"/silent.png"_s);

    SNFaviconHelper helper(Density::Standard);
    QObject receiver;
    QEventLoop loop;
    QList<QPair<QSize, QThread *>> deliveries;
    const auto deliver = [&](const SNImage &found) {
        deliveries.append({found.largestPixelSize(), QThread::currentThread()});
        loop.quit();
    };
    helper.getFaviconWithAppURL(server.url(Page), &receiver, deliver);
    loop.exec();
    EXPECT_EQ(deliveries, (QList<QPair<QSize, QThread *>>{{QSize(48, 48), QThread::currentThread()}}));

    helper.getFaviconWithAppURL(server.url(u"/cancel.html"_s), &receiver, deliver);
    while (!server.requestedPaths().contains(u"/silent.png"_s))
        QThread::msleep(5);
    helper.isCancelled = true;
    EXPECT_EQ(hangUpsAfterWaiting(server, 1), 1);
    helper.waitForSearch();
    QCoreApplication::processEvents();
    EXPECT_EQ(deliveries.size(), 1);
    EXPECT_EQ(server.requestedPaths().count(u"/ok.png"_s), 1);
}
