#include "generation/AppConfigFile.h"

#include "support/TestContext.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>

#include <gtest/gtest.h>

namespace {

SNImage sampleIcon()
{
    QImage image(64, 64, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.fillRect(8, 8, 40, 20, QColor(10, 200, 30));
    painter.end();
    return SNImage({image});
}

AppDefinition tabbedDefinition()
{
    AppDefinition app;
    app.appName = QStringLiteral("My App");
    app.appURL = QStringLiteral("https://app.example.test");
    app.needTab = true;
    app.tabsList = {TabAddress(QStringLiteral("https://a.test")), TabAddress(QStringLiteral("https://b.test"))};
    app.applicationType = 2;
    app.appIcon = sampleIcon();
    app.incognito = true;
    app.isWhitelistingEnabled = true;
    app.routingRules = {QVariantMap{{QStringLiteral("id"), QStringLiteral("r1")},
                                    {QStringLiteral("pattern"), QStringLiteral(" news.test ")},
                                    {QStringLiteral("action"), QStringLiteral("route")}}};
    app.defaultDestination = QVariantMap{{QStringLiteral("type"), QStringLiteral("in-app")},
                                         {QStringLiteral("junk"), 1}};
    app.accentColor = QStringLiteral("#FF8800");
    app.currentProfileKey = QStringLiteral("Profile 1");
    app.selectedExtensions = {QStringLiteral("abcdefghijklmnopabcdefghijklmnop")};
    app.restoreSession = false;
    app.engineSwitches = {QStringLiteral("--no-sandbox"), QStringLiteral("--lang=de")};
    return app;
}

QJsonObject writeAndReadWithPython(const TestContext &test, const AppDefinition &app)
{
    const QString path = AppConfigFile::path(test.root(), QStringLiteral("ID"));
    EXPECT_TRUE(AppConfigFile::write(path, app));
    return QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
}

} // namespace

TEST(AppConfigFile, HoldsExactlyTheKeysAndTypesOfTheFile)
{
    TestContext test;
    const QJsonObject config = writeAndReadWithPython(test, tabbedDefinition());
    const QJsonObject expected = QJsonDocument::fromJson(R"({
        "needTab": true, "isWhitelistingEnabled": true, "registerAsBrowser": false,
        "applicationType": 2, "browserType": "brave", "tabList": ["https://a.test", "https://b.test"],
        "currentProfileKey": "Profile 1", "appName": "My App", "appURL": "https://app.example.test",
        "selectedExtensions": ["abcdefghijklmnopabcdefghijklmnop"], "useIncognito": true,
        "routingRules": [{"id": "r1", "pattern": "news.test", "action": "route", "destination": {"type": "default"}}],
        "defaultDestination": {"type": "in-app"}, "forceDarkMode": false, "accentColor": "#FF8800",
        "engineSwitches": ["--no-sandbox", "--lang=de"],
        "restoreSession": false, "passwordManagerCompatibility": false})").object();
    QJsonObject withoutIcon = config;
    withoutIcon.remove(QStringLiteral("appIcon"));
    EXPECT_EQ(withoutIcon, expected);

    // The icon: base64 without line breaks, then a TIFF holding the image.
    const QString icon = config.value(QStringLiteral("appIcon")).toString();
    EXPECT_FALSE(icon.contains(u'\n'));
    QByteArray tiff = QByteArray::fromBase64(icon.toLatin1());
    QBuffer buffer(&tiff);
    QImageReader reader(&buffer, "tiff");
    const QImage decoded = reader.read().convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(decoded, sampleIcon().representations().first().convertToFormat(QImage::Format_ARGB32));
}

TEST(AppConfigFile, SingleWindowAppsWriteAnEmptyTabListAndLeaveUnsetKeysOut)
{
    TestContext test;
    AppDefinition app = tabbedDefinition();
    app.needTab = false;
    app.defaultDestination.reset();
    app.accentColor.clear();
    app.currentProfileKey.clear();
    app.selectedExtensions.clear();
    app.engineSwitches.clear();
    const QJsonObject config = writeAndReadWithPython(test, app);
    EXPECT_EQ(config.value(QStringLiteral("tabList")), QJsonValue(QJsonArray()));
    for (const char *absent :
         {"defaultDestination", "accentColor", "currentProfileKey", "selectedExtensions", "engineSwitches"})
        EXPECT_FALSE(config.contains(QString::fromLatin1(absent))) << absent;

    // An invalid default destination is left out too, not written empty.
    app.defaultDestination = QVariantMap{{QStringLiteral("type"), QStringLiteral("browser")}};
    EXPECT_FALSE(writeAndReadWithPython(test, app).contains(QStringLiteral("defaultDestination")));
}

// What a file is read back into is proved by the edits of real apps (tests/launcher/EditingTest)
// and by sets moved between homes (tests/cli/AppSetsTest); here, what older and broken files read as.
TEST(AppConfigFile, OlderAndBrokenFiles)
{
    TestContext test;
    ASSERT_TRUE(QDir().mkpath(test.supportFolder()));
    const QString path = test.supportFolder() + QStringLiteral("/APP-ID.config");
    QString error;
    ASSERT_TRUE(AppConfigFile::write(path, tabbedDefinition(), &error)) << qPrintable(error);

    // Older files without restoreSession restored their session.
    EXPECT_TRUE(AppConfigFile::definitionFromDictionary({}).restoreSession);

    QFile::resize(path, 20);
    EXPECT_FALSE(AppConfigFile::read(path, &error));
    EXPECT_FALSE(error.isEmpty());
}
