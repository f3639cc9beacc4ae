#include "editing/ProfileBackup.h"

#include "core/Context.h"
#include "core/ExclusiveRename.h"
#include "core/Logger.h"
#include "core/TreeCopy.h"
#include "core/Trash.h"

#include <QFile>
#include <QDir>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

// The copy being made for a backup; a fixed hidden name, so that a later run finds what a killed
// one left.
const QString PartialCopyName = u".Profile.partial"_s;

bool isFolder(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isSymLink();
}

bool isPresent(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
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
    return isFolder(pathFor(typeKey));
}

bool ProfileBackup::moveToTrash(const QString &path, QString *error)
{
    QString reason;
    if (!m_context.trash().moveToTrash(path, nullptr, &reason))
        return Logger::fail(error, u"Cannot move %1 to the Trash: %2"_s.arg(path, reason));
    return true;
}

bool ProfileBackup::switchEngine(const QString &from, const QString &to, bool restoring, QString *error)
{
    const QString profile = m_contents + u"/Profile"_s;
    const QString fromBackup = pathFor(from);
    const QString toBackup = pathFor(to);
    QString reason;
    if (restoring && isFolder(toBackup)) {
        if (isFolder(profile)) {
            if (isPresent(fromBackup) && !moveToTrash(fromBackup, error))
                return false;
            if (!ExclusiveRename::rename(profile, fromBackup, nullptr, &reason))
                return Logger::fail(error, u"Cannot back up the profile to %1: %2"_s.arg(fromBackup, reason));
            Logger::log(u"Profile backed up to %1"_s.arg(fromBackup));
        }
        if (!ExclusiveRename::rename(toBackup, profile, nullptr, &reason))
            return Logger::fail(error, u"Cannot restore the profile from %1: %2"_s.arg(toBackup, reason));
        Logger::log(u"Profile restored from %1"_s.arg(toBackup));
        return true;
    }
    if (restoring && !isFolder(profile) && isFolder(fromBackup)) {
        // Only when a killed run had done the first rename and not the second, and the backup of
        // `to` is already in place: nothing is left to restore, so the profile comes back.
        if (!ExclusiveRename::rename(fromBackup, profile, nullptr, &reason))
            return Logger::fail(error, u"Cannot put the profile back from %1: %2"_s.arg(fromBackup, reason));
        return true;
    }
    if (!isFolder(profile))
        return true; // nothing to keep yet
    const QString partial = m_contents + u'/' + PartialCopyName;
    QDir(partial).removeRecursively();
    if (const std::optional<QString> copyError = TreeCopy::copy(profile, partial, {})) {
        QDir(partial).removeRecursively();
        return Logger::fail(error, u"Cannot back up the profile: %1"_s.arg(*copyError));
    }
    if (isPresent(fromBackup) && !moveToTrash(fromBackup, error)) {
        QDir(partial).removeRecursively();
        return false;
    }
    if (!ExclusiveRename::rename(partial, fromBackup, nullptr, &reason)) {
        QDir(partial).removeRecursively();
        return Logger::fail(error, u"Cannot back up the profile to %1: %2"_s.arg(fromBackup, reason));
    }
    Logger::log(u"Profile backed up to %1"_s.arg(fromBackup));
    return true;
}

bool ProfileBackup::recoverLeftovers(const QString &currentEngine, QString *error)
{
    const QString profile = m_contents + u"/Profile"_s;
    QString reason;
    // Working names of this version (fixed) and of earlier ones (with a process id).
    const QStringList leftovers =
        QDir(m_contents).entryList({u".Profile.*"_s}, QDir::AllEntries | QDir::Hidden | QDir::System, QDir::Name);
    // A profile that exists only under a working name of an earlier version's restore comes
    // back first; everything else hidden is a copy of a profile that is in its place.
    for (const QString &name : leftovers) {
        const QString path = m_contents + u'/' + name;
        if (!isFolder(profile) && name.startsWith(u".Profile.replaced-"_s) && isFolder(path)) {
            if (!ExclusiveRename::rename(path, profile, nullptr, &reason))
                return Logger::fail(error, u"Cannot put the profile back from %1: %2"_s.arg(path, reason));
            Logger::log(u"Profile put back from %1"_s.arg(path));
        }
    }
    if (!isFolder(profile) && !currentEngine.isEmpty() && isFolder(pathFor(currentEngine))) {
        if (!ExclusiveRename::rename(pathFor(currentEngine), profile, nullptr, &reason))
            return Logger::fail(error, u"Cannot put the profile back from %1: %2"_s.arg(pathFor(currentEngine), reason));
        Logger::log(u"Profile put back from %1"_s.arg(pathFor(currentEngine)));
    }
    for (const QString &name : QDir(m_contents).entryList({u".Profile.*"_s}, QDir::AllEntries | QDir::Hidden | QDir::System)) {
        const QString path = m_contents + u'/' + name;
        if (isFolder(profile) && (name == PartialCopyName || name.startsWith(u".Profile.backup-"_s))) {
            // An unfinished copy of the profile, which is in its place.
            if (!QDir(path).removeRecursively() && !QFile::remove(path))
                return Logger::fail(error, u"Cannot remove the unfinished copy %1"_s.arg(path));
        } else if (!moveToTrash(path, error)) {
            return false;
        }
    }
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
