#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

// One row of the list of the user's apps, read from the registry and each app's launcher script.
// Images are named: the view turns a name into a picture ("app_type_tabbed_icon", "Chrome",
// "brave", ...). `appIcon` stays empty where the platform has no workspace icon for a bundle.
struct SNAppItem
{
    QString appId;              // registry id
    QString path;               // bundle path
    QString name;               // app name read from the script
    QStringList urls;           // start addresses
    QString type;               // "Standard app" or "Tabbed app"
    QString typeIcon;           // "app_type_standard_icon" or "app_type_tabbed_icon"
    QString browserIcon;        // "Chrome" for Google Chrome, else the browser's short name
    QString browserName;        // display name of the browser
    QImage appIcon;
    QString browserType;        // the browser's short name ("chrome" when the script names none)

    bool isTabbed() const { return type == QLatin1String("Tabbed app"); }

    // The app list's display name of a browser short name; anything unknown is Google Chrome.
    static QString displayNameForBrowserType(const QString &browserType);
};
