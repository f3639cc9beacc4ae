// Site-icon search against a loopback server:
//   Search/10  a page with ten candidate icon links (16 to 512 pixels, PNG and ICO) and the four
//              root files of a high-density screen: fifteen downloads one after another, each
//              decoded, the widest kept
// Run: build/default/bench/favicon_bench (medians of the repetitions are printed).

#include "BenchMain.h"
#include "core/Logger.h"
#include "editing/SNFaviconHelper.h"

#include "support/LocalHttpServer.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>

#include <benchmark/benchmark.h>

namespace {

using namespace Qt::Literals::StringLiterals;

QByteArray encoded(int side, const char *format)
{
    QImage image(side, side, QImage::Format_ARGB32);
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x)
            image.setPixel(x, y, qRgba(x * 255 / side, y * 255 / side, 128, 255));
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, format);
    return bytes;
}

void Search(benchmark::State &state)
{
    LocalHttpServer server;
    const int sides[] = {16, 32, 48, 64, 96, 128, 180, 192, 256, 512};
    QByteArray page = "<html><head><title>Bench</title>\n";
    for (int i = 0; i < int(state.range(0)); ++i) {
        const int side = sides[i % 10];
        const bool ico = side <= 48;
        const QString path = u"/icons/%1-%2.%3"_s.arg(i).arg(side).arg(ico ? u"ico"_s : u"png"_s);
        server.serve(path, {encoded(side, ico ? "ICO" : "PNG"), 200, ico ? "image/x-icon" : "image/png"});
        page += (i % 2 ? "<link rel=\"apple-touch-icon\" href=\"" : "<link rel=\"icon\" href=\"") + path.toUtf8() +
                "\">\n";
    }
    page += "</head><body>" + QByteArray(20000, 'x') + "</body></html>";
    server.serve(u"/"_s, {page, 200, "text/html; charset=utf-8"});
    server.serve(u"/favicon.ico"_s, {encoded(32, "ICO"), 200, "image/x-icon"});

    SNFaviconHelper helper(SNFaviconHelper::Density::High);
    for (auto _ : state) {
        const SNFaviconHelper::Found found = helper.searchFavicon(server.url());
        if (found.width() != 512)
            state.SkipWithError("the widest icon was not found");
    }
}

} // namespace

BENCHMARK(Search)->Arg(10)->Unit(benchmark::kMillisecond)->Iterations(10)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

SORVANE_BENCHMARK_MAIN()
