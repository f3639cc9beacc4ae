#include "frontend/InstalledBrowsers.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"

#include <QFileInfo>

QString InstalledBrowsers::defaultPath(int applicationType)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(applicationType);
    return Platform::isMac() ? BrowserCatalogue::bundleOfEngine(browser.macEnginePath) : browser.linuxEnginePath;
}

bool InstalledBrowsers::configuredPathCounts(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty() || !info.exists() || info.isDir())
        return false;
    return Platform::isMac() || info.isExecutable();
}

bool InstalledBrowsers::defaultPathCounts(const QString &path)
{
    const QFileInfo info(path);
    if (path.isEmpty())
        return false;
    return Platform::isMac() ? info.isDir() : info.isFile() && info.isExecutable();
}

bool InstalledBrowsers::isInstalled(int applicationType, const UserDefaults &defaults)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(applicationType);
    if (configuredPathCounts(defaults.stringForKey(browser.settingsKey)) || defaultPathCounts(defaultPath(applicationType)))
        return true;
    // Linux browsers also come as Snaps, Flatpaks and from other distributions' places.
    return !Platform::isMac() && !BrowserLocator::fromEnvironment().installations(browser).isEmpty();
}

QList<int> InstalledBrowsers::detect(const UserDefaults &defaults)
{
    QList<int> installed;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        if (isInstalled(browser.number, defaults))
            installed.append(browser.number);
    }
    return installed;
}
