#include "generation/AppCreator.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/Ids.h"
#include "core/Logger.h"
#include "core/OperationJournal.h"
#include "core/Prompter.h"
#include "core/SNAppTracker.h"
#include "core/AppNameRule.h"
#include "core/Trash.h"
#include "generation/AppConfigFile.h"
#include "generation/BundleWriter.h"
#include "generation/SNAppScriptHelper.h"
#include "generation/StagedBundle.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>


using namespace Qt::Literals::StringLiterals;

const QString AppCreator::ReplaceMessage = u"An App with this name already exists. Do you want to replace it?"_s;
const QString AppCreator::ReplaceInformativeText = u"The old App will be sent to the Trash."_s;
const QStringList AppCreator::ReplaceButtons{u"Replace App"_s, u"Cancel"_s};

namespace {

// What a confined engine means for an app at `bundle`: a reason to refuse it (returned), or a
// warning that is logged. Flatpak reads ':' in a --filesystem folder as the start of an access
// mode, so such a bundle cannot be shared with the sandbox; a Snap reaches only non-hidden
// folders of the home folder.
QString confinedEngineRefusal(const QString &enginePath, const QString &bundle, const QString &homeFolder)
{
    const BrowserPackaging packaging = BrowserLocator::packagingOfEnginePath(enginePath);
    if (packaging == BrowserPackaging::FlatpakSystem || packaging == BrowserPackaging::FlatpakUser) {
        if (bundle.contains(u':') || bundle.contains(u'\\'))
            return u"The Flatpak browser %1 cannot be given the app's folder %2: flatpak run reads ':' in a "
                   "folder it shares as the start of an access mode, so a path holding ':' or '\\' cannot be "
                   "shared safely. Choose another name or folder."_s.arg(enginePath, bundle);
    } else if (packaging == BrowserPackaging::Snap) {
        const QString home = homeFolder.endsWith(u'/') ? homeFolder : homeFolder + u'/';
        if (!bundle.startsWith(home) || bundle.mid(home.size()).startsWith(u'.') || bundle.mid(home.size()).contains(u"/."_s))
            Logger::log(u"⚠️ The Snap browser %1 reaches only folders in your home folder that are not hidden; "
                        "its engine may not open the profile of the app at %2"_s.arg(enginePath, bundle));
    }
    return {};
}

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

} // namespace

AppCreator::AppCreator(Context &context, Prompter &prompter, AppDefinition &definition, const ProfileSource &profile)
    : m_context(context), m_prompter(prompter), m_definition(definition), m_profile(profile)
{
}

void AppCreator::report(double fraction, const QString &step) const
{
    if (m_progress)
        m_progress(fraction, step);
}

bool AppCreator::failCreation(const QString &reason, QString *error)
{
    rollBackRegistration();
    if (error)
        *error = reason;
    return false;
}

