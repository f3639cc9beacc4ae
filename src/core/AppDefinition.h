#pragma once

#include "core/SNImage.h"
#include "core/TabAddress.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <optional>

// Everything that describes one generated app: what the command line, a bulk list, an app set,
// the wizard and the editor hand to the operations, and what an app's configuration file holds.
// Field names are the configuration file's keys.
struct AppDefinition
{
    QString appName;
    QString appURL;
    bool needTab = false;                  // tabbed app on tabsList, else one window on appURL
    TabAddressList tabsList;
    int applicationType = 0;               // browser number; unknown numbers mean Google Chrome
    SNImage appIcon;
    bool incognito = false;
    bool forceDarkMode = false;
    bool registerAsBrowser = false;
    bool isWhitelistingEnabled = false;
    QVariantList routingRules;             // rule records
    std::optional<QVariantMap> defaultDestination;
    bool passwordManagerCompatibility = false;
    bool restoreSession = true;
    QString accentColor;                   // empty when none
    QString currentProfileKey;             // browser profile to copy from, e.g. "Default"
    QStringList selectedExtensions;        // extension ids copied from that profile
    QStringList engineSwitches;            // the user's extra switches for this app's engine
    QString applicationsPath;              // folder the bundle is created in; empty for the user's

    // Reads the dictionary form of a bulk list or an app set entry ("appName", "appURL",
    // "creationPath", "tabbedApp", "whitelistingEnabled", "tabsList", ...). Unknown keys are
    // ignored; a key of the wrong type is an error naming the field. `appIcon` is image data, or a
    // string naming an image file (relative names are looked up in `baseFolder`); `tabsList` holds
    // addresses or {"tabUrlString": ...}.
    static std::optional<AppDefinition> fromDictionary(const QVariantMap &dictionary, const QString &baseFolder,
                                                       QString *error);

    // What every app is made with, applied in place: an incognito app is tabbed, a tabbed app has
    // at least its start page as a tab, and a single-window app has its address only.
    void applyTabRules();
};
