#pragma once

#include <QString>

// Names of the notifications the stores post and observe (name only, no sender).
namespace FrontendNotifications {

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

} // namespace FrontendNotifications
