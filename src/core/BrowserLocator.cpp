#include "core/BrowserLocator.h"

#include "core/BrowserCatalogue.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

struct FixedPlace
{
    BrowserPackaging packaging;
    QString path;
};

// Where each packaging puts a browser. The catalogue's Linux default comes first in `fixed`.
struct Places
{
    QList<FixedPlace> fixed;
    QStringList commands; // names on PATH
    QString snap;         // the Snap's name
    QString flatpak;      // the Flatpak's application id
};

Places placesOf(const BrowserInfo &browser)
{
    const QString &key = browser.typeKey;
    // Only Chromium's default is a distribution's own package; the others are their makers'.
    const FixedPlace own{key == u"chromium"_s ? BrowserPackaging::Native : BrowserPackaging::Vendor,
                         browser.linuxEnginePath};
    if (key == u"chrome"_s)
        return {{own}, {u"google-chrome-stable"_s, u"google-chrome"_s}, {}, u"com.google.Chrome"_s};
    if (key == u"canary"_s)
        return {{own}, {u"google-chrome-canary"_s}, {}, {}};
    if (key == u"brave"_s)
        return {{own}, {u"brave-browser"_s, u"brave-browser-stable"_s}, u"brave"_s, u"com.brave.Browser"_s};
    if (key == u"edge"_s)
        return {{own}, {u"microsoft-edge-stable"_s, u"microsoft-edge"_s}, {}, u"com.microsoft.Edge"_s};
    if (key == u"opera"_s)
        return {{own, {BrowserPackaging::Vendor, u"/usr/lib64/opera/opera"_s}}, {u"opera"_s}, u"opera"_s, u"com.opera.Opera"_s};
    if (key == u"chromium"_s)
        // Debian's and Arch's path is the catalogue's; then Fedora's and openSUSE's.
        return {{own,
                 {BrowserPackaging::Native, u"/usr/lib64/chromium-browser/chromium-browser"_s},
                 {BrowserPackaging::Native, u"/usr/lib64/chromium/chromium"_s}},
                {u"chromium"_s, u"chromium-browser"_s},
                u"chromium"_s,
                u"org.chromium.Chromium"_s};
    if (key == u"vivaldi"_s)
        return {{own}, {u"vivaldi-stable"_s, u"vivaldi"_s}, u"vivaldi"_s, u"com.vivaldi.Vivaldi"_s};
    return {{own}, {}, {}, {}};
}

bool isExecutableFile(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

bool isElfExecutable(const QString &path)
{
    if (!isExecutableFile(path))
        return false;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.read(4) == QByteArray("\x7f" "ELF", 4);
}

const QString SnapFolders[] = {u"/snap/bin/"_s, u"/var/lib/snapd/snap/bin/"_s};
const QString SystemFlatpakFolder = u"/var/lib/flatpak/exports/bin/"_s;
const QString UserFlatpakFolder = u"/.local/share/flatpak/exports/bin/"_s;

} // namespace

BrowserLocator::BrowserLocator(const QString &homeFolder, const QString &pathVariable, const QString &configHome)
    : m_home(homeFolder), m_pathFolders(pathVariable.split(u':', Qt::SkipEmptyParts)),
      m_configHome(QDir::isAbsolutePath(configHome) ? QDir::cleanPath(configHome) : QString())
{
}

BrowserLocator BrowserLocator::fromEnvironment()
{
    return BrowserLocator(QDir::homePath(), qEnvironmentVariable("PATH"), qEnvironmentVariable("XDG_CONFIG_HOME"));
}

BrowserLocator BrowserLocator::forHome(const QString &homeFolder)
{
    const bool own = QDir::cleanPath(homeFolder) == QDir::cleanPath(QDir::homePath());
    return BrowserLocator(homeFolder, qEnvironmentVariable("PATH"), own ? qEnvironmentVariable("XDG_CONFIG_HOME") : QString());
}

QString BrowserLocator::installedUserDataFolder(const BrowserInfo &browser, const QString &homeFolder,
                                                const UserDefaults &defaults)
{
    if (Platform::isMac())
        return BrowserCatalogue::userDataFolder(browser, homeFolder);
    const BrowserLocator locator = forHome(homeFolder);
    return locator.userDataFolder(browser, locator.locate(browser, defaults));
}

