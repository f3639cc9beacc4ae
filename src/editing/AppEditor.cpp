#include "editing/AppEditor.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "core/AppLock.h"
#include "core/OperationJournal.h"
#include "core/Logger.h"
#include "core/PropertyList.h"
#include "core/SNAppItem.h"
#include "core/UserDefaults.h"
#include "editing/ProfileBackup.h"
#include "editing/SNAppEditHelper.h"
#include "editing/StructuralState.h"
#include "generation/BundleLayout.h"
#include "generation/BundleWriter.h"
#include "generation/EngineBuilder.h"
#include "generation/SNChromePrefsHelper.h"
#include "generation/StagedBundle.h"
#include "maintenance/SNRecentAppsManager.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

bool needsCompanion(const SNBulkApp &app, Context &context)
{
    return app.whitelistingEnabled || !app.routingRules.isEmpty() || app.defaultDestination.has_value() ||
           context.defaults().boolForKey(u"AutoIncludeWhitelisting"_s);
}

} // namespace

AppEditor::AppEditor(Context &context)
    : m_context(context)
{
}

std::optional<SNEditorItem> AppEditor::load(const QString &bundlePath, const QString &appId, QString *error) const
{
    const std::optional<QVariantMap> info = SNUpdaterHelper::appInfo(bundlePath);
    if (!info) {
        Logger::fail(error, u"Cannot edit %1: it has no readable launcher script"_s.arg(bundlePath));
        return std::nullopt;
    }
    SNAppItem item;
    item.path = bundlePath;
    item.appId = appId.isEmpty() ? info->value(u"appID"_s).toString() : appId;
    item.name = info->value(u"appName"_s).toString();
    item.browserType = info->value(u"browserType"_s).toString();
    if (item.appId.isEmpty()) {
        Logger::fail(error, u"Cannot edit %1: it is not in Sorvane's registry"_s.arg(bundlePath));
        return std::nullopt;
    }
    return SNRecentAppsManager::editorItem(m_context, item);
}

bool AppEditor::isStructural(const SNEditorItem &original, const SNEditorItem &edited, bool newIcon) const
{
    const SNBulkApp &before = original.appItem;
    const SNBulkApp &after = edited.appItem;
    const bool companionNeeded = needsCompanion(after, m_context) && !needsCompanion(before, m_context);
    return newIcon || StructuralState::of(before) != StructuralState::of(after) || before.appName != after.appName ||
           original.browser != edited.browser || before.whitelistingEnabled != after.whitelistingEnabled ||
           companionNeeded;
}

