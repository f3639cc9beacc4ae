#pragma once

#include <QList>

class UserDefaults;

// Which of the catalogue's browsers are installed, in the catalogue's order. A browser counts
// when the engine the user set for it (its `...Path` setting) is an existing (executable) file, or, failing
// that, when its default is there: on macOS the browser's application bundle, elsewhere its
// engine executable, which must be executable.
class InstalledBrowsers final
{
public:
    static QList<int> detect(const UserDefaults &defaults);
    static bool isInstalled(int applicationType, const UserDefaults &defaults);
    // The default location that proves an installation when no setting does.
    static QString defaultPath(int applicationType);

    // Whether a configured engine path proves an installation: an existing file (elsewhere than
    // on macOS an executable one); a folder proves nothing.
    static bool configuredPathCounts(const QString &path);
    // Whether a default location proves one: the bundle folder on macOS, else the executable.
    static bool defaultPathCounts(const QString &path);
};
