#pragma once

#include "core/AppDefinition.h"
#include "core/Job.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QVariantMap>

class Context;
struct ProfileSource;

// Creates apps from a ".sorvane" file, each through the normal creation path, with a new
// registry id. The file is untrusted: every entry passes the same checks as a definition typed
// by the user, a refused entry is reported and skipped, and the others are still created.
// Nothing in the file can run a command or name a path outside the chosen folder.
class ImportAppSetJob final : public Job
{
    Q_OBJECT

public:
    struct Options
    {
        QString intoFolder;               // empty: the applications folder
        bool keepBoth = false;            // a taken name is numbered (else the job's prompter is asked)
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

    // Imports every entry of the file at `path`, in order. The job fails with "Invalid App Config
    // File" (and the reason) when the file cannot be read as an app set, and with a count when
    // some entry was not made; a root that is not a dictionary holds no apps. Cancelling stops
    // before the next entry.
    ImportAppSetJob(Context &context, QString path, Options options, QObject *parent = nullptr);

    // One per entry handled, in the file's order.
    const QList<Outcome> &outcomes() const { return m_outcomes; }
    // Whether the file itself could be read (the job may still fail for some entry).
    bool fileRead() const { return m_fileRead; }

    // Creates the app one entry describes. Missing switches are off, except restoreSession.
    Outcome createApp(const QString &key, const QVariantMap &entry);

    // Keeps, of the extensions a profile's preferences list, the store extensions chosen.
    static void getExtensions(QJsonObject &preferenceJson, const QStringList &selectedExtensions);

    static constexpr qint64 MaximumFileBytes = 256 * 1024 * 1024;
    static constexpr qsizetype MaximumIconTextBytes = 4 * 1024 * 1024;

protected:
    bool run() override;

private:
    // The entry's browser profile, when the user's Google Chrome has it: the new app starts from
    // its preferences with the chosen extensions.
    void loadProfile(AppDefinition &app, ProfileSource &source) const;

    Context &m_context;
    QString m_path;
    Options m_options;
    bool m_fileRead = false;
    QString m_baseFolder;
    QList<Outcome> m_outcomes;
};
