#pragma once

#include "core/SNImage.h"
#include "core/SNTabModel.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

#include <optional>

// Everything that describes one generated app while it is being made: the generation manager's
// properties. Field names are the names the configuration file and the rest of the system use.
struct AppDefinition
{
    QString appName;
    QString appURL;
    bool needTab = false;                  // tabbed app on tabsList, else one window on appURL
    SNTabList tabsList;
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
    QString applicationsPath;              // folder the bundle is created in
};
