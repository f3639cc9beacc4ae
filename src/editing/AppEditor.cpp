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
#include "editing/StagedEdit.h"
#include "generation/AppConfigFile.h"
#include "generation/DefinitionValidator.h"
#include "core/SNAppTracker.h"
#include "generation/BundleLayout.h"
#include "generation/BundleWriter.h"
#include "generation/StagedBundle.h"
#include "maintenance/AppList.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;


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
    return AppList::editorItem(m_context, item);
}

bool AppEditor::save(const SNEditorItem &original, Change change, QString *error)
{
    m_rebuilt = false;
    SNEditorItem &edited = change.edited;
    edited.appId = original.appId;
    edited.path = original.path;
    edited.installed = true;
    edited.appItem.applyTabRules();
    // The checks every definition passes, whichever front end asks for the edit.
    if (QString refusal; !DefinitionValidator(m_context, QDir::currentPath()).validate(edited.appItem, &refusal))
        return Logger::fail(error, refusal);
    SNEditorItem before = original;
    before.appItem.applyTabRules();
    const QString newName = edited.appItem.appName;
    const bool newIcon = !change.newIcon.isNull();

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
    // The new name is reserved as a creation reserves it, so that two renames (or a rename and a
    // creation) to one name cannot both start; the loser changes nothing.
    std::unique_ptr<StagedBundle> reservation;
    if (newPath != original.path) {
        StagedBundle::Outcome outcome = StagedBundle::Outcome::Failed;
        QString reason;
        reservation = StagedBundle::reserve(newPath, &outcome, &reason);
        if (!reservation)
            return Logger::fail(error, u"Cannot rename %1 to %2: %3"_s.arg(original.appItem.appName, newName,
                                       outcome == StagedBundle::Outcome::Busy ? u"another app is taking that name"_s : reason));
        if (QFileInfo::exists(newPath) || QFileInfo(newPath).isSymLink())
            return Logger::fail(error, u"Cannot rename %1 to %2: %3 already exists"_s.arg(original.appItem.appName, newName, newPath));
    }

    StagedEdit::Request request;
    request.appId = original.appId;
    request.bundle = original.path;
    request.target = newPath;
    request.oldExecutable = plist.value(u"CFBundleExecutable"_s, original.appItem.appName).toString();
    // The stored definition keeps what the editor does not show (the profile it was made from,
    // its extensions); the edit overrules the rest.
    const AppDefinition stored =
        AppConfigFile::read(AppConfigFile::path(SNAppTracker(m_context).getAppBundle(), original.appId))
            .value_or(AppDefinition{});
    request.definition = edited.appItem;
    request.definition.currentProfileKey = stored.currentProfileKey;
    request.definition.selectedExtensions = stored.selectedExtensions;
    if (request.definition.applicationsPath.isEmpty())
        request.definition.applicationsPath = stored.applicationsPath;
    request.definition.appName = newName;
    request.definition.applicationType = BrowserCatalogue::numberForTypeKey(edited.browser);
    if (newIcon)
        request.definition.appIcon = change.newIcon;
    const std::optional<QVariantMap> info = SNUpdaterHelper::appInfo(original.path);
    const bool hadCompanion = info && info->value(u"shouldIncludeWLExt"_s).toBool() &&
                              QFileInfo(original.path + u"/Contents/Resources/Sorvane_Extension"_s).isDir();
    // The companion stays when the app had it; it comes in when the edit asks for routing (and
    // Helium apps always load it).
    const bool needsCompanion =
        BundleWriter(m_context, request.definition, BundleLayout::atPath(newPath, newName)).includesCompanion() ||
        edited.browser == u"helium"_s;
    request.companion = hadCompanion || needsCompanion;
    const bool olderLayout = !QFileInfo(original.path + u"/Contents/Resources/script"_s).isFile();
    request.plan = EditPlan::between(before, edited, newIcon, hadCompanion, needsCompanion, olderLayout);
    request.fromBrowser = original.browser;
    request.toBrowser = edited.browser;
    request.restoring = edited.browser != original.browser && change.restoreBackup &&
                        ProfileBackup(m_context, original.path).exists(edited.browser);

    if (!request.plan.isEmpty()) {
        QString reason;
        if (!StagedEdit(m_context, request).run(&reason))
            return Logger::fail(error, u"Cannot edit %1: %2"_s.arg(original.path, reason));
    }
    m_rebuilt = !request.plan.isLiveOnly();
    edited.path = newPath;
    if (newIcon)
        edited.appItem.appIcon = change.newIcon;
    m_result = edited;
    return true;
}
