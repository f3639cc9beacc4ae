#include "companion/CompanionInstaller.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

// A TestContext over a copy of the build's companion resources, with dot-files in the extension.
class InstallFixture
{
public:
    InstallFixture()
    {
        const QString built = Context::locateResources(), resources = m_scratch.path() + u"/resources"_s;
        for (const QString &item : {u"/extension.bundle"_s, u"/sorvanemessaginghost"_s})
            EXPECT_TRUE(copyTree(built + item, resources + item));
        writeFile(resources + u"/extension.bundle/Sorvane_Extension/.DS_Store"_s, "x");
        QDir().mkpath(resources + u"/extension.bundle/Sorvane_Extension/.git"_s);
        m_test = std::make_unique<TestContext>(resources);
    }
    TestContext &test() { return *m_test; }
    QString resources() const { return m_test->context().resourcesFolder(); }

private:
    QTemporaryDir m_scratch;
    std::unique_ptr<TestContext> m_test;
};

} // namespace

// Bundle paths with blanks, quotes and a backslash must still give a valid host manifest.
TEST(CompanionInstaller, InstallsExtensionManifestAndHost)
{
    for (const QString &name : {u"Plain"_s, u"Two \"Quoted\" Words \\ Café"_s}) {
        SCOPED_TRACE(name.toStdString());
        InstallFixture fixture;
        const QString contents = fixture.test().root() + u'/' + name + u".app/Contents"_s;
        const QString res = contents + u"/Resources"_s;
        const QString host = res + u"/sorvanemessaginghost"_s;
        QDir().mkpath(res);
        writeFile(host, "stale host of an earlier generation");
        CompanionInstaller installer(fixture.test().context());
        installer.copyExtensionFiles(res);
        installer.configureNativeMessaging(contents + u"/Profile"_s, res);

        const QString extension = res + u"/Sorvane_Extension/"_s;
        EXPECT_EQ(QDir(extension).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
                  (QStringList{u"background.js"_s, u"content.js"_s, u"manifest.json"_s, u"nativeHost.js"_s,
                               u"routing.js"_s}));
        EXPECT_EQ(contentsOrMarker(extension + u"background.js"_s),
                  contentsOrMarker(fixture.resources() + u"/extension.bundle/Sorvane_Extension/background.000"_s));
        EXPECT_EQ(contentsOrMarker(extension + u"nativeHost.js"_s),
                  "export var nativeHost = 'com.ondrel.sorvane.helper';");

        const QString manifest = contents + u"/Profile/NativeMessagingHosts/com.ondrel.sorvane.helper.json"_s;
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(contentsOrMarker(manifest), &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << qPrintable(error.errorString());
        EXPECT_EQ(document["path"_L1].toString(), host);
        EXPECT_EQ(contentsOrMarker(host), contentsOrMarker(fixture.resources() + u"/sorvanemessaginghost"_s));
        EXPECT_TRUE(QFileInfo(host).isExecutable());
    }
}
