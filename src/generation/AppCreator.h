#pragma once

#include "companion/CompanionSupport.h"
#include "core/AppDefinition.h"
#include "core/AppNameRule.h"
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
class Prompter;

// What creation does when the app's name is taken in its folder.
enum class WhenNameTaken {
    Ask,    // the prompter is asked whether to replace the old app (it goes to the Trash)
    Number, // the app gets the first free "<name> N", reserved atomically
};

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
// are taken back. The one question creation asks (replace an existing app?) goes to `prompter`.
class AppCreator final
{
public:
    AppCreator(Context &context, Prompter &prompter, AppDefinition &definition, const ProfileSource &profile = {});

    // The alert shown when the bundle already exists.
    static const QString ReplaceMessage;
    static const QString ReplaceInformativeText;
    static const QStringList ReplaceButtons;
    // The answer of a prompter that offers, besides these buttons, to keep both apps: the new
    // one is then numbered ("Mail 2").
    static constexpr int KeepBothAnswer = 2;
    // The longest name a bundle can have, numbered ("<name> 2") or not.
    static constexpr int MaximumNameBytes = AppNameRule::maximumBytes();

    // Creates the definition's app in its folder (the user's applications folder when it names
    // none). The definition ends with the name the app got.
    bool create(WhenNameTaken whenTaken, QString *error);
    const CreatedApp &created() const { return m_created; }

    // Told as each part of the bundle is written: the fraction done and the step.
    void setProgressHandler(std::function<void(double, const QString &)> handler) { m_progress = std::move(handler); }

private:
    bool build(const BundleLayout &layout, const BundleLayout &installed, QString *error);
    bool buildExecutable(const BundleLayout &layout, const BundleLayout &installed, QString *error);
    void rollBackRegistration();
    bool failCreation(const QString &reason, QString *error);
    void report(double fraction, const QString &step) const;
    // The verdict on the definition's engine. One engine is asked once, however many apps one
    // creator makes.
    const CompanionSupport::Verdict &engineVerdict();
    // Logs a warning when the app's companion may not route links on its engine; returns the
    // verdict's key.
    QString reportLinkRouting();

    Context &m_context;
    Prompter &m_prompter;
    AppDefinition &m_definition;
    ProfileSource m_profile;
    CreatedApp m_created;
    QString m_registeredAppID;
    // Open from registration to the move into place: a creation killed in between is undone at the
    // next start (its record and configuration removed).
    std::shared_ptr<OperationJournal> m_journal;
    QString m_assessedEngine;
    CompanionSupport::Verdict m_engineVerdict;
    std::function<void(double, const QString &)> m_progress;
};
