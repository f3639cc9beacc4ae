#include "frontend/SNDeepLinkRouter.h"

#include "core/Context.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"

using namespace Qt::Literals::StringLiterals;

namespace {
QString pendingId;
} // namespace

const QString SNDeepLinkRouter::openAppEditorNotification = NotificationNames::SorvaneOpenAppEditor;

QString SNDeepLinkRouter::pendingEditAppId()
{
    return pendingId;
}

void SNDeepLinkRouter::setPendingEditAppId(const QString &appId)
{
    pendingId = appId;
}

void SNDeepLinkRouter::requestAppEditor(const QString &appId)
{
    requestAppEditor(appId, Context::shared());
}

void SNDeepLinkRouter::requestAppEditor(const QString &appId, Context &context)
{
    setPendingEditAppId(appId);
    context.notifications().post(openAppEditorNotification, {{u"appId"_s, appId}});
}
