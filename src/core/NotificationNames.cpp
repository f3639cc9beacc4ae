#include "core/NotificationNames.h"

using namespace Qt::StringLiterals;

namespace NotificationNames {

const QString AppUpdateNotification = u"AppUpdateNotification"_s;
const QString AppItemsDidLoad = u"AppItemsDidLoad"_s;
const QString SorvaneAppsUpdated = u"SorvaneAppsUpdated"_s;
const QString AppCreationCompleted = u"AppCreationCompleted"_s;
const QString SorvaneOpenAppEditor = u"SorvaneOpenAppEditor"_s;
const QString SorvaneSettingsChanged = u"SorvaneSettingsChanged"_s;

} // namespace NotificationNames
