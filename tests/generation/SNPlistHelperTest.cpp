#include "generation/SNPlistHelper.h"

#include "core/PropertyList.h"

#include "support/TestContext.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

// The Info.plist as an independent reader sees it.
QJsonObject writtenInfo(TestContext &test, const QString &appName, bool registerAsBrowser, bool passwordManager)
{
    const QString path = test.root() + QStringLiteral("/Info.plist");
    if (!PropertyList::writeFile(path, SNPlistHelper::infoDictionary(appName, registerAsBrowser, passwordManager,
                                                                     QStringLiteral("0.1.0"),
                                                                     QStringLiteral("com.ondrel.sorvane"))))
        return {};
    return QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
}

QJsonObject json(const char *text)
{
    return QJsonDocument::fromJson(QByteArray(text)).object();
}

// Reviewed by hand: "My App", not registered as a browser, no password-manager compatibility.
const char *const plainGolden = R"({
    "CFBundleIconFile": "icon.icns",
    "CFBundleExecutable": "My App",
    "CFBundleShortVersionString": "0.1.0",
    "CFBundleInfoDictionaryVersion": "6",
    "CFBundleName": "My App",
    "CFBundlePackageType": "APPL",
    "NSHighResolutionCapable": true,
    "CFBundleVersion": "1",
    "LSMinimumSystemVersion": "10.10",
    "CFBundleDisplayName": "My App",
    "CFBundleSignature": "????",
    "DTCompiler": "com.apple.compilers.llvm.clang.1_0",
    "NSAppleScriptEnabled": true,
    "GPUEjectPolicy": "wait",
    "LSEnvironment": {"MallocNanoZone": "0"},
    "NSUserNotificationAlertStyle": "banner",
    "NSPrincipalClass": "NSApplication",
    "LSFileQuarantineEnabled": true,
    "NSSupportsAutomaticGraphicsSwitching": true,
    "NSCameraUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "NSMicrophoneUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "NSAudioCaptureUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "NSLocationUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "NSBluetoothAlwaysUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "NSBluetoothPeripheralUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "NSLocalNetworkUsageDescription": "Once My App has access, websites will be able to ask you for access.",
    "CFBundleIdentifier": "com.Ondrel.SorvaneMy_App",
    "SorvaneApp": true,
    "SorvaneCreatorID": "com.ondrel.sorvane"
})";

const char *const browserKeys = R"({
    "NSUserActivityTypes": ["NSUserActivityTypeBrowsingWeb"],
    "CFBundleURLTypes": [
        {"CFBundleURLName": "Web site URL", "CFBundleURLSchemes": ["http", "https"]},
        {"CFBundleURLName": "FTP site URL", "CFBundleURLSchemes": ["ftp"]},
        {"CFBundleURLName": "Local file URL", "CFBundleURLSchemes": ["file"]}
    ],
    "CFBundleDocumentTypes": [{
        "CFBundleTypeExtensions": ["html", "htm"],
        "CFBundleTypeIconFile": "document.icns",
        "CFBundleTypeName": "HTML document",
        "CFBundleTypeRole": "Viewer",
        "CFBundleTypeMIMETypes": ["text/html"],
        "CFBundleTypeOSTypes": ["HTML"]
    }]
})";

} // namespace

struct OptionCase
{
    bool registerAsBrowser;
    bool passwordManager;
};

void PrintTo(const OptionCase &c, std::ostream *os)
{
    *os << "registerAsBrowser=" << c.registerAsBrowser << " passwordManager=" << c.passwordManager;
}

class SNPlistHelperOptions : public ::testing::TestWithParam<OptionCase>
{
};

TEST_P(SNPlistHelperOptions, AddsOnlyTheKeysOfTheChosenOptions)
{
    TestContext test;
    QJsonObject expected = json(plainGolden);
    ASSERT_FALSE(expected.isEmpty());
    if (GetParam().registerAsBrowser) {
        const QJsonObject extra = json(browserKeys);
        ASSERT_EQ(extra.size(), 3);
        for (auto it = extra.begin(); it != extra.end(); ++it)
            expected.insert(it.key(), it.value());
    }
    if (GetParam().passwordManager)
        expected.insert(QStringLiteral("SorvanePasswordManagerCompatibility"), true);
    EXPECT_EQ(writtenInfo(test, QStringLiteral("My App"), GetParam().registerAsBrowser, GetParam().passwordManager),
              expected);
}

INSTANTIATE_TEST_SUITE_P(Table, SNPlistHelperOptions,
                         ::testing::Values(OptionCase{false, false}, OptionCase{true, false}, OptionCase{false, true},
                                           OptionCase{true, true}));

struct IdentifierCase
{
    QString appName;
    QString identifier;
};

void PrintTo(const IdentifierCase &c, std::ostream *os)
{
    *os << c.appName.toStdString();
}

class SNPlistHelperName : public ::testing::TestWithParam<IdentifierCase>
{
};

TEST_P(SNPlistHelperName, KeepsTheNameAndReplacesOnlyBlanksInTheIdentifier)
{
    TestContext test;
    const QString name = GetParam().appName;
    const QJsonObject info = writtenInfo(test, name, false, false);
    EXPECT_EQ(info.value(QStringLiteral("CFBundleIdentifier")).toString(), GetParam().identifier);
    for (const char *key : {"CFBundleExecutable", "CFBundleName", "CFBundleDisplayName"})
        EXPECT_EQ(info.value(QLatin1String(key)).toString(), name) << key;
    EXPECT_EQ(info.value(QStringLiteral("NSLocalNetworkUsageDescription")).toString(),
              QStringLiteral("Once ") + name + QStringLiteral(" has access, websites will be able to ask you for access."));
}

INSTANTIATE_TEST_SUITE_P(
    Table, SNPlistHelperName,
    ::testing::Values(IdentifierCase{QStringLiteral("Mail"), QStringLiteral("com.Ondrel.SorvaneMail")},
                      IdentifierCase{QStringLiteral(" Two  Blanks "), QStringLiteral("com.Ondrel.Sorvane_Two__Blanks_")},
                      IdentifierCase{QStringLiteral("Café-Ü.2 & %1 \"q\""), QStringLiteral("com.Ondrel.SorvaneCafé-Ü.2_&_%1_\"q\"")},
                      IdentifierCase{QStringLiteral("a_b\u00a0c"), QStringLiteral("com.Ondrel.Sorvanea_b\u00a0c")}));
