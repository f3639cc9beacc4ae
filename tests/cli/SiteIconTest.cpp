// `sorvane icon`, and `sorvane create` looking for the site's icon, against a loopback server.

#include "CliSandbox.h"

#include "support/LocalHttpServer.h"

#include <QFile>
#include <QImageReader>
#include <QTcpServer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

static QByteArray png(int side) { return LocalHttpServer::icon(side); }

// Without a screen the touch icons take part; an address without a scheme is fetched with http://.
TEST(IconCommand, PrintsAndWritesTheSitesWidestIcon)
{
    CliSandbox sandbox;
    LocalHttpServer server;
    server.serve(u"/"_s, {R"(<link rel="shortcut icon" href="/small.png"><link rel="apple-touch-icon" href="/touch.png">)"});
    server.serve(u"/small.png"_s, {png(16)});
    server.serve(u"/touch.png"_s, {png(180)});
    const QString output = sandbox.test.root() + u"/icon.png"_s;

    const CliRun json = sandbox.sorvane({u"icon"_s, u"127.0.0.1:%1/"_s.arg(server.port()), u"--output"_s, output, u"--json"_s});
    ASSERT_EQ(json.exitCode, 0) << json.err.constData();
    EXPECT_EQ(QJsonDocument::fromJson(json.out).object().toVariantMap(),
              (QVariantMap{{u"url"_s, server.url().toString()}, {u"source"_s, server.url(u"/touch.png"_s).toString()},
                           {u"width"_s, 180}, {u"height"_s, 180}, {u"output"_s, output}}));
    EXPECT_EQ(QImageReader(output).format(), "png");
    EXPECT_EQ(QImageReader(output).size(), QSize(180, 180));

    const CliRun plain = sandbox.sorvane({u"icon"_s, server.url().toString()});
    EXPECT_EQ(plain.out, server.url(u"/touch.png"_s).toEncoded() + " 180x180\n");
    const CliRun none = sandbox.sorvane({u"icon"_s, server.url(u"/nothing/"_s).toString()});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_TRUE(none.err.startsWith(QByteArray("sorvane icon: URL: no icon found at " + server.url(u"/nothing/"_s).toEncoded() + " ("))) << none.err.constData();
}

// Without --icon creation takes the site's icon; with none there (or nobody answering) the app gets
// its initial drawn as its icon and one line says so; --no-icon-search asks nobody.
TEST(CreateCommand, WithoutAnIconTakesTheSitesOwn)
{
    Home home;
    home.environment.remove(u"SORVANE_NO_ICON_SEARCH"_s);
    LocalHttpServer server;
    server.serve(u"/"_s, {R"(<link rel="icon" href="/i.png">)"});
    server.serve(u"/i.png"_s, {png(64)});
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const QString nobody = u"http://127.0.0.1:%1/"_s.arg(closed.serverPort());
    closed.close();

    const QList<std::tuple<QString, QString, QByteArray>> rows = {
        {u"Found"_s, server.url().toString(), "icon: " + server.url(u"/i.png"_s).toEncoded() + " (64x64)\n"},
        {u"Nobody"_s, nobody, "icon: none found at " + nobody.toUtf8() + "; the app gets its initial as its icon\n"},
        {u"Off"_s, server.url().toString(), {}},
    };
    for (const auto &[name, url, line] : rows) {
        SCOPED_TRACE(name.toStdString());
        const qsizetype requestsBefore = server.seen().paths.size();
        QStringList arguments{u"create"_s, u"--name"_s, name, u"--url"_s, url, u"--browser"_s, u"chromium"_s,
                              u"--into"_s, home.apps};
        if (line.isEmpty())
            arguments.append(u"--no-icon-search"_s);
        const CliRun run = home.sorvane(arguments);
        ASSERT_EQ(run.exitCode, 0) << run.err.constData();
        EXPECT_EQ(run.err, line);
        // The site's icon is the one 64 pixel image in the icon file; a drawn initial has none.
        QImageReader icon(home.bundle(name) + u"/Contents/Resources/icon.icns"_s, "icns");
        bool site = false;
        for (int i = 0; i < icon.imageCount() && icon.jumpToImage(i); ++i)
            site = site || icon.read().width() == 64;
        EXPECT_GT(icon.imageCount(), 0);
        EXPECT_EQ(site, name == u"Found"_s);
        EXPECT_EQ(server.seen().paths.size() > requestsBefore, name == u"Found"_s);
    }
}
