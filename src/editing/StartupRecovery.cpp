#include "editing/StartupRecovery.h"

#include "core/AppLock.h"
#include "core/AtomicWriter.h"
#include "core/Context.h"
#include "core/DesktopEntries.h"
#include "core/Ids.h"
#include "core/Logger.h"
#include "core/OperationJournal.h"
#include "core/SNAppTracker.h"
#include "core/Trash.h"
#include "editing/ProfileBackup.h"
#include "editing/StagedEdit.h"
#include "generation/AppConfigFile.h"
#include "generation/StagedBundle.h"
#include "maintenance/AppRemover.h"
#include "maintenance/SNUpdaterHelper.h"
#include "maintenance/StagedUpdate.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

using namespace Qt::Literals::StringLiterals;

namespace {

bool present(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

QString carriedId(const QString &bundle)
{
    return SNUpdaterHelper::appInfo(bundle).value_or(QVariantMap{}).value(u"appID"_s).toString();
}

} // namespace

StartupRecovery::StartupRecovery(Context &context)
    : m_context(context)
{
}

int StartupRecovery::run()
{
    const int handled =
        OperationJournal::recoverAbandoned(m_context, [this](const QVariantMap &entry) { return recover(entry); });
    cleanLeftovers();
    if (handled > 0)
        dropStaleRecords();
    return handled;
}

bool StartupRecovery::recover(const QVariantMap &entry)
{
    const QString operation = entry.value(OperationJournal::OperationKey).toString();
    const QString appId = entry.value(OperationJournal::AppIdKey).toString();
    const QString bundle = entry.value(OperationJournal::BundleKey).toString();
    // An id that could not name the app's files is not one Sorvane wrote: nothing to go on.
    if (!Ids::isUsableRegistryId(appId) || bundle.isEmpty())
        return true;
    Logger::log(u"Recovering an interrupted %1 of %2"_s.arg(operation, bundle));
    // Where its hidden working folders may be, now that the app may be gone from the registry.
    m_folders.insert(QFileInfo(bundle).path());
    const AppLock lock(m_context, appId);
    if (operation == OperationJournal::Create)
        return recoverCreate(appId, bundle);
    if (operation == OperationJournal::Delete)
        return AppRemover::recover(m_context, appId, bundle);
    if (operation == OperationJournal::Edit)
        return recoverEdit(entry);
    if (operation == OperationJournal::Update)
        return StagedUpdate::recover(m_context, entry);
    Logger::log(u"⚠️ Unknown interrupted change '%1' of %2 left as it is"_s.arg(operation, bundle));
    return true;
}

bool StartupRecovery::recoverCreate(const QString &appId, const QString &bundle)
{
    if (present(bundle) && carriedId(bundle).compare(appId, Qt::CaseInsensitive) == 0) {
        DesktopEntries(m_context).refreshAppEntry(appId, bundle);
        return true; // it was complete; only the end of the creation was missed
    }
    // Never moved into place: what it built is a hidden staging folder, removed below.
    SNAppTracker tracker(m_context);
    QString reason;
    if (!tracker.deleteAppFromTracker(appId, &reason)) {
        Logger::log(u"⚠️ Recovery: %1"_s.arg(reason));
        return false; // tried again at the next start
    }
    QFile::remove(AppConfigFile::path(tracker.getAppBundle(), appId));
    return true;
}

bool StartupRecovery::recoverEdit(const QVariantMap &entry)
{
    const QString bundle = entry.value(OperationJournal::BundleKey).toString();
    const QString target = entry.value(OperationJournal::TargetKey).toString();
    if (!StagedEdit::recover(m_context, entry))
        return false;
    const QString at = present(target) ? target : bundle;
    if (!QFileInfo(at).isDir())
        return true; // the app is gone; nothing of it to finish
    const QString engine = SNUpdaterHelper::appInfo(at).value_or(QVariantMap{}).value(u"browserType"_s).toString();
    QString error;
    if (!ProfileBackup(m_context, at).recoverLeftovers(engine, &error)) {
        Logger::log(u"⚠️ Recovery: %1"_s.arg(error));
        return false;
    }
    removeUnfinishedWrites(at);
    return true;
}

void StartupRecovery::removeUnfinishedWrites(const QString &bundle)
{
    // Under the app's lock nothing else writes into the bundle, so every temporary file there is
    // a killed writer's. The profile is the engine's, and left alone.
    const QString profile = bundle + u"/Contents/Profile"_s;
    QDirIterator files(bundle, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        if (!path.startsWith(profile) && AtomicWriter::isTemporaryName(files.fileName()))
            QFile::remove(path);
    }
}

void StartupRecovery::cleanLeftovers()
{
    // A killed write into the support folder (the registry, a configuration) left its temporary
    // file; one that is an hour old belongs to no writer that is still running.
    const QDateTime anHourAgo = QDateTime::currentDateTimeUtc().addSecs(-3600);
    for (const QFileInfo &file : QDir(m_context.supportFolder()).entryInfoList(QDir::Files | QDir::Hidden)) {
        if (AtomicWriter::isTemporaryName(file.fileName()) && file.lastModified().toUTC() < anHourAgo)
            QFile::remove(file.filePath());
    }
    const QVariantMap records = SNAppTracker(m_context).getTracker();
    // The folders apps live in: the applications folder and wherever registered apps are.
    QSet<QString> folders{m_context.applicationsFolder()};
    folders.unite(m_folders);
    for (const QVariant &record : records)
        folders.insert(QFileInfo(record.toMap().value(u"appPath"_s).toString()).path());
    for (const QString &folder : std::as_const(folders)) {
        if (folder.isEmpty() || folder == u"."_s || !QFileInfo(folder).isDir())
            continue;
        StagedBundle::removeStale(folder);
        // Earlier versions deleted for good through a hidden name; what one left goes to the Trash.
        for (const QString &name : QDir(folder).entryList({u".*.app.deleting-*"_s}, QDir::Dirs | QDir::Hidden)) {
            QString reason;
            if (!m_context.trash().moveToTrash(folder + u'/' + name, nullptr, &reason))
                Logger::log(u"⚠️ %1"_s.arg(reason));
        }
    }
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const QString path = it.value().toMap().value(u"appPath"_s).toString();
        const QString contents = path + u"/Contents"_s;
        if (path.isEmpty() ||
            QDir(contents).entryList({u".Profile.*"_s}, QDir::AllEntries | QDir::Hidden | QDir::System).isEmpty())
            continue;
        const AppLock lock(m_context, it.key(), FileLock::Wait::No);
        if (!lock.isLocked())
            continue; // being changed right now
        const QString engine = SNUpdaterHelper::appInfo(path).value_or(QVariantMap{}).value(u"browserType"_s).toString();
        QString error;
        if (!ProfileBackup(m_context, path).recoverLeftovers(engine, &error))
            Logger::log(u"⚠️ Recovery: %1"_s.arg(error));
    }
}

void StartupRecovery::dropStaleRecords()
{
    SNAppTracker tracker(m_context);
    const QVariantMap records = tracker.getTracker();
    QHash<QString, QStringList> idsByPath;
    for (auto it = records.cbegin(); it != records.cend(); ++it)
        idsByPath[QDir::cleanPath(it.value().toMap().value(u"appPath"_s).toString())].append(it.key());
    for (auto it = idsByPath.cbegin(); it != idsByPath.cend(); ++it) {
        if (it.value().size() < 2)
            continue;
        const QString carried = carriedId(it.key());
        if (carried.isEmpty())
            continue; // cannot tell which is the app's own
        for (const QString &id : it.value()) {
            if (id.compare(carried, Qt::CaseInsensitive) != 0) {
                Logger::log(u"Recovery: the record %1 named %2, which is the app %3; removed"_s.arg(id, it.key(), carried));
                if (QString reason; !tracker.deleteAppFromTracker(id, &reason))
                    Logger::log(u"⚠️ Recovery: %1"_s.arg(reason));
            }
        }
    }
}
