#include "core/AtomicWriter.h"
#include "core/DesktopEntries.h"
#include "core/Logger.h"
#include "core/BoundedImageReader.h"
#include "core/IconSet.h"
#include "core/LetterIcon.h"
#include "core/PropertyList.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString IconFilePrefix = u"sorvane-"_s;

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}

// A key file can carry a line break, tab or carriage return (escaped), but no other control
// character.
bool hasUnwritableCharacter(const QString &text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar c) {
        return c.category() == QChar::Other_Control && c != u'\n' && c != u'\t' && c != u'\r';
    });
}

// The "<s>x<s>" folders of the icon theme, by size.
QList<int> iconSizeFolders(const QString &theme)
{
    static const QRegularExpression square(u"\\A([1-9][0-9]{0,4})x\\1\\z"_s);
    QList<int> sizes;
    for (const QString &name : QDir(theme).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QRegularExpressionMatch match = square.match(name);
        if (match.hasMatch())
            sizes << match.captured(1).toInt();
    }
    return sizes;
}

QString iconPath(const QString &theme, int size, const QString &appId)
{
    return u"%1/%2x%2/apps/%3%4.png"_s.arg(theme).arg(size).arg(IconFilePrefix, appId);
}

bool removeIfThere(const QString &path, QString *error)
{
    const QFileInfo file(path);
    if (!file.exists() && !file.isSymLink())
        return true;
    return QFile::remove(path) || fail(error, u"%1 cannot be removed"_s.arg(path));
}

// The icon's PNG entries by pixel size: those of the icon file, as they are, else (no file, or
// none readable) the app's drawn initial.
QList<std::pair<int, QByteArray>> menuIcons(const QString &icns, const QString &appName, const QString &appId)
{
    QList<std::pair<int, QByteArray>> pngs;
    QFile file(icns);
    QString reason;
    IconSet icons;
    if (!file.exists())
        reason = u"there is none"_s;
    else if (file.size() > BoundedImageReader::MaximumFileBytes)
        reason = u"it is larger than %1 MB"_s.arg(BoundedImageReader::MaximumFileBytes / (1024 * 1024));
    else if (!file.open(QIODevice::ReadOnly))
        reason = file.errorString();
    else
        icons = IconSet::fromIcns(file.readAll(), &reason);
    for (const IconSet::Entry &entry : icons.entries())
        pngs.append({entry.pixels, entry.png});
    if (!pngs.isEmpty())
        return pngs;
    Logger::log(u"The menu icon of %1 cannot be read from %2 (%3); it shows the app's initial"_s.arg(appId, icns, reason));
    for (const int side : {48, 128, 256}) {
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        if (LetterIcon::draw(appName, side).save(&buffer, "PNG"))
            pngs.append({side, png});
    }
    return pngs;
}

