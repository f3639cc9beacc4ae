#pragma once

#include <QString>

// Identity and configuration values that the generated apps and the companion depend on.
// They live here, in one place, so that nothing else spells them.
namespace Constants {

// Sorvane's own bundle identifier: written as SorvaneCreatorID into every app it makes and used
// to recognise its own apps in the registry.
inline const QString SorvaneBundleIdentifier = QStringLiteral("com.ondrel.sorvane");

// Name of the per-user support folder that holds the registry and per-app configurations.
inline const QString SupportFolderName = QStringLiteral("Sorvane");

// Opened once, on an app's first start, so the user can add extensions.
inline const QString ChromeWebStoreUrl = QStringLiteral("https://chromewebstore.google.com/");

// The user default that turns that store window off for apps made from then on (on when unset):
// such an app is made with its first start already marked as done.
inline const QString StorePageOnFirstStartKey = QStringLiteral("openExtensionStoreOnFirstStart");

// Update endpoints written into a profile's External Extensions/<id>.json.
inline const QString ExtensionUpdateUrl = QStringLiteral("https://clients2.google.com/service/update2/crx");
inline const QString EdgeExtensionUpdateUrl =
    QStringLiteral("https://edge.microsoft.com/extensionwebstorebase/v1/crx");

// The published helper extension seeded through External Extensions.
inline const QString ExternalHelperExtensionId = QStringLiteral("lbmcjnoaeghkdfipajmbencklofgpdhi");

// Folder name under which older generations installed the companion extension; its presence
// in a bundle triggers a migration.
inline const QString LegacyCompanionFolderName = QStringLiteral("hdkpjmbnacelfogoiaepkjbmdhncfgal");

// The native-messaging host the companion extension talks to.
inline const QString NativeHostName = QStringLiteral("com.ondrel.sorvane.helper");

// The web-mail table of legacy whitelisting: apps on the mail domain also keep its sign-in site.
inline const QString WebMailDomain = QStringLiteral("gmail.com");
inline const QString WebMailSignInDomain = QStringLiteral("accounts.google.com");

} // namespace Constants
