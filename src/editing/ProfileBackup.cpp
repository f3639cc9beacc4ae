#include "editing/ProfileBackup.h"

#include "core/Context.h"
#include "core/ExclusiveRename.h"
#include "core/Logger.h"
#include "core/TreeCopy.h"
#include "core/Trash.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

// A hidden name beside the profile for work in progress, unique to this process.
QString scratchPath(const QString &contents, const QString &purpose)
{
    return u"%1/.Profile.%2-%3"_s.arg(contents, purpose).arg(QCoreApplication::applicationPid());
}

} // namespace

ProfileBackup::ProfileBackup(Context &context, const QString &bundlePath)
    : m_context(context), m_contents(bundlePath + u"/Contents"_s)
{
}

QString ProfileBackup::pathFor(const QString &typeKey) const
{
    return u"%1/Profile.%2.backup"_s.arg(m_contents, typeKey);
}

bool ProfileBackup::exists(const QString &typeKey) const
{
    const QFileInfo backup(pathFor(typeKey));
    return backup.isDir() && !backup.isSymLink();
}

bool ProfileBackup::backUp(const QString &typeKey, QString *error)
{
    const QString profile = m_contents + u"/Profile"_s;
    if (!QFileInfo(profile).isDir())
        return true; // nothing to keep yet
    const QString scratch = scratchPath(m_contents, u"backup"_s);
    QDir(scratch).removeRecursively();
    if (const std::optional<QString> copyError = TreeCopy::copy(profile, scratch, {})) {
        QDir(scratch).removeRecursively();
        return Logger::fail(error, u"Cannot back up the profile: %1"_s.arg(*copyError));
    }
    const QString backup = pathFor(typeKey);
    if (QFileInfo(backup).exists() || QFileInfo(backup).isSymLink()) {
        QString trashError;
        if (!m_context.trash().moveToTrash(backup, nullptr, &trashError)) {
            QDir(scratch).removeRecursively();
            return Logger::fail(error, u"Cannot move the older backup %1 to the Trash: %2"_s.arg(backup, trashError));
        }
    }
    QString renameError;
    if (!ExclusiveRename::rename(scratch, backup, nullptr, &renameError)) {
        QDir(scratch).removeRecursively();
        return Logger::fail(error, u"Cannot back up the profile to %1: %2"_s.arg(backup, renameError));
    }
    Logger::log(u"Profile backed up to %1"_s.arg(backup));
    return true;
}

bool ProfileBackup::restore(const QString &typeKey, QString *error)
{
    const QString backup = pathFor(typeKey);
    if (!exists(typeKey))
        return Logger::fail(error, u"There is no backup at %1"_s.arg(backup));
    const QString profile = m_contents + u"/Profile"_s;
    const QString replaced = scratchPath(m_contents, u"replaced"_s);
    QString renameError;
    if (QFileInfo(profile).exists() && !ExclusiveRename::rename(profile, replaced, nullptr, &renameError))
        return Logger::fail(error, u"Cannot set the profile aside: %1"_s.arg(renameError));
    if (!ExclusiveRename::rename(backup, profile, nullptr, &renameError)) {
        ExclusiveRename::rename(replaced, profile);
        return Logger::fail(error, u"Cannot restore the profile from %1: %2"_s.arg(backup, renameError));
    }
    QDir(replaced).removeRecursively();
    Logger::log(u"Profile restored from %1"_s.arg(backup));
    return true;
}

QString ProfileBackup::switchWarning(const QString &appName, const QString &fromBrowser, const QString &toBrowser,
                                     bool restoresBackup)
{
    QStringList sentences{
        u"Quit %1 before switching its engine, so its tabs and data are saved first."_s.arg(appName),
        u"Sign-ins, saved passwords and extensions of %1 are stored for this app. After switching you'll be "
        "signed out of websites, saved passwords won't fill, and installed extensions, the default search "
        "engine and startup settings will be reset."_s.arg(fromBrowser),
        u"Its %1 data is backed up first, so switching back later can restore it."_s.arg(fromBrowser),
    };
    if (restoresBackup)
        sentences.append(u"The data it had when it last ran on %1 is restored."_s.arg(toBrowser));
    return sentences.join(u' ');
}
