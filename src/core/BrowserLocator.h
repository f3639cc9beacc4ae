#pragma once

#include "core/BrowserInfo.h"

#include <QList>
#include <QString>
#include <QStringList>

class UserDefaults;

// How a browser came onto a Linux machine. Each packaging keeps its engine and its user data in
// places of its own, and starts its engine its own way.
enum class BrowserPackaging {
    Setting,       // the user's own `<key>Path` setting
    Native,        // the distribution's package (Debian, Fedora, openSUSE, Arch)
    Vendor,        // the browser maker's .deb/.rpm under /opt
    Path,          // a name found on PATH
    Snap,          // /snap/bin/<name>, a link to the snap launcher
    FlatpakSystem, // /var/lib/flatpak/exports/bin/<app id>
    FlatpakUser,   // ~/.local/share/flatpak/exports/bin/<app id>
};

struct BrowserInstallation
{
    BrowserPackaging packaging = BrowserPackaging::Vendor;
    QString enginePath;  // what the app's engine starts
    QString source;      // where it was found (a PATH entry before resolving); else the engine path
    QString note;        // what a person should know about this choice; may be empty
    bool found = false;
};

// Finds the browsers of the catalogue where Linux users have them. The candidates of one browser
// are tried in a fixed order: the catalogue's own default first (so machines that had it keep
// exactly what they had), the distributions' and vendors' other places, names on PATH that lead
// to the real binary, Snap, Flatpak (system, then per-user), and last a PATH wrapper script kept
// as it is. The user's setting wins over all of them.
class BrowserLocator final
{
public:
    // `homeFolder` for the per-user Flatpak installation and the user-data folders; `pathVariable`
    // is searched for the browsers' commands; `configHome` is $XDG_CONFIG_HOME (empty: unset).
    BrowserLocator(const QString &homeFolder, const QString &pathVariable, const QString &configHome);
    // The process's HOME, PATH and XDG_CONFIG_HOME.
    static BrowserLocator fromEnvironment();
    // For the given home: the process's PATH, and its XDG_CONFIG_HOME only when that home is the
    // process's own (the variable belongs to it).
    static BrowserLocator forHome(const QString &homeFolder);
    // The user-data folder of the browser as it is installed for that home: on macOS the
    // catalogue's, on Linux the one of the packaging `locate` picks.
    static QString installedUserDataFolder(const BrowserInfo &browser, const QString &homeFolder,
                                           const UserDefaults &defaults);

    // Every installation of the browser that is there, in the order of preference.
    QList<BrowserInstallation> installations(const BrowserInfo &browser) const;
    // The user's setting when there is one, else the first installation found, else the
    // catalogue's default (not found): a missing browser is never swapped for another.
    BrowserInstallation locate(const BrowserInfo &browser, const UserDefaults &defaults) const;

    // The browser's user-data folder for an installation: where its profiles live. Native,
    // vendor and PATH installations follow $XDG_CONFIG_HOME as the browsers do.
    QString userDataFolder(const BrowserInfo &browser, const BrowserInstallation &installation) const;

    // The packaging an engine path stands for, told by the path alone: Snap and Flatpak paths,
    // otherwise `otherwise`.
    static BrowserPackaging packagingOfEnginePath(const QString &enginePath,
                                                  BrowserPackaging otherwise = BrowserPackaging::Setting);
    static bool isConfined(BrowserPackaging packaging);
    // "setting", "native", "vendor", "path", "snap", "flatpak-system", "flatpak-user".
    static QString packagingKey(BrowserPackaging packaging);
    // The catalogue key of an engine path of any packaging: a known place, a Snap's name, a
    // Flatpak's application id or a command name; empty when none fits.
    static QString typeKeyOfEnginePath(const QString &enginePath);
    // The Snap's name or the Flatpak's application id of a confined engine path; empty otherwise.
    static QString confinedName(const QString &enginePath);

private:
    QString m_home;
    QStringList m_pathFolders;
    QString m_configHome;
};
