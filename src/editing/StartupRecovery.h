#pragma once

#include <QSet>
#include <QString>
#include <QVariantMap>

class Context;

// What every start of Sorvane (a command, the desktop app) does first about changes that a kill,
// a crash or a full disk interrupted: each journaled change whose process is gone is finished or
// undone (a creation is undone unless its bundle is complete; an edit is finished, a rename to a
// name taken meanwhile is undone; an update is finished once its new bundle was complete; a
// deletion is finished once the bundle is in the Trash), a profile left only under a hidden
// working name goes back in place, the hidden leftovers of unfinished work go, and registry
// records that name a bundle carrying another record's id are dropped. Apps another process is
// working on are left alone.
class StartupRecovery final
{
public:
    explicit StartupRecovery(Context &context);

    // The number of interrupted changes that were handled.
    int run();

private:
    bool recover(const QVariantMap &entry);
    bool recoverCreate(const QString &appId, const QString &bundle);
    bool recoverEdit(const QVariantMap &entry);
    void cleanLeftovers();
    void dropStaleRecords();
    void removeUnfinishedWrites(const QString &bundle);

    Context &m_context;
    QSet<QString> m_folders; // of the apps whose interrupted changes were handled
};