QList<BrowserInstallation> BrowserLocator::installations(const BrowserInfo &browser) const
{
    const Places places = placesOf(browser);
    QList<BrowserInstallation> found;
    QStringList seen; // canonical engines, so one binary reached twice is listed once
    const auto add = [&](const BrowserInstallation &installation) {
        const QString canonical = QFileInfo(installation.enginePath).canonicalFilePath();
        if (seen.contains(canonical))
            return;
        seen.append(canonical);
        found.append(installation);
    };
    for (const FixedPlace &place : places.fixed) {
        if (isExecutableFile(place.path))
            add({place.packaging, place.path, place.path, {}, true});
    }

    // PATH names: a link to the real binary is followed; a vendor's wrapper script is passed by
    // for the binary beside it, the one the catalogue's own default names. Anything else is kept
    // as it is, after every other packaging.
    const QString realName = QFileInfo(browser.linuxEnginePath).fileName();
    QList<BrowserInstallation> wrappers;
    for (const QString &command : places.commands) {
        for (const QString &folder : m_pathFolders) {
            const QString candidate = QDir(folder).filePath(command);
            if (!isExecutableFile(candidate))
                continue;
            const QString target = QFileInfo(candidate).canonicalFilePath();
            // The snap launcher under the browser's name: the Snap's own candidate says it better.
            if (QFileInfo(target).fileName() == u"snap"_s || target.startsWith(u"/snap/"_s))
                break;
            const QString beside = QFileInfo(target).dir().filePath(realName);
            if (isElfExecutable(target))
                add({BrowserPackaging::Path, target, candidate, u"found on PATH as %1"_s.arg(candidate), true});
            else if (isElfExecutable(beside))
                add({BrowserPackaging::Path, beside, candidate,
                     u"found on PATH as %1, a wrapper script; its real binary beside it is used"_s.arg(candidate), true});
            else
                wrappers.append({BrowserPackaging::Path, candidate, candidate,
                                 u"found on PATH as %1, a wrapper script whose real binary is not known; the engine "
                                 "starts the wrapper"_s.arg(candidate),
                                 true});
            break;
        }
    }

    if (!places.snap.isEmpty()) {
        for (const QString &folder : SnapFolders) {
            if (isExecutableFile(folder + places.snap)) {
                add({BrowserPackaging::Snap, folder + places.snap, folder + places.snap, {}, true});
                break;
            }
        }
    }
    if (!places.flatpak.isEmpty()) {
        if (isExecutableFile(SystemFlatpakFolder + places.flatpak))
            found.append({BrowserPackaging::FlatpakSystem, SystemFlatpakFolder + places.flatpak,
                          SystemFlatpakFolder + places.flatpak, {}, true});
        const QString user = m_home + UserFlatpakFolder + places.flatpak;
        if (isExecutableFile(user))
            found.append({BrowserPackaging::FlatpakUser, user, user, {}, true});
    }
    for (const BrowserInstallation &wrapper : std::as_const(wrappers))
        add(wrapper);
    return found;
}

BrowserInstallation BrowserLocator::locate(const BrowserInfo &browser, const UserDefaults &defaults) const
{
    const QString chosen = defaults.stringForKey(browser.settingsKey);
    if (!chosen.isEmpty())
        return {packagingOfEnginePath(chosen), chosen, chosen, u"the user's %1 setting"_s.arg(browser.settingsKey),
                isExecutableFile(chosen)};
    const QList<BrowserInstallation> found = installations(browser);
    if (!found.isEmpty())
        return found.constFirst();
    return {placesOf(browser).fixed.constFirst().packaging, browser.linuxEnginePath, browser.linuxEnginePath, {}, false};
}

QString BrowserLocator::userDataFolder(const BrowserInfo &browser, const BrowserInstallation &installation) const
{
    const QString &folder = browser.linuxUserDataFolder;
    const QString name = confinedName(installation.enginePath);
    switch (packagingOfEnginePath(installation.enginePath, installation.packaging)) {
    case BrowserPackaging::Snap: {
        // A Snap keeps its data under ~/snap/<name>: Chromium's in common/, most others in the
        // revision's own .config (~/snap/<name>/current is a link to it).
        const QString common = u"%1/snap/%2/common/%3"_s.arg(m_home, name, folder);
        const QString current = u"%1/snap/%2/current/.config/%3"_s.arg(m_home, name, folder);
        if (QFileInfo(common).isDir())
            return common;
        if (QFileInfo(current).isDir())
            return current;
        return browser.typeKey == u"chromium"_s ? common : current;
    }
    case BrowserPackaging::FlatpakSystem:
    case BrowserPackaging::FlatpakUser:
        return u"%1/.var/app/%2/config/%3"_s.arg(m_home, name, folder);
    case BrowserPackaging::Setting:
    case BrowserPackaging::Native:
    case BrowserPackaging::Vendor:
    case BrowserPackaging::Path:
        break;
    }
    return (m_configHome.isEmpty() ? m_home + u"/.config"_s : m_configHome) + u'/' + folder;
}

BrowserPackaging BrowserLocator::packagingOfEnginePath(const QString &enginePath, BrowserPackaging otherwise)
{
    for (const QString &folder : SnapFolders) {
        if (enginePath.startsWith(folder) && enginePath.size() > folder.size())
            return BrowserPackaging::Snap;
    }
    if (enginePath.contains(u"/flatpak/exports/bin/"_s) && !enginePath.endsWith(u'/'))
        return enginePath.contains(UserFlatpakFolder) ? BrowserPackaging::FlatpakUser : BrowserPackaging::FlatpakSystem;
    return otherwise;
}

bool BrowserLocator::isConfined(BrowserPackaging packaging)
{
    return packaging == BrowserPackaging::Snap || packaging == BrowserPackaging::FlatpakSystem ||
           packaging == BrowserPackaging::FlatpakUser;
}

QString BrowserLocator::packagingKey(BrowserPackaging packaging)
{
    switch (packaging) {
    case BrowserPackaging::Setting:
        return u"setting"_s;
    case BrowserPackaging::Native:
        return u"native"_s;
    case BrowserPackaging::Vendor:
        return u"vendor"_s;
    case BrowserPackaging::Path:
        return u"path"_s;
    case BrowserPackaging::Snap:
        return u"snap"_s;
    case BrowserPackaging::FlatpakSystem:
        return u"flatpak-system"_s;
    case BrowserPackaging::FlatpakUser:
        return u"flatpak-user"_s;
    }
    return u"setting"_s;
}

QString BrowserLocator::confinedName(const QString &enginePath)
{
    if (!isConfined(packagingOfEnginePath(enginePath)))
        return {};
    return enginePath.mid(enginePath.lastIndexOf(u'/') + 1);
}

QString BrowserLocator::typeKeyOfEnginePath(const QString &enginePath)
{
    const QString file = enginePath.section(u'/', -1);
    const bool confined = isConfined(packagingOfEnginePath(enginePath));
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const Places places = placesOf(browser);
        for (const FixedPlace &place : places.fixed) {
            if (place.path == enginePath)
                return browser.typeKey;
        }
        if (confined ? file == places.snap || file == places.flatpak : places.commands.contains(file))
            return browser.typeKey;
    }
    return {};
}
