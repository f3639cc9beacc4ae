#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVariantMap>

class Context;

// Puts the companion extension, the native-messaging host and the routing data into a generated
// bundle, from the generator's resources folder ("extension.bundle", "sorvanemessaginghost").
// A failure of a single file does not stop the remaining steps; each call logs what failed and
// returns false with the reasons, and the operation that called it fails.
class CompanionInstaller final
{
public:
    explicit CompanionInstaller(Context &context);

    // RES/Sorvane_Extension: every entry of the shipped extension folder whose name does not begin
    // with "." (".000" becomes ".js"), and nativeHost.js. Creates the folder when missing.
    // A copy that cannot be made whole leaves the one in place as it was.
    bool copyExtensionFiles(const QString &resourceDirectory, QString *error = nullptr) const;
    // PROFILE/NativeMessagingHosts/<host>.json from the template with the host path in RES, and a
    // fresh copy of the host program in RES. A bundle built elsewhere and moved into place later
    // names the folder it will have there as `installedResourceDirectory`.
    bool configureNativeMessaging(const QString &profileDirectory, const QString &resourceDirectory,
                                  const QString &installedResourceDirectory = {}, QString *error = nullptr) const;
    // RES/data.json: `data` as compact JSON.
    bool writeRoutingDataJSON(const QString &resourceDirectory, const QVariantMap &data,
                              QString *error = nullptr) const;

    // Compact UTF-8 JSON of `object`; "[]" (logged) when it cannot be serialised.
    static QByteArray jsonStringWithData(const QVariant &object);

private:
    Context &m_context;
};
