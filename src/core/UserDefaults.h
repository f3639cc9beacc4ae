#pragma once

#include <QMutex>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <memory>

// Per-user settings with registered defaults, read the way the macOS defaults store reads them:
// a value the user set wins over a registered one, and booleans accept the strings YES/NO,
// true/false and numbers ("NO" is false).
class UserDefaults final
{
public:
    // Settings kept in a file of our choosing (an INI file; tests point it into a temporary folder).
    explicit UserDefaults(const QString &settingsFile);
    // The platform's own store for Sorvane (CFPreferences on macOS, an INI file under
    // $XDG_CONFIG_HOME elsewhere).
    UserDefaults();
    ~UserDefaults();
    Q_DISABLE_COPY_MOVE(UserDefaults)

    // Registered values answer only while no persistent value exists; they are never written.
    void registerDefaults(const QVariantMap &defaults);

    QVariant value(const QString &key) const;
    QString stringForKey(const QString &key) const;
    bool boolForKey(const QString &key) const;
    bool hasPersistentValue(const QString &key) const;

    void setValue(const QString &key, const QVariant &value);
    void removeValue(const QString &key);
    // Forgets every persistent value (registered defaults stay).
    void removePersistentDomain();
    void synchronize();

    QString fileName() const;

    // The defaults store's reading of a value as a boolean.
    static bool toBool(const QVariant &value);

private:
    // Operations run on worker threads while the window reads settings.
    mutable QMutex m_mutex;
    std::unique_ptr<QSettings> m_settings;
    QVariantMap m_registered;
};
