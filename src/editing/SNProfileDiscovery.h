#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

class Context;

// A profile the user can start a new app from.
struct ImportableProfile
{
    QString key;  // its folder name, e.g. "Default" or "Profile 1"
    QString name; // how the browser names it
};

// The profiles of one installed browser and the preferences of the chosen one, read from its
// user-data folder ("Local State", "<profile>/Preferences"). Everything read is the browser's
// (or anyone's) file: profile keys that are not plain folder names are left out, and files larger
// than MaximumFileSize are not read.
class SNProfileDiscovery final
{
public:
    SNProfileDiscovery(Context &context, const QString &typeKey);
    explicit SNProfileDiscovery(const QString &userDataFolder);

    static constexpr qint64 MaximumFileSize = 64 * 1024 * 1024;

    QString userDataFolder() const { return m_userDataFolder; }
    QString localStatePath() const;

    // The `profile` object of the Local State file at `path`, loaded once. Loading also settles
    // the current profile key: a key whose preferences cannot be read is dropped, and a missing
    // key becomes `last_used`, else the first of `last_active_profiles`.
    std::optional<QJsonObject> getProfilesFromPath(const QString &path);
    // "<user-data folder>/<profileKey>/Preferences".
    QString getPreferencePath(const QString &profileKey) const;
    // The current profile's preferences, loaded once (see preferencesOf).
    std::optional<QJsonObject> getPreferenceJson();

    QString currentProfileKey() const { return m_currentProfileKey; }
    // Choosing another profile forgets the preferences of the last one.
    void setCurrentProfileKey(const QString &key);

    // The profiles the browser knows (Local State's info_cache and last_active_profiles, else
    // "Default") whose folders exist, "Default" first, then in the browser's numbering.
    QList<ImportableProfile> profiles();
    // A profile's preferences, with the extension records the browser keeps in
    // "Secure Preferences" added where "Preferences" lacks them; nothing when unreadable.
    std::optional<QJsonObject> preferencesOf(const QString &profileKey) const;

private:
    QJsonObject withProtectedExtensions(QJsonObject preferences, const QString &profileKey) const;

    QString m_userDataFolder;
    std::optional<QJsonObject> m_profileTable;
    QString m_currentProfileKey;
    std::optional<QJsonObject> m_preferenceJson;
};