// The file's bytes when it is a file of its own, else nothing (a link is replaced by a file).
std::optional<QByteArray> fileBytes(const QString &path)
{
    QFile file(path);
    const QFileInfo info(path);
    if (info.isSymLink() || !info.isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

// Writes `bytes` to `path` unless the file holds them already; `changes` gets `what` + " added"
// or " changed" when it is written.
bool writeIfDifferent(const QString &path, const QByteArray &bytes, const QString &what, QStringList *changes,
                      QString *reason)
{
    const std::optional<QByteArray> old = fileBytes(path);
    if (old == bytes)
        return true;
    if (!QDir().mkpath(QFileInfo(path).path()) || !AtomicWriter::write(path, bytes, reason))
        return false;
    if (changes)
        changes->append(what + (old ? u" changed"_s : u" added"_s));
    return true;
}

// One PNG per distinct square size of the icon, in the theme; the sizes in place.
QSet<int> installIcons(const QString &theme, const QList<std::pair<int, QByteArray>> &icons, const QString &appId,
                       QString *error, QStringList *changes)
{
    QSet<int> written;
    QString reason;
    for (const auto &[pixels, png] : icons) {
        const QString path = iconPath(theme, pixels, appId);
        if (!writeIfDifferent(path, png, u"icon %1x%1"_s.arg(pixels), changes, &reason)) {
            if (error && error->isEmpty())
                *error = u"%1 cannot be written: %2"_s.arg(path, reason);
            continue;
        }
        written.insert(pixels);
    }
    return written;
}

} // namespace

bool DesktopEntries::writeAppEntry(const QString &appId, const QString &bundlePath, QString *error,
                                   QStringList *changes) const
{
    if (!isSafeAppId(appId))
        return fail(error, u"No menu entry for the registry id \"%1\": it is not a plain id"_s.arg(appId));
    if (!QDir::isAbsolutePath(bundlePath) || hasUnwritableCharacter(bundlePath))
        return fail(error, u"No menu entry for %1: the app's path cannot be started from a menu"_s.arg(bundlePath));
    const QString bundle = QDir::cleanPath(bundlePath);
    const QVariantMap plist = PropertyList::readFile(bundle + u"/Contents/Info.plist"_s).toMap();
    const QString executable = plist.value(u"CFBundleExecutable"_s).toString();
    if (executable.isEmpty() || executable.contains(u'/') || executable == u".."_s || executable == u"."_s ||
        hasUnwritableCharacter(executable))
        return fail(error, u"No menu entry for %1: it names no launch program"_s.arg(bundle));

    Entry entry;
    // The launch program carries the app's name, and a rename renames it (Info.plist's display
    // name stays as it was made).
    entry.name = executable;
    entry.program = bundle + u"/Contents/MacOS/"_s + executable;
    entry.icon = IconFilePrefix + appId;
    entry.windowClass = windowClass(appId);
    entry.categories = {u"Network"_s};
    // Apps registered as browsers name URL types in their Info.plist.
    if (!plist.value(u"CFBundleURLTypes"_s).toList().isEmpty()) {
        entry.passesLinks = true;
        entry.categories << u"WebBrowser"_s;
        entry.mimeTypes = {u"x-scheme-handler/http"_s, u"x-scheme-handler/https"_s, u"text/html"_s};
    }

    QStringList iconChanges;
    QString iconError;
    const QString theme = iconThemeFolder();
    const QSet<int> sizes = installIcons(
        theme, menuIcons(bundle + u"/Contents/Resources/icon.icns"_s, entry.name, appId), appId, &iconError, &iconChanges);
    for (const int size : iconSizeFolders(theme)) {
        const QString stale = iconPath(theme, size, appId);
        if (sizes.contains(size) || !(QFileInfo(stale).exists() || QFileInfo(stale).isSymLink()))
            continue;
        if (removeIfThere(stale, &iconError))
            iconChanges.append(u"icon %1x%1 removed"_s.arg(size));
    }

    const QByteArray text = entryText(entry);
    const std::optional<QByteArray> old = fileBytes(entryPath(appId));
    QString reason;
    if (old != text &&
        (!QDir().mkpath(applicationsFolder()) || !AtomicWriter::write(entryPath(appId), text, &reason)))
        return fail(error, u"The menu entry %1 cannot be written: %2"_s.arg(entryPath(appId), reason));
    if (changes) {
        if (!old)
            changes->append(u"created"_s);
        else if (old != text)
            changes->append(entryChanges(*old, text));
        changes->append(iconChanges);
    }
    if (!iconError.isEmpty())
        return fail(error, iconError);
    return true;
}

bool DesktopEntries::removeAppEntry(const QString &appId, QString *error) const
{
    if (!isSafeAppId(appId))
        return fail(error, u"No menu entry to remove for the registry id \"%1\": it is not a plain id"_s.arg(appId));
    bool removed = removeIfThere(entryPath(appId), error);
    const QString theme = iconThemeFolder();
    for (const int size : iconSizeFolders(theme))
        removed = removeIfThere(iconPath(theme, size, appId), error) && removed;
    return removed;
}

QStringList DesktopEntries::entryAppIds() const
{
    QStringList ids;
    const QStringList names = QDir(applicationsFolder())
                                  .entryList({u"sorvane-*.desktop"_s}, QDir::Files | QDir::System | QDir::Hidden,
                                             QDir::Name);
    for (const QString &name : names) {
        const QString id = name.mid(IconFilePrefix.size()).chopped(QStringLiteral(".desktop").size());
        if (isSafeAppId(id))
            ids << id;
    }
    return ids;
}

bool DesktopEntries::writeSorvaneEntry(const QString &program, QString *error, bool *changed) const
{
    if (changed)
        *changed = false;
    if (!QDir::isAbsolutePath(program) || hasUnwritableCharacter(program))
        return fail(error, u"No menu entry for %1: it is not an absolute path"_s.arg(program));
    Entry entry;
    entry.name = u"Sorvane"_s;
    entry.program = QDir::cleanPath(program);
    entry.passesLinks = true;
    entry.categories = {u"Network"_s, u"Utility"_s};
    entry.mimeTypes = {u"x-scheme-handler/sorvane"_s};
    const QString path = applicationsFolder() + u"/sorvane.desktop"_s;
    QString reason;
    QStringList changes;
    if (!writeIfDifferent(path, entryText(entry), u"entry"_s, &changes, &reason))
        return fail(error, u"The menu entry %1 cannot be written: %2"_s.arg(path, reason));
    if (changed)
        *changed = !changes.isEmpty();
    return true;
}
