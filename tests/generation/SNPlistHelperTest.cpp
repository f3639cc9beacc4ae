#include "generation/SNPlistHelper.h"

#include "core/PropertyList.h"

#include "support/TestContext.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// The Info.plist as an independent reader (python's plistlib) sees it.
QJsonObject writtenInfo(const QString &name, bool browser, bool passwordManager)
{
    TestContext test;
    const QString path = test.root() + u"/Info.plist"_s;
    const QVariantMap info =
        SNPlistHelper::infoDictionary(name, browser, passwordManager, u"0.1.0"_s, u"com.ondrel.sorvane"_s);
    EXPECT_TRUE(PropertyList::writeFile(path, info));
    return QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
}

// Reviewed by hand: "My App" with both options on. USAGE stands for the text of every usage description.
const char *const golden = R"({
    "CFBundleIconFile": "icon.icns", "CFBundleExecutable": "My App", "CFBundleShortVersionString": "0.1.0",
    "CFBundleInfoDictionaryVersion": "6", "CFBundleName": "My App", "CFBundleDisplayName": "My App",
    "CFBundlePackageType": "APPL", "CFBundleVersion": "1", "CFBundleSignature": "????",
    "NSHighResolutionCapable": true, "LSMinimumSystemVersion": "10.10", "NSAppleScriptEnabled": true,
    "DTCompiler": "com.apple.compilers.llvm.clang.1_0", "NSSupportsAutomaticGraphicsSwitching": true,
    "LSEnvironment": {"MallocNanoZone": "0"}, "NSUserNotificationAlertStyle": "banner",
    "NSPrincipalClass": "NSApplication", "GPUEjectPolicy": "wait", "LSFileQuarantineEnabled": true,
    "NSCameraUsageDescription": "USAGE", "NSMicrophoneUsageDescription": "USAGE",
    "NSAudioCaptureUsageDescription": "USAGE", "NSLocationUsageDescription": "USAGE",
    "NSBluetoothAlwaysUsageDescription": "USAGE", "NSBluetoothPeripheralUsageDescription": "USAGE",
    "NSLocalNetworkUsageDescription": "USAGE", "CFBundleIdentifier": "com.Ondrel.SorvaneMy_App",
    "SorvaneApp": true, "SorvaneCreatorID": "com.ondrel.sorvane", "SorvanePasswordManagerCompatibility": true,
    "NSUserActivityTypes": ["NSUserActivityTypeBrowsingWeb"],
    "CFBundleURLTypes": [{"CFBundleURLName": "Web site URL", "CFBundleURLSchemes": ["http", "https"]},
                         {"CFBundleURLName": "FTP site URL", "CFBundleURLSchemes": ["ftp"]},
                         {"CFBundleURLName": "Local file URL", "CFBundleURLSchemes": ["file"]}],
    "CFBundleDocumentTypes": [{"CFBundleTypeExtensions": ["html", "htm"], "CFBundleTypeName": "HTML document",
                               "CFBundleTypeIconFile": "document.icns", "CFBundleTypeRole": "Viewer",
                               "CFBundleTypeMIMETypes": ["text/html"], "CFBundleTypeOSTypes": ["HTML"]}]
})";

} // namespace

TEST(SNPlistHelper, HoldsExactlyTheTableKeysPlusOnlyThoseOfTheChosenOptions)
{
    const QByteArray usage = "Once My App has access, websites will be able to ask you for access.";
    const QJsonObject all = QJsonDocument::fromJson(QByteArray(golden).replace("USAGE", usage)).object();
    for (int options = 0; options < 4; ++options) {
        const bool browser = options & 1, passwordManager = options & 2;
        SCOPED_TRACE(testing::Message() << "browser=" << browser << " passwordManager=" << passwordManager);
        QJsonObject expected = all;
        if (!browser)
            for (const char *key : {"NSUserActivityTypes", "CFBundleURLTypes", "CFBundleDocumentTypes"})
                expected.remove(QLatin1String(key));
        if (!passwordManager)
            expected.remove(u"SorvanePasswordManagerCompatibility"_s);
        EXPECT_EQ(writtenInfo(u"My App"_s, browser, passwordManager), expected);
    }
}

TEST(SNPlistHelper, KeepsTheNameAndReplacesOnlyBlanksInTheIdentifier)
{
    const std::pair<QString, QString> table[] = {
        {u" Two  Blanks "_s, u"com.Ondrel.Sorvane_Two__Blanks_"_s},
        {u"Café-Ü.2 & %1 \"q\""_s, u"com.Ondrel.SorvaneCafé-Ü.2_&_%1_\"q\""_s},
        {u"a_b\u00a0c\td"_s, u"com.Ondrel.Sorvanea_b\u00a0c\td"_s}};
    for (const auto &[name, identifier] : table) {
        const QJsonObject info = writtenInfo(name, false, false);
        EXPECT_EQ(info.value(u"CFBundleIdentifier"_s).toString(), identifier);
        for (const char *key : {"CFBundleExecutable", "CFBundleName", "CFBundleDisplayName"})
            EXPECT_EQ(info.value(QLatin1String(key)).toString(), name) << key;
    }
}
