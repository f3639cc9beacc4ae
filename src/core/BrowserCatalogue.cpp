#include "core/BrowserCatalogue.h"

#include "core/BrowserLocator.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// clang-format off
const QList<BrowserInfo> catalogue{
    {
        .number = 0, .typeKey = u"chrome"_s, .browserName = u"Google Chrome"_s,
        .escapedBrowserName = u"Google\\ Chrome"_s, .browserBundleID = u"com.google.Chrome"_s,
        .frameworkFolder = u"Google Chrome Framework.framework"_s, .browserShortName = u"Chrome"_s, .settingsKey = u"chromePath"_s,
        .macEnginePath = u"/Applications/Google Chrome.app/Contents/MacOS/Google Chrome"_s,
        .macUserDataFolder = u"Google/Chrome"_s,
        .linuxEnginePath = u"/opt/google/chrome/chrome"_s, .linuxUserDataFolder = u"google-chrome"_s,
    },
    {
        .number = 1, .typeKey = u"canary"_s, .browserName = u"Google Chrome Canary"_s,
        .escapedBrowserName = u"Google\\ Chrome\\ Canary"_s, .browserBundleID = u"com.google.Chrome.canary"_s,
        .frameworkFolder = u"Google Chrome Framework.framework"_s, .browserShortName = u"Chrome"_s, .settingsKey = u"canaryPath"_s,
        .macEnginePath = u"/Applications/Google Chrome Canary.app/Contents/MacOS/Google Chrome Canary"_s,
        .macUserDataFolder = u"Google/Chrome Canary"_s,
        .linuxEnginePath = u"/opt/google/chrome-canary/chrome"_s, .linuxUserDataFolder = u"google-chrome-canary"_s,
    },
    {
        .number = 2, .typeKey = u"brave"_s, .browserName = u"Brave Browser"_s,
        .escapedBrowserName = u"Brave\\ Browser"_s, .browserBundleID = u"com.brave.Browser"_s,
        .frameworkFolder = u"Brave Browser Framework.framework"_s, .browserShortName = u"Brave"_s, .settingsKey = u"bravePath"_s,
        .macEnginePath = u"/Applications/Brave Browser.app/Contents/MacOS/Brave Browser"_s,
        .macUserDataFolder = u"BraveSoftware/Brave-Browser"_s,
        .linuxEnginePath = u"/opt/brave.com/brave/brave"_s, .linuxUserDataFolder = u"BraveSoftware/Brave-Browser"_s,
    },
    {
        .number = 3, .typeKey = u"edge"_s, .browserName = u"Microsoft Edge"_s,
        .escapedBrowserName = u"Microsoft\\ Edge"_s, .browserBundleID = u"com.microsoft.edgemac"_s,
        .frameworkFolder = u"Microsoft Edge Framework.framework"_s, .browserShortName = u"Edge"_s, .settingsKey = u"edgePath"_s,
        .macEnginePath = u"/Applications/Microsoft Edge.app/Contents/MacOS/Microsoft Edge"_s,
        .macUserDataFolder = u"Microsoft Edge"_s,
        .linuxEnginePath = u"/opt/microsoft/msedge/msedge"_s, .linuxUserDataFolder = u"microsoft-edge"_s,
    },
    {
        .number = 4, .typeKey = u"opera"_s, .browserName = u"Opera"_s,
        .escapedBrowserName = u"Opera"_s, .browserBundleID = u"com.operasoftware.Opera"_s,
        .frameworkFolder = u"Opera Framework.framework"_s, .browserShortName = u"Opera"_s, .settingsKey = u"operaPath"_s,
        .macEnginePath = u"/Applications/Opera.app/Contents/MacOS/Opera"_s,
        .macUserDataFolder = u"com.operasoftware.Opera"_s,
        .linuxEnginePath = u"/usr/lib/x86_64-linux-gnu/opera/opera"_s, .linuxUserDataFolder = u"opera"_s,
    },
    // Chromium has no user-data folder of its own on macOS: profiles come from Google Chrome's.
    {
        .number = 5, .typeKey = u"chromium"_s, .browserName = u"Chromium"_s,
        .escapedBrowserName = u"Chromium"_s, .browserBundleID = u"org.chromium.Chromium"_s,
        .frameworkFolder = u"Chromium Framework.framework"_s, .browserShortName = u"Chromium"_s, .settingsKey = u"chromiumPath"_s,
        .macEnginePath = u"/Applications/Chromium.app/Contents/MacOS/Chromium"_s,
        .macUserDataFolder = u"Google/Chrome"_s,
        .linuxEnginePath = u"/usr/lib/chromium/chromium"_s, .linuxUserDataFolder = u"chromium"_s,
    },
    {
        .number = 6, .typeKey = u"vivaldi"_s, .browserName = u"Vivaldi"_s,
        .escapedBrowserName = u"Vivaldi"_s, .browserBundleID = u"com.google.Chrome"_s,
        .frameworkFolder = u"Vivaldi Framework.framework"_s, .browserShortName = u"Vivaldi"_s, .settingsKey = u"vivaldiPath"_s,
        .macEnginePath = u"/Applications/Vivaldi.app/Contents/MacOS/Vivaldi"_s,
        .macUserDataFolder = u"Vivaldi"_s,
        .linuxEnginePath = u"/opt/vivaldi/vivaldi"_s, .linuxUserDataFolder = u"vivaldi"_s,
    },
    {
        .number = 7, .typeKey = u"helium"_s, .browserName = u"Helium"_s,
        .escapedBrowserName = u"Helium"_s, .browserBundleID = u"com.google.Chrome"_s,
        .frameworkFolder = u"Helium Framework.framework"_s, .browserShortName = u"Helium"_s, .settingsKey = u"heliumPath"_s,
        .macEnginePath = u"/Applications/Helium.app/Contents/MacOS/Helium"_s,
        .macUserDataFolder = u"net.imput.helium"_s,
        .linuxEnginePath = u"/opt/helium/helium"_s, .linuxUserDataFolder = u"net.imput.helium"_s,
    },
};
// clang-format on

} // namespace

