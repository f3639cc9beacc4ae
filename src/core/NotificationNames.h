#pragma once

#include <QString>

// Names of the notifications posted on the context's centre (name only, no sender): the
// registry, the app list, automatic updates and the desktop app's stores.
namespace NotificationNames {

// The registry changed or apps were regenerated.
extern const QString AppUpdateNotification;
// The app list was reloaded.
extern const QString AppItemsDidLoad;
// An automatic-update run finished: its apps may have new launchers, names or icons.
extern const QString SorvaneAppsUpdated;
// The wizard created or updated an app.
extern const QString AppCreationCompleted;
// A deep link asks for an app's editor; user info {"appId": id}.
extern const QString SorvaneOpenAppEditor;
// Settings were saved.
extern const QString SorvaneSettingsChanged;

} // namespace NotificationNames
