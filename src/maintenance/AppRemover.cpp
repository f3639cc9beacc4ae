#include "maintenance/AppRemover.h"

#include "core/Logger.h"
#include "core/SNAppTracker.h"
#include "generation/AppConfigFile.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace Qt::Literals::StringLiterals;

const QString AppRemover::ConfirmationInformativeText =
    u"This will permanently delete the app from your Applications folder. This action cannot be undone."_s;
const QStringList AppRemover::ConfirmationButtons{u"Delete"_s, u"Cancel"_s};

QString AppRemover::confirmationMessage(const QString &appName)
{
    return u"Delete %1?"_s.arg(appName);
}

bool AppRemover::deleteApp(Context &context, const QString &appId, const QString &bundlePath, QString *error,
                           QString *leftover)
{
    const auto fail = [error](const QString &reason) {
        Logger::log(u"Failed to delete app: "_s + reason);
        if (error)
            *error = reason;
        return false;
    };
    const QFileInfo bundle(bundlePath);
    if (bundle.exists() && !bundle.isSymLink()) {
        if (!bundle.isDir())
            return fail(u"%1 is not an app bundle"_s.arg(bundlePath));
        if (SNUpdaterHelper::isEngineRunning(bundlePath))
            return fail(u"%1 is running; quit it first"_s.arg(bundle.fileName()));
        const QString away = u"%1/.%2.deleting-%3"_s.arg(
            bundle.absolutePath(), bundle.fileName(), QUuid::createUuid().toString(QUuid::Id128).left(8));
        // std::rename for the reason: QDir::rename does not say why it failed.
        if (std::rename(QFile::encodeName(bundlePath).constData(), QFile::encodeName(away).constData()) != 0)
            return fail(u"%1 cannot be removed: %2"_s.arg(bundlePath, QString::fromLocal8Bit(std::strerror(errno))));
        if (!QDir(away).removeRecursively()) {
            Logger::log(u"Failed to delete app: some files of %1 are left in %2"_s.arg(bundlePath, away));
            if (leftover)
                *leftover = away;
        }
    } else if (bundle.isSymLink() && !QFile::remove(bundlePath)) {
        return fail(u"%1 cannot be removed"_s.arg(bundlePath));
    }
    if (!appId.isEmpty()) {
        SNAppTracker tracker(context);
        if (QString reason; !tracker.deleteAppFromTracker(appId, &reason))
            return fail(reason);
        QFile::remove(AppConfigFile::path(tracker.getAppBundle(), appId));
    }
    return true;
}
