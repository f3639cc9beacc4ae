#pragma once

#include "companion/CompanionSupport.h"
#include "core/SNBulkApp.h"
#include "core/SNError.h"

#include <QString>
#include <QStringList>

#include <functional>

class ApplicationManager;

// Turns the generation manager's definition into an installed bundle: the folders, icon,
// Info.plist, profile seed, launcher script, companion files, launch program and engine, and
// the registry record. Questions (replace an existing app?) and errors go to the context's
// Prompter; the manager's public creation calls forward here.
class AppCreator final
{
public:
    explicit AppCreator(ApplicationManager &manager);

    // The alert shown when the bundle already exists.
    static const QString ReplaceMessage;
    static const QString ReplaceInformativeText;
    static const QStringList ReplaceButtons;

    QString fetchApplicationsPath();
    QString generateAppNmeFor(const SNBulkApp &entry);
    bool createForReal(const std::function<void()> &completion, SNError *error);
    bool createWithDirectories(const QStringList &directories, SNError *error);
    bool createExecutableWithDestinationDirectory(const QString &execDirectory, const QString &appUrl,
                                                  const QString &profileFolder, SNError *error);
    void create(bool duplicate, const std::function<void(bool)> &callback);

private:
    // Asks before an existing bundle is replaced; true when creation may go on.
    bool replaceExistingApp(const QStringList &directories, SNError *error);
    bool creationSteps(const QStringList &directories, bool *madeBundle, SNError *error);
    void copyIntoDefinition(const SNBulkApp &entry, bool duplicate);
    void signApp(const QString &bundlePath) const;
    // Logs a warning when the app's companion cannot route links on its engine; returns the
    // verdict's key. One engine is asked once per run, however many apps a bulk run makes.
    QString reportLinkRouting(const BrowserInfo &browser, const QString &enginePath);

    ApplicationManager &m_manager;
    QString m_assessedEngine;
    CompanionSupport::Verdict m_engineVerdict;
};
