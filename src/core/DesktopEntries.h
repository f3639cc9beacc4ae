#pragma once

#include "core/Context.h"

#include <QString>
#include <QStringList>

// The application-menu entries of generated apps on Linux: one freedesktop desktop entry per app,
// "$XDG_DATA_HOME/applications/sorvane-<appID>.desktop", with its icon installed into the hicolor
// theme as "icons/hicolor/<s>x<s>/apps/sorvane-<appID>.png" at every pixel size of the bundle's
// icon.icns. Only files named after a plain registry id are ever written or removed, so a
// hostile registry cannot reach another file. Writes are atomic; processes that write the same
// entry at once leave one whole entry. On macOS the bundle is its own entry and nothing is done.
class DesktopEntries final
{
public:
    explicit DesktopEntries(Context &context = Context::shared());

    // What one entry says.
    struct Entry
    {
        QString name;       // shown in the menu
        QString program;    // the absolute path Exec starts
        QString icon;       // an icon name of the theme
        QString windowClass; // StartupWMClass; none when empty
        bool passesLinks = false; // Exec takes a link (%u)
        QStringList mimeTypes;    // MimeType list; none when empty
        QStringList categories;
    };

    // A registry id the entry files may be named after: letters, digits, '-' and '_', 1-64
    // characters, as the registry hands out.
    static bool isSafeAppId(const QString &appId);
    // The window class a generated app's engine gives its windows on Linux (its --class switch)
    // and that its entry names as StartupWMClass: "sorvane-<appID>". Empty for an unsafe id.
    static QString windowClass(const QString &appId);
    // The entry file's text (freedesktop desktop entry format, version 1.4: the newest the
    // validators of current distributions accept).
    static QByteArray entryText(const Entry &entry);
    // Exec's value before the key file's own escaping: the program as one quoted argument (after
    // "env " when its path holds '%'), then " %u" when it takes a link.
    static QString execValue(const QString &program, bool passesLinks);

    // "$XDG_DATA_HOME/applications" (else ~/.local/share/applications).
    QString applicationsFolder() const;
    // "$XDG_DATA_HOME/icons/hicolor".
    QString iconThemeFolder() const;
    // The entry file of the app with this id; empty for an unsafe id.
    QString entryPath(const QString &appId) const;

    // Writes or rewrites the entry and icons of the app with this id from its bundle (its
    // Info.plist names the launch program, whose name is the app's, and whether it takes links;
    // Contents/Resources/icon.icns the icons). Icon sizes no longer in the bundle are removed.
    // Only files that differ from what would be written are written; `changes` gets what changed
    // ("created", "Name changed", "icon 48x48 added", ...), nothing when the entry was as it is.
    bool writeAppEntry(const QString &appId, const QString &bundlePath, QString *error = nullptr,
                       QStringList *changes = nullptr) const;
    // writeAppEntry for the steps that go on without a menu entry: a failure is logged.
    void refreshAppEntry(const QString &appId, const QString &bundlePath) const;
    // Removes the entry and icons of the app with this id; nothing there is no failure.
    bool removeAppEntry(const QString &appId, QString *error = nullptr) const;
    // The ids of the app entries present ("sorvane-<id>.desktop" with a safe id).
    QStringList entryAppIds() const;
    // Sorvane's own entry, "sorvane.desktop": starts `program` with a link and handles the
    // "sorvane:" scheme.
    // `changed` says whether the file was written (it is left alone when it says the same).
    bool writeSorvaneEntry(const QString &program, QString *error = nullptr, bool *changed = nullptr) const;
    // The entry an installed Sorvane brings, "com.ondrel.sorvane.desktop", in a folder of
    // $XDG_DATA_DIRS where the menu finds it; empty when there is none.
    QString installedSorvaneEntry() const;
    enum class SorvaneEntry { Written, Installed, Failed };
    // Keeps one menu entry for Sorvane: the installed one when there is one (a "sorvane.desktop"
    // written earlier is then removed, so that Sorvane is not listed twice), else ours for
    // `program`.
    SorvaneEntry updateSorvaneEntry(const QString &program, QString *error = nullptr, bool *changed = nullptr) const;
    // What differs between two entry texts: "Name changed" for each key whose value differs, is
    // added or is gone.
    static QStringList entryChanges(const QByteArray &before, const QByteArray &after);

private:
    QString dataHome() const;

    Context &m_context;
};