bool AppCreator::create(WhenNameTaken whenTaken, QString *error)
{
    m_created = {};
    bool numberIfTaken = whenTaken == WhenNameTaken::Number;
    const QString base = m_definition.appName;
    // Nothing is written for a name that cannot become a bundle and a script.
    if (AppNameRule::check(base) == AppNameRule::Verdict::Invalid)
        return failCreation(SNAppScriptHelper::InvalidNameMessage, error);
    if (m_definition.applicationsPath.isEmpty())
        m_definition.applicationsPath = m_context.applicationsFolder();
    const QString folder = m_definition.applicationsPath;
    StagedBundle::removeStale(folder);

    for (int number = 0;; ++number) {
        const QString name = number == 0 ? base : u"%1 %2"_s.arg(base).arg(number);
        if (AppNameRule::check(name) == AppNameRule::Verdict::TooLong)
            return failCreation(u"The name %1"_s.arg(AppNameRule::tooLongMessage(name)), error);
        const BundleLayout installed = BundleLayout::forApp(folder, name);
        if (numberIfTaken && exists(installed.bundle))
            continue;
        const QString enginePath = SNAppScriptHelper::getBrowserPath(
            BrowserCatalogue::typeKeyForNumber(m_definition.applicationType), m_context.defaults());
        if (const QString refusal = confinedEngineRefusal(enginePath, installed.bundle, m_context.homeFolder());
            !refusal.isEmpty())
            return failCreation(refusal, error);
        StagedBundle::Outcome outcome = StagedBundle::Outcome::Failed;
        QString reason;
        const std::unique_ptr<StagedBundle> staged = StagedBundle::reserve(installed.bundle, &outcome, &reason);
        if (!staged) {
            if (outcome == StagedBundle::Outcome::Busy && numberIfTaken)
                continue;
            if (outcome == StagedBundle::Outcome::Busy)
                Logger::log(reason);
            return failCreation(outcome == StagedBundle::Outcome::Busy
                                        ? u"Application already exists with that name."_s
                                        : reason,
                                error);
        }
        // Checked again now that the name is ours: another process may have finished it first.
        bool replace = false;
        if (exists(installed.bundle)) {
            if (numberIfTaken)
                continue;
            const int answer = m_prompter.ask(ReplaceMessage, ReplaceInformativeText, ReplaceButtons);
            if (answer == KeepBothAnswer) {
                numberIfTaken = true;
                continue;
            }
            if (answer != 0) {
                if (error)
                    *error = ReplaceMessage;
                return false;
            }
            replace = true;
        }
        m_definition.appName = name;
        const BundleLayout layout = installed.relocated(staged->path());
        QString stepError;
        if (!build(layout, installed, &stepError))
            return failCreation(stepError, error);
        if (replace) {
            // Only now, so that a failed creation never costs the user the old app. Its records
            // go first: one that cannot be removed stops the replacement while the old app is
            // still in place and listed.
            SNAppTracker tracker(m_context);
            QStringList replaced = tracker.idsForBundle(installed.bundle);
            replaced.removeAll(m_registeredAppID);
            if (!tracker.deleteAppsFromTracker(replaced, &reason))
                return failCreation(reason, error);
            if (!m_context.trash().moveToTrash(installed.bundle, nullptr, &reason)) {
                QString restoreReason;
                for (const QString &appId : std::as_const(replaced)) {
                    if (!tracker.updateAppTracker(appId, installed.bundle, &restoreReason))
                        Logger::log(u"⚠️ The old App's registration could not be restored: %1"_s.arg(restoreReason));
                }
                return failCreation(u"The old App could not be moved to the Trash: %1"_s.arg(reason), error);
            }
        }
        if (!staged->commit(&reason))
            return failCreation(reason, error);
        m_registeredAppID.clear();
        m_journal.reset();
        m_created.bundlePath = installed.bundle;
        const BundleWriter writer(m_context, m_definition, installed);
        writer.refreshMenuEntry(m_created.appID);
        // Without the companion there is nothing to route, and the engine is not asked.
        m_created.linkRouting = writer.includesCompanion()
                                    ? reportLinkRouting()
                                    : QString();
        return true;
    }
}

bool AppCreator::build(const BundleLayout &layout, const BundleLayout &installed, QString *error)
{
    const BundleWriter writer(m_context, m_definition, layout, installed);
    if (!writer.makeDirectories(error))
        return false;
    report(0.2, u"Folders made"_s);
    if (!writer.writeIcon(error))
        return false;
    report(0.35, u"Icon written"_s);
    if (!writer.writeFirstRunMarker(error) || !writer.writeInfoPlist(error))
        return false;
    report(0.45, u"Property list written"_s);

    const QString typeKey = BrowserCatalogue::byNumber(m_definition.applicationType).typeKey;
    const ProfileSeeder seeder(m_context, typeKey);
    if (m_profile.preferenceJson) // a partial extension copy does not stop creation
        seeder.copyExtensions(*m_profile.preferenceJson, m_definition.selectedExtensions,
                               m_definition.currentProfileKey, layout.defaultUser);

    if (!buildExecutable(layout, installed, error))
        return false;
    report(0.8, u"Launcher written"_s);
    if (std::optional<QString> failed = seeder.createProfiles(m_profile.usersArray, layout.profile)) {
        if (error)
            *error = *failed;
        return false;
    }
    return true;
}

