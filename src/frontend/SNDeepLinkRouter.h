#pragma once

#include <QString>

class Context;

// Hands an app's id from a "sorvane://edit-app" link to the home screen. The id is also kept
// until a home screen consumes it, so a home screen that opens after the link still acts on it.
class SNDeepLinkRouter final
{
public:
    SNDeepLinkRouter() = delete;

    static const QString openAppEditorNotification; // "SorvaneOpenAppEditor"

    static QString pendingEditAppId();
    static void setPendingEditAppId(const QString &appId);
    // Keeps the id as pending, then posts "SorvaneOpenAppEditor" with {"appId": id}.
    static void requestAppEditor(const QString &appId);
    static void requestAppEditor(const QString &appId, Context &context);
};
