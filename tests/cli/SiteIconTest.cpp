// `sorvane icon`, and `sorvane create` looking for the site's icon, against a loopback server.

#include "CliSandbox.h"

#include "support/LocalHttpServer.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QJsonObject>
#include <QTcpServer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray png(int side)
{
    QImage image(side, side, QImage::Format_ARGB32);
    image.fill(Qt::darkGreen);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

} // namespace

// Without a screen the touch icons take part; the address has no scheme, so http:// is used.
TEST(IconCommand, PrintsAndWritesTheSitesWidestIcon)
{
    CliSandbox sandbox;
    LocalHttpServer server;
    server.serveBody(u"/"_s, R"(<link rel="shortcut icon" href="/small.png"><link rel="apple-touch-icon" href="/touch.png">)");
    server.serveBody(u"/small.png"_s, png(16));
    server.serveBody(u"/touch.png"_s, png(180));
    const QString output = sandbox.test.root() + u"/icon.png"_s;

    const CliRun found = sandbox.sorvane(
        {u"icon"_s, u"127.0.0.1:%1/"_s.arg(server.port()), u"--output"_s, output, u"--json"_s});
    ASSERT_EQ(found.exitCode, 0) << found.err.constData();
    const QJsonObject result = QJsonDocument::fromJson(found.out).object();
    EXPECT_EQ(result.value(u"url"_s).toString(), server.url().toString());
    EXPECT_EQ(result.value(u"source"_s).toString(), server.url(u"/touch.png"_s).toString());
    EXPECT_EQ(result.value(u"width"_s).toInt(), 180);
    EXPECT_EQ(result.value(u"output"_s).toString(), output);
    QImageReader written(output);
    EXPECT_EQ(written.format(), "png");
    EXPECT_EQ(written.size(), QSize(180, 180));

    const CliRun plain = sandbox.sorvane({u"icon"_s, server.url().toString()});
    EXPECT_EQ(plain.exitCode, 0);
    EXPECT_EQ(plain.out, server.url(u"/touch.png"_s).toString().toUtf8() + " 180x180\n");

    const CliRun none = sandbox.sorvane({u"icon"_s, server.url(u"/nothing/"_s).toString()});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(none.err.contains("icon: none found for")) << none.err.constData();
}

// Creation without --icon takes the site's icon; with none there (or nobody answering) the app
// gets the default icon and one line says so; --no-icon-search asks nobody.
TEST(CreateCommand, WithoutAnIconTakesTheSitesOwn)
{
    Home home;
    home.environment.remove(u"SORVANE_NO_ICON_SEARCH"_s);
    LocalHttpServer server;
    server.serveBody(u"/"_s, R"(<link rel="icon" href="/i.png">)");
    server.serveBody(u"/i.png"_s, png(64));
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QString nobody = u"http://127.0.0.1:%1/"_s.arg(closed.serverPort());
    closed.close();

    struct Row
    {
        QString name;
        QString url;
        QStringList more;
        QByteArray line; // empty: no line about the icon
        bool icon;
    };
    const QList<Row> rows = {
        {u"Found"_s, server.url().toString(), {}, "icon: " + server.url(u"/i.png"_s).toEncoded() + " (64x64)", true},
        {u"Nobody"_s, nobody, {}, "icon: none found at " + nobody.toUtf8() + "; the app gets the default icon", false},
        {u"Off"_s, server.url().toString(), {u"--no-icon-search"_s}, {}, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name.toStdString());
        const qsizetype requestsBefore = server.requestedPaths().size();
        const CliRun run = home.sorvane(QStringList{u"create"_s, u"--name"_s, row.name, u"--url"_s, row.url,
                                                    u"--browser"_s, u"chromium"_s, u"--into"_s, home.apps} +
                                        row.more);
        ASSERT_EQ(run.exitCode, 0) << run.err.constData();
        EXPECT_EQ(QFile::exists(home.bundle(row.name) + u"/Contents/Resources/icon.icns"_s), row.icon);
        QList<QByteArray> lines = run.err.split('\n');
        lines.removeIf([](const QByteArray &line) { return !line.startsWith("icon:"); });
        EXPECT_EQ(lines, row.line.isEmpty() ? QList<QByteArray>() : QList<QByteArray>{row.line});
        if (row.more.contains(u"--no-icon-search"_s)) {
            EXPECT_EQ(server.requestedPaths().size(), requestsBefore);
        }
    }
}
