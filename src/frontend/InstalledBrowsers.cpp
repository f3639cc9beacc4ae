#include "frontend/InstalledBrowsers.h"

#include "core/BrowserCatalogue.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"

#include <QFileInfo>

QString InstalledBrowsers::defaultPath(int applicationType)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(applicationType);
    return Platform::isMac() ? BrowserCatalogue::bundleOfEngine(browser.macEnginePath) : browser.linuxEnginePath;
}

bool InstalledBrowsers::isInstalled(int applicationType, const UserDefaults &defaults)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(applicationType);
    const QFileInfo configured(defaults.stringForKey(browser.settingsKey));
    if (!configured.filePath().isEmpty() && configured.exists() && !configured.isDir())
        return true;
    const QFileInfo fallback(defaultPath(applicationType));
    return Platform::isMac() ? fallback.isDir() : fallback.isFile() && fallback.isExecutable();
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
