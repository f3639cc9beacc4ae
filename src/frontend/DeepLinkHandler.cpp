#include "frontend/DeepLinkHandler.h"

#include "frontend/SNDeepLinkRouter.h"

#include <QUrl>
#include <QUrlQuery>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

const QString DeepLinkHandler::Scheme = u"sorvane"_s;
const QString DeepLinkHandler::EditAppHost = u"edit-app"_s;

DeepLinkHandler::DeepLinkHandler(Context &context, QObject *parent)
    : QObject(parent), m_context(context)
{
}

bool DeepLinkHandler::handleURL(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    if (text.isEmpty() || !url.isValid())
        return false;
    // QUrl folds the scheme and host to lower case, and both must match exactly as written: so
    // the comparison is made on the text itself.
    const QString prefix = Scheme + u"://"_s + EditAppHost;
    if (!text.startsWith(prefix))
        return false;
    const QStringView rest = QStringView(text).mid(prefix.size());
    if (!rest.isEmpty() && rest.front() != u'?' && rest.front() != u'/' && rest.front() != u'#')
        return false;
    if (url.scheme() != Scheme || url.host() != EditAppHost)
        return false;

    QString appId = QUrlQuery(url).queryItemValue(u"id"_s, QUrl::FullyDecoded);
    // Registry ids are plain text; a decoded line break or other control character would only
    // end up in the log as a forged line.
    if (std::any_of(appId.cbegin(), appId.cend(), [](QChar c) { return c.category() == QChar::Other_Control; }))
        appId.clear();
    Q_EMIT activationRequested();
    if (!appId.isEmpty())
        SNDeepLinkRouter::requestAppEditor(appId, m_context);
    return true;
}