const QList<BrowserInfo> &BrowserCatalogue::all()
{
    return catalogue;
}

const BrowserInfo &BrowserCatalogue::byNumber(int applicationType)
{
    if (applicationType < Chrome || applicationType > Helium)
        return catalogue[Chrome];
    return catalogue[applicationType];
}

const BrowserInfo &BrowserCatalogue::byTypeKey(const QString &typeKey)
{
    for (const BrowserInfo &info : catalogue) {
        if (info.typeKey == typeKey)
            return info;
    }
    return catalogue[Chrome];
}

QString BrowserCatalogue::typeKeyForNumber(int applicationType)
{
    return byNumber(applicationType).typeKey;
}

int BrowserCatalogue::numberForTypeKey(const QString &typeKey)
{
    return byTypeKey(typeKey).number;
}

QString BrowserCatalogue::bundleIdForNumber(int applicationType)
{
    if (applicationType >= Canary && applicationType <= Chromium)
        return catalogue[applicationType].browserBundleID;
    return catalogue[Chrome].browserBundleID;
}

QString BrowserCatalogue::extraEngineSwitches(const QString &typeKey)
{
    QString switches = QStringLiteral("--no-default-browser-check");
    if (typeKey == QLatin1String("brave"))
        switches += QStringLiteral(" --disable-brave-update");
    return switches;
}

QString BrowserCatalogue::engineExecutableName(const QString &appName)
{
    return QStringLiteral("%1 Engine").arg(appName);
}

QString BrowserCatalogue::defaultEnginePath(const BrowserInfo &browser)
{
    return Platform::isMac() ? browser.macEnginePath : browser.linuxEnginePath;
}

QString BrowserCatalogue::userDataFolder(const BrowserInfo &browser, const QString &homeFolder)
{
    return userDataFolder(browser, homeFolder, Platform::isMac());
}

QString BrowserCatalogue::userDataFolder(const BrowserInfo &browser, const QString &homeFolder, bool onMac)
{
    if (onMac)
        return homeFolder + QStringLiteral("/Library/Application Support/") + browser.macUserDataFolder;
    return homeFolder + QStringLiteral("/.config/") + browser.linuxUserDataFolder;
}

QString BrowserCatalogue::bundleOfEngine(const QString &enginePath)
{
    QString path = enginePath;
    for (int i = 0; i < 3; ++i)
        path.truncate(qMax<qsizetype>(path.lastIndexOf(u'/'), 0));
    return path;
}

QString BrowserCatalogue::enginePathForScript(const QString &typeKey, const UserDefaults &defaults)
{
    const BrowserInfo &browser = byTypeKey(typeKey);
    const QString chosen = defaults.stringForKey(browser.settingsKey);
    if (!chosen.isEmpty())
        return chosen;
    // Linux browsers come in several packagings; the catalogue's default is the first tried.
    return Platform::isMac() ? defaultEnginePath(browser)
                             : BrowserLocator::fromEnvironment().locate(browser, defaults).enginePath;
}

QString BrowserCatalogue::enginePathForGenerator(int applicationType, const UserDefaults &defaults)
{
    const BrowserInfo &browser = applicationType == Chromium ? catalogue[Chrome] : byNumber(applicationType);
    const QString chosen = defaults.stringForKey(browser.settingsKey);
    return chosen.isEmpty() ? defaultEnginePath(browser) : chosen;
}