bool AppCreator::buildExecutable(const BundleLayout &layout, const BundleLayout &installed, QString *error)
{
    BundleWriter writer(m_context, m_definition, layout, installed);
    // How the engine gets the companion is part of the script.
    if (writer.includesCompanion())
        writer.setEngineVerdict(engineVerdict());
    const QString uniqueID = QUuid::createUuid().toString(QUuid::WithoutBraces).toLower().remove(u'-');

    SNAppTracker tracker(m_context);
    QString reason;
    // Journaled before the record exists, so that a creation killed at any point after is undone.
    const QString appID = Ids::newRegistryId();
    m_journal = OperationJournal::begin(m_context,
                                        {{OperationJournal::OperationKey, OperationJournal::Create},
                                         {OperationJournal::AppIdKey, appID},
                                         {OperationJournal::BundleKey, installed.bundle}},
                                        &reason);
    if (!m_journal) {
        if (error)
            *error = reason;
        return false;
    }
    m_registeredAppID = appID;
    if (!tracker.updateAppTracker(appID, installed.bundle, &reason)) {
        if (error)
            *error = reason;
        return false;
    }

    const QString script = writer.scriptText(appID, &reason);
    if (script.isEmpty()) {
        if (error)
            *error = reason;
        return false;
    }
    if (!writer.writeConfiguration(AppConfigFile::path(tracker.getAppBundle(), appID), {}, error) ||
        !writer.writeCompanionFiles(error) || !writer.applyAccentColor(error) ||
        !writer.installLaunchPrograms(error) || !writer.writeScript(script, error))
        return false;
    writer.buildEngine();
    writer.setPermissions();
    m_created.appID = appID;
    m_created.uniqueID = uniqueID;
    return true;
}

void AppCreator::rollBackRegistration()
{
    if (m_registeredAppID.isEmpty())
        return;
    SNAppTracker tracker(m_context);
    // A record that cannot be removed now stays with its configuration, and the journal entry
    // stays too, so that the next start removes both.
    if (QString reason; tracker.deleteAppFromTracker(m_registeredAppID, &reason))
        QFile::remove(AppConfigFile::path(tracker.getAppBundle(), m_registeredAppID));
    else if (m_journal) {
        Logger::log(u"⚠️ The registration of the app that could not be made is removed at the next start: %1"_s.arg(reason));
        m_journal->keepForRecovery();
    }
    m_registeredAppID.clear();
    m_journal.reset();
}

const CompanionSupport::Verdict &AppCreator::engineVerdict()
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(m_definition.applicationType);
    const QString enginePath = SNAppScriptHelper::getBrowserPath(browser.typeKey, m_context.defaults());
    const QString engine = browser.typeKey + u'\n' + enginePath;
    if (m_assessedEngine != engine) {
        m_engineVerdict = CompanionSupport(m_context).assess(browser, enginePath);
        m_assessedEngine = engine;
    }
    return m_engineVerdict;
}

QString AppCreator::reportLinkRouting()
{
    const CompanionSupport::Verdict &verdict = engineVerdict();
    const QString warning = CompanionSupport::creationWarning(m_definition.appName, verdict);
    if (!warning.isEmpty())
        Logger::log(warning);
    else if (verdict.routing == CompanionSupport::Routing::ThroughPipe)
        Logger::log(u"Links of \"%1\" are routed: %2."_s.arg(m_definition.appName, verdict.reason));
    return CompanionSupport::routingKey(verdict.routing);
}
