#pragma once

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QVariantMap>

class ApplicationManager;
class Context;

// Creates apps from a ".sorvane" file, each through the normal creation path, with a new
// registry id. The file is untrusted: every entry passes the same checks as a definition typed
// by the user, a refused entry is reported and skipped, and the others are still created.
// Nothing in the file can run a command or name a path outside the chosen folder.
class SNImporter final
{
public:
    struct Options
    {
        QString intoFolder;               // empty: the applications folder
        bool keepBoth = false;            // a taken name is numbered (else the prompter is asked)
        bool allowMissingBrowser = false; // make apps whose browser is not installed
    };

    // What became of one entry of the file.
    struct Outcome
    {
        QString key;        // the entry's id in the file (not reused)
        QString appName;
        bool made = false;
        QString error;      // why it was refused or failed
        QVariantMap created; // appID, uniqueID, path of the app made
    };

    SNImporter(Context &context, Options options);

    // Imports every entry of the file, in order. False with "Invalid App Config File" (and the
    // reason) when the file cannot be read as an app set; a root that is not a dictionary holds
    // no apps.
    bool importConfig(const QString &path, QString *error);
    const QList<Outcome> &outcomes() const { return m_outcomes; }

    // Creates the app one entry describes. Missing switches are off, except restoreSession.
    Outcome createApp(const QString &key, const QVariantMap &entry);

    // Keeps, of the extensions a profile's preferences list, the store extensions chosen.
    static void getExtensions(QJsonObject &preferenceJson, const QStringList &selectedExtensions);

    static constexpr qint64 MaximumFileBytes = 256 * 1024 * 1024;
    static constexpr qsizetype MaximumIconTextBytes = 4 * 1024 * 1024;

private:
    // The entry's browser profile, when the user's Google Chrome has it: the new app starts from
    // its preferences with the chosen extensions.
    void loadProfile(ApplicationManager &manager, const QString &profileKey,
                     const QStringList &selectedExtensions) const;

    Context &m_context;
    Options m_options;
    QString m_baseFolder;
    QList<Outcome> m_outcomes;
};
