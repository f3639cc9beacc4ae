#include "editing/StagedEdit.h"

#include "core/AtomicWriter.h"
#include "core/Context.h"
#include "core/ExclusiveRename.h"
#include "core/LaunchServices.h"
#include "core/Logger.h"
#include "core/OperationJournal.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "editing/ProfileBackup.h"
#include "generation/AppConfigFile.h"
#include "generation/BundleLayout.h"
#include "generation/BundleWriter.h"
#include "generation/SNChromePrefsHelper.h"
#include "maintenance/SNUpdaterHelper.h"
#include "maintenance/StagedUpdate.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

using namespace Qt::Literals::StringLiterals;
using Step = EditPlan::Step;

namespace {

const QString PhaseKey = u"phase"_s;
const QString Staging = u"staging"_s;
const QString Committing = u"committing"_s;

StagedEdit::Fault &fault()
{
    static StagedEdit::Fault hook;
    return hook;
}

bool present(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// Renames over whatever is at `to`.
bool replace(const QString &from, const QString &to, QString *error)
{
    std::error_code code;
    std::filesystem::rename(QFile::encodeName(from).toStdString(), QFile::encodeName(to).toStdString(), code);
    return !code || Logger::fail(error, u"Cannot move %1 to %2: %3"_s.arg(from, to, QString::fromStdString(code.message())));
}

// Every place an edit of one app uses, from what its journal entry says.
struct Paths
{
    QString bundle;
    QString target;
    QString staging;  // the new bundle, until it is put in place
    QString aside;    // the old bundle, while the new one is put in place
    QString config;
    QString stagedConfig;
    QString previousConfig;

    Paths(Context &context, const QString &appId, const QString &bundlePath, const QString &targetPath)
        : bundle(bundlePath), target(targetPath)
    {
        const QString folder = QFileInfo(target).path();
        const QString digest = QString::fromLatin1(
            QCryptographicHash::hash(appId.toUtf8(), QCryptographicHash::Sha256).toHex().left(24));
        staging = folder + u"/.sorvane-edit-"_s + digest;
        aside = folder + u"/.sorvane-edit-previous-"_s + digest;
        config = AppConfigFile::path(SNAppTracker(context).getAppBundle(), appId);
        stagedConfig = config + u".staged"_s;
        previousConfig = config + u".previous"_s;
    }

    // What the steps wrote into the profile, set apart in the staged bundle until it is swapped
    // into the app's profile.
    static QString overlay(const QString &bundlePath) { return bundlePath + u"/Contents/.sorvane-edit-profile"_s; }

    void discardStaged() const
    {
        QDir(staging).removeRecursively();
        QFile::remove(stagedConfig);
    }
};

using Undo = StagedUpdate::Undo;

std::optional<QString> injected(Step step)
{
    return fault() ? fault()(step) : std::nullopt;
}

// What the steps wrote into the staged bundle's profile (the accent colour's preferences, the
// messaging host's manifest) goes into the app's profile, file by file, the profile's own copy
// kept beside the staged one.
bool swapProfileFiles(const QString &bundlePath, Undo *undo, QString *error)
{
    const QString overlay = Paths::overlay(bundlePath);
    const QString profile = bundlePath + u"/Contents/Profile/"_s;
    QDirIterator files(overlay, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    QStringList pending;
    while (files.hasNext()) {
        const QString path = files.next();
        if (!path.endsWith(u".previous"_s))
            pending.append(path.mid(overlay.size() + 1));
    }
    for (const QString &relative : std::as_const(pending)) {
        const QString staged = overlay + u'/' + relative;
        const QString own = profile + relative;
        const QString kept = staged + u".previous"_s;
        if (present(own) && !present(kept)) {
            if (!ExclusiveRename::move(own, kept, error))
                return false;
            if (undo)
                undo->append([own, kept] { return ExclusiveRename::move(kept, own, nullptr); });
        }
        if (!QDir().mkpath(QFileInfo(own).path()))
            return Logger::fail(error, u"Cannot create %1"_s.arg(QFileInfo(own).path()));
        if (!ExclusiveRename::move(staged, own, error))
            return false;
        if (undo)
            undo->append([own, staged] { return ExclusiveRename::move(own, staged, nullptr); });
    }
    return true;
}

// Puts a staged edit in place. Every step looks at what is done already, so that the recovery
// of an edit killed half-way runs this again to finish it; `undo` collects how to take back each
// step done here.
bool putInPlace(Context &context, const Paths &paths, const QString &appId, const QString &from, const QString &to,
                bool restoring, Undo *undo, QString *error)
{
    if (present(paths.staging)) {
        if (!StagedUpdate::moveAsideKeepingProfile(paths.bundle, paths.aside, paths.staging, u"edit"_s, undo, error))
            return false;
        if (!swapProfileFiles(paths.staging, undo, error))
            return false;
        if (const std::optional<QString> reason = injected(Step::Move))
            return Logger::fail(error, *reason);
        if (!ExclusiveRename::move(paths.staging, paths.target, error))
            return false;
        if (undo)
            undo->append([paths] { return ExclusiveRename::move(paths.target, paths.staging, nullptr); });
    }
    if (present(paths.stagedConfig)) {
        if (present(paths.config)) {
            QFile::remove(paths.previousConfig);
            if (!ExclusiveRename::move(paths.config, paths.previousConfig, error))
                return false;
            if (undo)
                undo->append([paths] { return replace(paths.previousConfig, paths.config, nullptr); });
        }
        if (!replace(paths.stagedConfig, paths.config, error))
            return false;
        if (undo)
            undo->append([paths] { return replace(paths.config, paths.stagedConfig, nullptr); });
    }
    if (paths.target != paths.bundle) {
        QString reason;
        const QVariant earlier = SNAppTracker(context).getTracker().value(appId);
        if (!SNAppTracker(context).updateAppTracker(appId, paths.target, &reason))
            return Logger::fail(error, reason);
        if (undo)
            undo->append([&context, appId, earlier] { return SNAppTracker(context).restoreRecord(appId, earlier); });
    }
    if (!from.isEmpty() && from != to) {
        // The profile last: it is the one step that is not a rename.
        if (const std::optional<QString> reason = injected(Step::ProfileSwitch))
            return Logger::fail(error, *reason);
        if (!ProfileBackup(context, paths.target).switchEngine(from, to, restoring, error))
            return false;
    }
    return true;
}

// What is left of an edit that was put in place.
void tidyUp(const Paths &paths)
{
    const QString oldContents = paths.aside + u"/Contents"_s;
    const QStringList profile = QDir(oldContents).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                                            QDir::NoDotAndDotDot)
                                    .filter(QRegularExpression(u"^\\.?Profile"_s));
    if (profile.isEmpty())
        QDir(paths.aside).removeRecursively();
    else
        Logger::log(u"⚠️ %1 still holds a profile and is kept"_s.arg(paths.aside));
    QFile::remove(paths.previousConfig);
    QDir(Paths::overlay(paths.target)).removeRecursively();
}

QString nameOf(const QString &bundle)
{
    QString name = QFileInfo(bundle).fileName();
    if (name.endsWith(u".app"_s))
        name.chop(4);
    return name;
}

} // namespace

StagedEdit::StagedEdit(Context &context, Request request)
    : m_context(context), m_request(std::move(request))
{
}

void StagedEdit::setFaultForTesting(Fault hook)
{
    fault() = std::move(hook);
}

bool StagedEdit::run(QString *error)
{
    const Request &r = m_request;
    const Paths paths(m_context, r.appId, r.bundle, r.target);
    QVariantMap entry{{OperationJournal::OperationKey, OperationJournal::Edit},
                      {OperationJournal::AppIdKey, r.appId},
                      {OperationJournal::BundleKey, r.bundle},
                      {OperationJournal::TargetKey, r.target},
                      {OperationJournal::FromBrowserKey, r.fromBrowser},
                      {OperationJournal::ToBrowserKey, r.toBrowser},
                      {OperationJournal::RestoringKey, r.restoring},
                      {PhaseKey, Staging}};
    if (present(paths.aside))
        return Logger::fail(error, u"an earlier edit of it is unfinished (%1); it is finished when Sorvane starts "
                                   "again"_s.arg(paths.aside));
    const std::unique_ptr<OperationJournal> journal = OperationJournal::begin(m_context, entry, error);
    if (!journal)
        return false;
    bool staged = false;
    {
        // What is staged is synced once, as a whole, before it is put in place.
        const AtomicWriter::DeferredSync deferred(paths.staging);
        staged = stage(error);
    }
    if (!staged || !AtomicWriter::syncFileSystemOf(paths.staging, error)) {
        paths.discardStaged();
        return false;
    }
    entry.insert(PhaseKey, Committing);
    if (!journal->update(entry, error)) {
        paths.discardStaged();
        return false;
    }
    Undo undo;
    QString reason;
    if (!putInPlace(m_context, paths, r.appId, r.plan.runs(Step::ProfileSwitch) ? r.fromBrowser : QString(),
                    r.toBrowser, r.restoring, &undo, &reason)) {
        bool undone = true;
        for (qsizetype i = undo.size() - 1; i >= 0; --i)
            undone = undo.at(i)() && undone;
        if (undone)
            paths.discardStaged();
        else
            journal->keepForRecovery(); // the next start finishes it
        return Logger::fail(error, reason);
    }
    tidyUp(paths);
    // Whatever shows the bundle's icon reads it again once the folder's date changes; the staged
    // folder carries the date it was made, before its icon was written.
    if (r.plan.runs(Step::Icon)) {
        if (::utimensat(AT_FDCWD, QFile::encodeName(r.target).constData(), nullptr, 0) != 0)
            Logger::log(u"⚠️ The new icon of %1 is in place, but the folder's date cannot be set (%2): a file "
                        "manager may show the old icon until it is restarted"_s.arg(
                            r.target, QString::fromLocal8Bit(std::strerror(errno))));
    }
    const BundleLayout installed = BundleLayout::atPath(r.target, r.definition.appName);
    BundleWriter(m_context, r.definition, installed).refreshMenuEntry(r.appId);
    LaunchServices::refreshRegistration(r.target);
    return true;
}

bool StagedEdit::stage(QString *error)
{
    const Request &r = m_request;
    const Paths paths(m_context, r.appId, r.bundle, r.target);
    paths.discardStaged(); // of an attempt that was undone at a start and could not be removed then
    // The bundle without its profile.
    if (!StagedUpdate::copyWithoutProfile(r.bundle, paths.staging, error))
        return false;
    // What carries the old name takes the new one; the steps below write it anew.
    const QString newName = r.definition.appName;
    if (r.oldExecutable != newName) {
        const QString executables = paths.staging + u"/Contents/MacOS/"_s;
        const QString resources = paths.staging + u"/Contents/Resources/"_s;
        QFile::remove(executables + r.oldExecutable);
        if (present(executables + BundleLayout::engineName(r.oldExecutable)) &&
            !ExclusiveRename::move(executables + BundleLayout::engineName(r.oldExecutable), executables + BundleLayout::engineName(newName), error))
            return false;
        for (const QString &inner : QStringList{QFileInfo(r.bundle).fileName(), r.oldExecutable + u".app"_s}) {
            if (inner != newName + u".app"_s && present(resources + inner) &&
                !ExclusiveRename::move(resources + inner, resources + newName + u".app"_s, error))
                return false;
        }
    }
    for (const Step step : r.plan.steps()) {
        if (step == Step::Move || step == Step::ProfileSwitch)
            continue; // while putting the edit in place
        if (const std::optional<QString> reason = injected(step))
            return Logger::fail(error, u"%1 could not be written: %2"_s.arg(EditPlan::describe(step), *reason));
        QString reason;
        if (!runStep(step, &reason))
            return Logger::fail(error, u"%1 could not be written: %2"_s.arg(EditPlan::describe(step), reason));
    }
    BundleWriter(m_context, r.definition, BundleLayout::atPath(paths.staging, newName),
                 BundleLayout::atPath(r.target, newName))
        .setPermissions();
    // The app's own profile takes the staged bundle's place when the edit is put in place.
    const QString stagedProfile = paths.staging + u"/Contents/Profile"_s;
    return !present(stagedProfile) || ExclusiveRename::move(stagedProfile, Paths::overlay(paths.staging), error);
}

bool StagedEdit::runStep(Step step, QString *error)
{
    const Request &r = m_request;
    const Paths paths(m_context, r.appId, r.bundle, r.target);
    const BundleLayout layout = BundleLayout::atPath(paths.staging, r.definition.appName);
    BundleWriter writer(m_context, r.definition, layout, BundleLayout::atPath(r.target, r.definition.appName));
    writer.setCompanionIncluded(r.companion);
    QString failure;
    bool written = true;
    switch (step) {
    case Step::Icon:
        written = writer.writeIcon(&failure);
        break;
    case Step::InfoPlist:
        written = writer.writeInfoPlist(&failure);
        break;
    case Step::CompanionFiles:
        written = writer.writeCompanionFiles(&failure);
        break;
    case Step::DataJSON:
        written = writer.writeDataJSON(&failure);
        break;
    case Step::LaunchPrograms:
        written = writer.installLaunchPrograms(&failure);
        break;
    case Step::Script: {
        const QString script = writer.scriptText(r.appId, &failure);
        written = !script.isEmpty() && writer.writeScript(script, &failure);
        break;
    }
    case Step::Engine:
        writer.buildEngine(); // as at creation: an engine that could not be built is built at the app's start
        break;
    case Step::AccentColor: {
        // Into a copy of the profile's preferences, swapped in when the edit is put in place.
        const QString own = r.bundle + u"/Contents/Profile/Default/Preferences"_s;
        if (!QDir().mkpath(layout.defaultUser))
            return Logger::fail(error, u"Cannot create %1"_s.arg(layout.defaultUser));
        if (present(own) && !QFile::copy(own, layout.defaultUser + u"/Preferences"_s))
            return Logger::fail(error, u"Cannot copy %1"_s.arg(own));
        return SNChromePrefsHelper::applyAccentColor(r.definition.accentColor, layout.profile, error);
    }
    case Step::Configuration:
        written = writer.writeConfiguration(paths.stagedConfig, PropertyList::readFile(paths.config).toMap(), &failure);
        break;
    case Step::ProfileSwitch:
    case Step::Move:
        break;
    }
    return written || Logger::fail(error, failure);
}

bool StagedEdit::recover(Context &context, const QVariantMap &entry)
{
    const QString appId = entry.value(OperationJournal::AppIdKey).toString();
    const QString bundle = entry.value(OperationJournal::BundleKey).toString();
    QString target = entry.value(OperationJournal::TargetKey).toString();
    if (target.isEmpty())
        target = bundle;
    const Paths paths(context, appId, bundle, target);
    if (!entry.contains(PhaseKey)) {
        // Earlier versions edited in place: the app is written again from what it says now.
        const QString at = present(target) ? target : bundle;
        QString error;
        if (QFileInfo(at).isDir() && (!SNUpdaterHelper::updateApp(context, at, &error) ||
                                      (at != bundle && !SNAppTracker(context).updateAppTracker(appId, at, &error)))) {
            Logger::log(u"⚠️ Recovery: %1"_s.arg(error));
            return false;
        }
        return true;
    }
    if (entry.value(PhaseKey).toString() != Committing) {
        // Nothing was in place yet: the app is as it was.
        paths.discardStaged();
        return true;
    }
    if (present(paths.staging) && !present(paths.aside) && !present(bundle)) {
        Logger::log(u"Recovery: %1 is gone; its unfinished edit is dropped"_s.arg(bundle));
        paths.discardStaged();
        return true;
    }
    QString error;
    const QString from = entry.value(OperationJournal::FromBrowserKey).toString();
    if (!putInPlace(context, paths, appId, from, entry.value(OperationJournal::ToBrowserKey).toString(),
                    entry.value(OperationJournal::RestoringKey).toBool(), nullptr, &error)) {
        Logger::log(u"⚠️ Recovery: %1"_s.arg(error));
        return false;
    }
    tidyUp(paths);
    AppDefinition definition;
    definition.appName = nameOf(target);
    BundleWriter(context, definition, BundleLayout::atPath(target, definition.appName)).refreshMenuEntry(appId);
    return true;
}
