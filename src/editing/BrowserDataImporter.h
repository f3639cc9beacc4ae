#pragma once

#include "editing/ImportCategory.h"
#include "editing/ImportSummary.h"
#include "editing/SNExtensionDiscovery.h"

#include <QList>
#include <QString>

// Copies chosen kinds of data from a profile of the user's browser into a new app's own profile
// ("Contents/Profile/Default"):
//   bookmarks   "Bookmarks"
//   settings    "Preferences", keeping of the extension records only those of the chosen extensions
//   history     the "History", "Favicons" and "Top Sites" databases
//   passwords   the "Login Data" and "Login Data For Account" databases
//   extensions  each chosen extension's folder and its own settings folders
// A database is copied with its journal files, and only while no browser runs on the source
// folder (a running browser keeps them open and may be writing); bookmarks and settings, which
// the browser replaces whole, are copied at any time. Every file lands by rename.
class BrowserDataImporter final
{
public:
    explicit BrowserDataImporter(const QString &userDataFolder);

    // Whether a browser runs on the user-data folder now: its SingletonLock names a live process
    // of this machine, or another machine.
    bool sourceInUse() const;
    // Whether importing these categories needs the browser to be closed.
    static bool needsClosedBrowser(const QList<ImportCategory> &categories,
                                   const QList<ImportableExtension> &extensions);

    ImportSummary importData(const QString &profileKey, const QList<ImportCategory> &categories,
                             const QList<ImportableExtension> &extensions, const QString &targetProfileFolder) const;

private:
    enum class Outcome { Copied, Absent, Failed, InUse };

    // Sources are paths inside the user-data folder; nothing is read through a link there.
    bool copyTree(const QString &source, const QString &target) const;
    Outcome copyFile(const QString &source, const QString &target) const;
    Outcome copySettings(const QString &source, const QString &target,
                         const QList<ImportableExtension> &extensions) const;
    Outcome copyDatabase(const QString &source, const QString &target) const;
    Outcome copyExtension(const QString &sourceProfile, const QString &targetProfile, const QString &id) const;

    QString m_userDataFolder;
};
