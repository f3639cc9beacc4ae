#pragma once

#include <QString>

// The user-defaults keys of the settings window, which the wizard reads its defaults from.
namespace SettingsKeys {

inline const QString ApplicationsPath = QStringLiteral("applicationsPath");
// The extensions the user ticked on the wizard's extension list, kept for the next app.
inline const QString UsersExtensions = QStringLiteral("usersExtension");
// True once this generation of the desktop app has started (older settings were discarded then).
inline const QString HasLaunched = QStringLiteral("HAS_LAUNCHED_4");
inline const QString RegisterAsBrowser = QStringLiteral("defaultRegisterAsBrowser");
inline const QString IncognitoMode = QStringLiteral("defaultIncognitoMode");
inline const QString TabbedApps = QStringLiteral("defaultTabbedApps");
inline const QString IconShape = QStringLiteral("defaultIconShape");
inline const QString AutomaticUpdates = QStringLiteral("automaticAppUpdates");
inline const QString ImportEnabled = QStringLiteral("defaultImportEnabled");
inline const QString ImportCategories = QStringLiteral("defaultImportCategories");

} // namespace SettingsKeys