bool AppEditor::save(const SNEditorItem &original, Change change, QString *error)
{
    m_rebuilt = false;
    SNEditorItem &edited = change.edited;
    edited.appId = original.appId;
    edited.path = original.path;
    edited.installed = true;
    edited.appItem.applyTabRules();
    const QString newName = edited.appItem.appName;
    if (!SNAppEditHelper::validateAppName(newName))
        return Logger::fail(error, SNAppEditHelper::InvalidNameMessage);
    const bool newIcon = !change.newIcon.isNull();
    const bool structural = isStructural(original, edited, newIcon);

    // One change of an app at a time, across Sorvane's processes; what is checked below holds
    // until the edit is done.
    const AppLock lock(m_context, original.appId);
    if (!lock.isLocked())
        return Logger::fail(error, lock.errorString());
    if (!QFileInfo(original.path).isDir())
        return Logger::fail(error, u"Cannot edit %1: it was moved or deleted meanwhile"_s.arg(original.path));
    const QVariantMap plist = PropertyList::readFile(original.path + u"/Contents/Info.plist"_s).toMap();
    if (!SNUpdaterHelper::isSorvaneBundle(plist))
        return Logger::fail(error, u"Cannot edit %1: it was not made by Sorvane"_s.arg(original.path));
    if (SNUpdaterHelper::isEngineRunning(original.path))
        return Logger::fail(error, u"Not editing %1: the app is running; quit it and edit again"_s.arg(original.path));

    const QString newPath = QFileInfo(original.path).path() + u'/' + newName + u".app"_s;
    const bool renaming = newPath != original.path;
    // The new name is reserved as a creation reserves it, so that two renames (or a rename and a
    // creation) to one name cannot both start; the loser changes nothing.
    std::unique_ptr<StagedBundle> reservation;
    if (renaming) {
        StagedBundle::Outcome outcome = StagedBundle::Outcome::Failed;
        QString reason;
        reservation = StagedBundle::reserve(newPath, &outcome, &reason);
        if (!reservation)
            return Logger::fail(error, u"Cannot rename %1 to %2: %3"_s.arg(original.appItem.appName, newName,
                                       outcome == StagedBundle::Outcome::Busy ? u"another app is taking that name"_s : reason));
        if (QFileInfo::exists(newPath) || QFileInfo(newPath).isSymLink())
            return Logger::fail(error, u"Cannot rename %1 to %2: %3 already exists"_s.arg(original.appItem.appName, newName, newPath));
    }

    const bool switching = edited.browser != original.browser;
    const bool restoring = switching && change.restoreBackup && ProfileBackup(m_context, original.path).exists(edited.browser);
    std::unique_ptr<OperationJournal> journal;
    if (structural) {
        journal = OperationJournal::begin(m_context,
                                          {{OperationJournal::OperationKey, OperationJournal::Edit},
                                           {OperationJournal::AppIdKey, original.appId},
                                           {OperationJournal::BundleKey, original.path},
                                           {OperationJournal::TargetKey, newPath},
                                           {OperationJournal::FromBrowserKey, original.browser},
                                           {OperationJournal::ToBrowserKey, edited.browser},
                                           {OperationJournal::RestoringKey, restoring}},
                                          error);
        if (!journal)
            return false;
    }
    // From here a failed step leaves the journal entry, and the next start finishes the edit.
    const auto stop = [&journal] {
        if (journal)
            journal->keepForRecovery();
        return false;
    };
    // The configuration takes the definition as it stands, new name included; the steps after it
    // work on the bundle under its old name until the rename.
    if (!SNAppEditHelper::saveAppConfig(m_context, edited, error))
        return stop();
    edited.appItem.appName = original.appItem.appName;
    if (newIcon) {
        const QString config = SNAppEditHelper::configPath(m_context, original.appId);
        QVariantMap stored = PropertyList::readFile(config).toMap();
        if (!stored.isEmpty()) {
            stored.insert(u"appIcon"_s, SNImage::imageData(change.newIcon));
            QString reason;
            if (!PropertyList::writeFile(config, stored, &reason)) {
                Logger::fail(error, u"Could not write %1: %2"_s.arg(config, reason));
                return stop();
            }
        }
    }
    // Only a changed colour touches the profile.
    if (SNChromePrefsHelper::storedColor(original.appItem.accentColor) !=
            SNChromePrefsHelper::storedColor(edited.appItem.accentColor) &&
        !SNChromePrefsHelper::applyAccentColor(edited.appItem.accentColor, original.path + u"/Contents/Profile"_s, error))
        return stop();

    if (structural) {
        if (!SNAppEditHelper::updateLauncher(m_context, edited, newName, error) ||
            !SNAppEditHelper::changeAppIcon(edited, change.newIcon, error) ||
            !SNAppEditHelper::changeAppName(m_context, edited, newName, error))
            return stop();
        const QString executable = PropertyList::readFile(edited.path + u"/Contents/Info.plist"_s)
                                       .toMap()
                                       .value(u"CFBundleExecutable"_s, newName)
                                       .toString();
        const BundleLayout layout = BundleLayout::atPath(edited.path, executable);
        AppDefinition definition;
        edited.appItem.applyTo(definition);
        BundleWriter(m_context, definition, layout).setPermissions();
        if (switching) {
            EngineBuilder::runEngineScript(m_context, layout.resources, layout.appName, edited.browser);
            // The profile last: until here a kill leaves it untouched, and from here the
            // journal's recovery finishes the switch.
            if (!ProfileBackup(m_context, edited.path).switchEngine(original.browser, edited.browser, restoring, error))
                return stop();
        }
        m_rebuilt = true;
    }
    edited.appItem.appName = newName;
    DesktopEntries(m_context).refreshAppEntry(edited.appId, edited.path);
    m_result = edited;
    return true;
}
