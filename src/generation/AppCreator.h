#pragma once

#include "companion/CompanionSupport.h"
#include "core/AppDefinition.h"
#include "core/AppNameRule.h"
#include "core/SNBulkApp.h"
#include "core/SNError.h"
#include "generation/BundleLayout.h"
#include "generation/ProfileSeeder.h"

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class Context;
class OperationJournal;

// What one successful creation made.
struct CreatedApp
{
    QString bundlePath;
    QString appID;
    QString uniqueID;
    // Whether its links will be routed ("yes", "no", "unknown"); empty when it has no companion.
    QString linkRouting;
};

// The user's browser profile a new app starts from, when one was chosen.
struct ProfileSource
{
    std::optional<QJsonObject> preferenceJson;
    QList<SNProfileEntry> usersArray;
};

// Turns a definition into an installed bundle. The bundle is built in a locked staging folder
// beside its target and renamed into place last (StagedBundle), so a failure or a kill never
// leaves half an app at its name; the registry record and the configuration of a failed creation
// are taken back. Questions (replace an existing app?) and errors go to the context's Prompter.
class AppCreator final
{
public:
    AppCreator(Context &context, AppDefinition &definition, const ProfileSource &profile = {});

    // The alert shown when the bundle already exists.
    static const QString ReplaceMessage;
    static const QString ReplaceInformativeText;
    static const QStringList ReplaceButtons;
    // The longest name a bundle can have, numbered ("<name> 2") or not.
    static constexpr int MaximumNameBytes = AppNameRule::maximumBytes();

    // Fills the definition's applicationsPath when empty: the user's setting, else the platform's.
    QString fetchApplicationsPath();
    // The entry's name, else "<name> 1", "<name> 2", ...: the first without a bundle in the
    // applications folder.
    QString generateAppNmeFor(const SNBulkApp &entry);

    // Creates the definition's app. With `numberIfTaken`, a name that is taken (or being
    // created by another process) becomes the first free "<name> N", reserved atomically;
    // without it an existing app is replaced only when the user says so.
    bool createForReal(bool numberIfTaken, SNError *error);
    // Creates the app into the given (still missing) bundle folder.
    bool createAt(const BundleLayout &layout, SNError *error);
    const CreatedApp &created() const { return m_created; }

    // Creates every entry in turn; `progress` is told after each (index, made) while created()
    // describes it. True when all were made.
    bool createAll(const QList<SNBulkApp> &entries, bool duplicate,
                   const std::function<void(qsizetype, bool)> &progress, QList<SNBulkApp> *installed);

private:
    bool finishCreation(const QString &target, bool numberIfTaken, bool replaceExisting, SNError *error);
    bool build(const BundleLayout &layout, const BundleLayout &installed, SNError *error);
    bool buildExecutable(const BundleLayout &layout, const BundleLayout &installed, SNError *error);
    void rollBackRegistration();
    bool failCreation(const SNError &value, SNError *error);
    void copyIntoDefinition(const SNBulkApp &entry);
    // The verdict on the definition's engine. One engine is asked once, however many apps a bulk
    // run makes.
    const CompanionSupport::Verdict &engineVerdict();
    // Logs a warning when the app's companion may not route links on its engine; returns the
    // verdict's key.
    QString reportLinkRouting();

    Context &m_context;
    AppDefinition &m_definition;
    ProfileSource m_profile;
    CreatedApp m_created;
    QString m_registeredAppID;
    // Open from registration to the move into place: a creation killed in between is undone at the
    // next start (its record and configuration removed).
    std::shared_ptr<OperationJournal> m_journal;
    QString m_assessedEngine;
    CompanionSupport::Verdict m_engineVerdict;
};
