#pragma once


#include <QJsonObject>
#include <QList>
#include <QStringList>
#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// One profile of the installed browser, as profile discovery offers it for import.
struct SNProfileEntry
{
    bool shouldImport = false;
    QString profileKey; // the profile's folder name, e.g. "Default" or "Profile 1"
    QVariantMap userDict; // the profile's entry for Local State's profile.info_cache
};

// Seeds a new app's own browser profile (Contents/Profile) from a profile of the installed
// browser: its preferences and the data of its store-installed extensions, and whole profiles
// the user chose to import, with the Local State that lists them.
class ProfileSeeder final
{
public:
    ProfileSeeder(Context &context, const QString &typeKey);

    // The installed browser's user-data folder (BrowserCatalogue::userDataFolder), ending in "/".
    QString sourceBrowserFolder() const;
    // "<source browser folder><profileKey>/".
    QString sourceProfileFolder(const QString &profileKey) const;

    // Writes `preferenceJson` (compact) as <defaultUserDirectory>/Secure Preferences, then copies
    // the store-installed extensions (from_webstore true) among `selectedExtensions`, each with
    // its storage links and its own settings folders, and, when any was copied, the extension
    // stores the browser keeps for all extensions together. Returns the first failing step's
    // error; an entry the browser profile lacks is nothing to copy. No link in the browser's
    // folder is followed or copied: one is left out with a log line.
    std::optional<QString> copyExtensions(const QJsonObject &preferenceJson, const QStringList &selectedExtensions,
                                           const QString &currentProfileKey,
                                           const QString &defaultUserDirectory) const;
    // Links every entry of the source profile's `folder` whose name contains `extensionId` into
    // <defaultUserDirectory>/<folder>/.
    std::optional<QString> copyFromFolder(const QString &folder, const QString &extensionId,
                                          const QString &currentProfileKey, const QString &defaultUserDirectory) const;
    // Copies the profiles marked for import into `profileDirectory` and writes its Local State.
    // Keys that are not plain folder names are refused; what cannot be copied is left out. Fails
    // only when the Local State cannot be written.
    std::optional<QString> createProfiles(const QList<SNProfileEntry> &usersArray,
                                          const QString &profileDirectory) const;

    // Profile keys and extension ids come from the browser's files and become folder names:
    // a profile key is one plain folder name, an extension id the browser's 32 letters a to p
    // (a shorter id would match other extensions' storage by name).
    static bool isProfileKey(const QString &key);
    static bool isExtensionId(const QString &id);

private:
    Context &m_context;
    QString m_typeKey;
};
