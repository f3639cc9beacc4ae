#include "maintenance/AppRemover.h"

#include "core/AppLock.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/OperationJournal.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "core/Trash.h"
#include "generation/AppConfigFile.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

const QString AppRemover::ConfirmationInformativeText =
    u"This will permanently delete the app from your Applications folder. This action cannot be undone."_s;
const QStringList AppRemover::ConfirmationButtons{u"Delete"_s, u"Cancel"_s};

namespace {

bool present(const QFileInfo &info)
{
    return info.exists() || info.isSymLink();
}

// The record's part of a deletion: the registry entry (and with it the menu entry) and the stored
// configuration.
bool forget(Context &context, const QString &appId, QString *error)
{
    SNAppTracker tracker(context);
    if (!tracker.deleteAppFromTracker(appId, error))
        return false;
    QFile::remove(AppConfigFile::path(tracker.getAppBundle(), appId));
    return true;
}

} // namespace

QString AppRemover::confirmationMessage(const QString &appName)
{
    return u"Delete %1?"_s.arg(appName);
}

bool AppRemover::deleteApp(Context &context, const QString &appId, const QString &bundlePath, QString *error,
                           QString *trashedPath)
{
    const auto fail = [error](const QString &reason) {
        Logger::log(u"Failed to delete app: "_s + reason);
        if (error)
            *error = reason;
        return false;
    };
    const QString path = QDir::cleanPath(QFileInfo(bundlePath).absoluteFilePath());
    if (appId.isEmpty())
        return fail(u"%1 is not an app in Sorvane's registry; nothing was deleted"_s.arg(path));

    const AppLock lock(context, appId);
    if (!lock.isLocked())
        return fail(lock.errorString());
    // Checked under the lock: the record may have changed while waiting for it.
    const QVariantMap record = SNAppTracker(context).getTracker().value(appId).toMap();
    if (record.isEmpty())
        return fail(u"no app with the id %1 is in Sorvane's registry; nothing was deleted"_s.arg(appId));
    const QString recorded = QDir::cleanPath(record.value(u"appPath"_s).toString());
    if (recorded != path)
        return fail(u"%1 is not where the registry has the app %2 (%3); nothing was deleted"_s.arg(path, appId, recorded));

    const QFileInfo bundle(path);
    if (!present(bundle)) {
        // Gone already (by hand, or by a deletion that was interrupted): only the record is left.
        if (QString reason; !forget(context, appId, &reason))
            return fail(reason);
        if (trashedPath)
            trashedPath->clear();
        return true;
    }
    if (bundle.isSymLink() || !bundle.isDir())
        return fail(u"%1 is not an app bundle; nothing was deleted"_s.arg(path));
    if (!SNUpdaterHelper::isSorvaneBundle(PropertyList::readFile(path + u"/Contents/Info.plist"_s).toMap()))
        return fail(u"%1 was not made by Sorvane; nothing was deleted"_s.arg(path));
    // The id the bundle carries itself: a copy of an app carries the original's, and deleting it
    // must not take the original's record, configuration and menu entry with it.
    const QString carried = SNUpdaterHelper::appInfo(path).value_or(QVariantMap{}).value(u"appID"_s).toString();
    if (!carried.isEmpty() && carried.compare(appId, Qt::CaseInsensitive) != 0)
        return fail(u"%1 belongs to the app %2, not %3; nothing was deleted"_s.arg(path, carried, appId));
    if (SNUpdaterHelper::isEngineRunning(path))
        return fail(u"%1 is running; quit it first"_s.arg(bundle.fileName()));

    QString reason;
    const std::unique_ptr<OperationJournal> journal = OperationJournal::begin(
        context,
        {{OperationJournal::OperationKey, OperationJournal::Delete},
         {OperationJournal::AppIdKey, appId},
         {OperationJournal::BundleKey, path}},
        &reason);
    if (!journal)
        return fail(reason);
    QString where;
    if (!context.trash().moveToTrash(path, &where, &reason))
        return fail(u"%1 could not be moved to the Trash: %2"_s.arg(path, reason));
    if (!forget(context, appId, &reason)) {
        // The app is in the Trash; the next start takes its record away.
        journal->keepForRecovery();
        return fail(u"%1 is in the Trash, but %2"_s.arg(path, reason));
    }
    if (trashedPath)
        *trashedPath = where;
    return true;
}

bool AppRemover::recover(Context &context, const QString &appId, const QString &bundlePath)
{
    const QFileInfo bundle(bundlePath);
    // Still in its place: the deletion stopped before the Trash, and the app stays as it was.
    QString reason;
    if (!present(bundle) && !forget(context, appId, &reason)) {
        Logger::log(u"⚠️ Recovery: %1"_s.arg(reason));
        return false;
    }
    return true;
}
