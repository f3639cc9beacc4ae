#include "core/DesktopEntries.h"

#include "core/Constants.h"
#include "core/Logger.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace {

// A value of type string in a key file: the backslash and the line breaks and tabs are escaped,
// so no value can end its line and start a key of its own. Other control characters cannot be
// written at all and become spaces.
QString keyFileString(const QString &value)
{
    QString text;
    text.reserve(value.size());
    for (const QChar c : value) {
        switch (c.unicode()) {
        case u'\\': text += u"\\\\"_s; break;
        case u'\n': text += u"\\n"_s; break;
        case u'\t': text += u"\\t"_s; break;
        case u'\r': text += u"\\r"_s; break;
        default: text += c.category() == QChar::Other_Control ? QChar(u' ') : c;
        }
    }
    // A leading space would be taken for the space around '='.
    if (text.startsWith(u' '))
        text.replace(0, 1, u"\\s"_s);
    return text;
}

QString listValue(const QStringList &items)
{
    return items.join(u';') + u';';
}

} // namespace

DesktopEntries::DesktopEntries(Context &context)
    : m_context(context)
{
}

bool DesktopEntries::isSafeAppId(const QString &appId)
{
    static const QRegularExpression plain(u"\\A[A-Za-z0-9_-]{1,64}\\z"_s);
    return plain.match(appId).hasMatch();
}

QString DesktopEntries::windowClass(const QString &appId)
{
    return isSafeAppId(appId) ? u"sorvane-"_s + appId : QString();
}

QString DesktopEntries::execValue(const QString &program, bool passesLinks)
{
    // The program is always one quoted argument: inside the quotes '"', '`', '$' and '\' take a
    // backslash, and '%' is doubled everywhere so that no field code is read into a path.
    QString quoted;
    for (const QChar c : program) {
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    QString exec = u'"' + quoted.replace(u'%', u"%%"_s) + u'"';
    // A launcher checks that the program exists before it expands the field codes, so a program
    // whose path holds '%' would be looked for under "%%" and the entry refused: `env` starts it
    // instead, getting the path, with its '%' restored, as its one argument.
    if (program.contains(u'%'))
        exec.prepend(u"env "_s);
    if (passesLinks)
        exec += u" %u"_s;
    return exec;
}

QByteArray DesktopEntries::entryText(const Entry &entry)
{
    QStringList lines{u"[Desktop Entry]"_s, u"Type=Application"_s, u"Version=1.4"_s,
                      u"Name="_s + keyFileString(entry.name),
                      u"Exec="_s + keyFileString(execValue(entry.program, entry.passesLinks))};
    if (!entry.icon.isEmpty())
        lines << u"Icon="_s + keyFileString(entry.icon);
    if (!entry.windowClass.isEmpty())
        lines << u"StartupWMClass="_s + keyFileString(entry.windowClass);
    lines << u"Terminal=false"_s;
    if (!entry.categories.isEmpty())
        lines << u"Categories="_s + listValue(entry.categories);
    if (!entry.mimeTypes.isEmpty())
        lines << u"MimeType="_s + listValue(entry.mimeTypes);
    return (lines.join(u'\n') + u'\n').toUtf8();
}

void DesktopEntries::refreshAppEntry(const QString &appId, const QString &bundlePath) const
{
    QString reason;
    if (!writeAppEntry(appId, bundlePath, &reason))
        Logger::log(reason);
}

QString DesktopEntries::dataHome() const
{
    // Per the freedesktop base-directory rules, a relative XDG_DATA_HOME is ignored.
    const QString fromEnvironment = qEnvironmentVariable("XDG_DATA_HOME");
    if (QDir::isAbsolutePath(fromEnvironment))
        return QDir::cleanPath(fromEnvironment);
    return m_context.homeFolder() + u"/.local/share"_s;
}

QString DesktopEntries::applicationsFolder() const
{
    return dataHome() + u"/applications"_s;
}

QString DesktopEntries::iconThemeFolder() const
{
    return dataHome() + u"/icons/hicolor"_s;
}

QString DesktopEntries::entryPath(const QString &appId) const
{
    if (!isSafeAppId(appId))
        return {};
    return applicationsFolder() + u"/sorvane-"_s + appId + u".desktop"_s;
}

QString DesktopEntries::installedSorvaneEntry() const
{
    // The base-directory rules: the default when unset or empty, relative entries ignored.
    QString dataDirs = qEnvironmentVariable("XDG_DATA_DIRS");
    if (dataDirs.isEmpty())
        dataDirs = u"/usr/local/share:/usr/share"_s;
    const QString name = u"/applications/"_s + Constants::SorvaneBundleIdentifier + u".desktop"_s;
    for (const QString &folder : dataDirs.split(u':', Qt::SkipEmptyParts)) {
        if (QDir::isAbsolutePath(folder) && QDir::cleanPath(folder) != dataHome() &&
            QFileInfo(folder + name).isFile())
            return QDir::cleanPath(folder + name);
    }
    return {};
}

QStringList DesktopEntries::entryChanges(const QByteArray &before, const QByteArray &after)
{
    // Key order as the entry after the change has it, then the keys that are gone.
    const auto keys = [](const QByteArray &text) {
        QList<std::pair<QByteArray, QByteArray>> pairs;
        for (const QByteArray &line : text.split('\n')) {
            const qsizetype equals = line.indexOf('=');
            if (equals > 0 && !line.startsWith('#'))
                pairs.append({line.left(equals).trimmed(), line.mid(equals + 1).trimmed()});
        }
        return pairs;
    };
    const QList<std::pair<QByteArray, QByteArray>> old = keys(before);
    const QList<std::pair<QByteArray, QByteArray>> now = keys(after);
    const auto valueIn = [](const QList<std::pair<QByteArray, QByteArray>> &pairs, const QByteArray &key) {
        for (const auto &[name, value] : pairs) {
            if (name == key)
                return std::optional<QByteArray>(value);
        }
        return std::optional<QByteArray>();
    };
    QStringList changes;
    for (const auto &[key, value] : now) {
        if (valueIn(old, key) != value)
            changes.append(u"%1 changed"_s.arg(QString::fromUtf8(key)));
    }
    for (const auto &[key, value] : old) {
        if (!valueIn(now, key))
            changes.append(u"%1 removed"_s.arg(QString::fromUtf8(key)));
    }
    changes.removeDuplicates();
    return changes;
}

DesktopEntries::SorvaneEntry DesktopEntries::updateSorvaneEntry(const QString &program, QString *error,
                                                               bool *changed) const
{
    if (changed)
        *changed = false;
    if (installedSorvaneEntry().isEmpty())
        return writeSorvaneEntry(program, error, changed) ? SorvaneEntry::Written : SorvaneEntry::Failed;
    const QString own = applicationsFolder() + u"/sorvane.desktop"_s;
    const QFileInfo ownEntry(own);
    if ((ownEntry.exists() || ownEntry.isSymLink()) && !QFile::remove(own)) {
        if (error)
            *error = u"%1 cannot be removed"_s.arg(own);
        return SorvaneEntry::Failed;
    }
    if (changed)
        *changed = ownEntry.exists() || ownEntry.isSymLink();
    return SorvaneEntry::Installed;
}
