#include "HostResponder.h"

#include "AppRoutingData.h"
#include "LinkDestination.h"
#include "LinkOpener.h"
#include "MessageChannel.h"
#include "TabStore.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QJsonValue>

#include <cstddef>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject errorReply(const QString &message)
{
    return {{u"type"_s, u"error"_s}, {u"message"_s, message}};
}

QByteArray compact(const QJsonObject &reply)
{
    return QJsonDocument(reply).toJson(QJsonDocument::Compact);
}

} // namespace

HostResponder::HostResponder(QString resourcesFolder, QString version, ProgramStarter startProgram)
    : m_resourcesFolder(std::move(resourcesFolder)), m_version(std::move(version)),
      m_startProgram(std::move(startProgram))
{
}

QByteArray HostResponder::replyTo(const QByteArray &message) const
{
    QJsonParseError parseError;
    const QJsonDocument request = QJsonDocument::fromJson(message, &parseError);
    if (parseError.error != QJsonParseError::NoError || !request.isObject())
        return compact(errorReply(u"message is not a JSON object"_s));

    const QString type = request.object().value(u"type"_s).toString();
    if (type == u"ping"_s)
        return compact({{u"type"_s, u"pong"_s}, {u"version"_s, m_version}});
    if (type == u"openLink"_s)
        return compact(openLinkReply(request.object()));
    if (type == u"saveTabs"_s)
        return compact(saveTabsReply(request.object()));
    if (type != u"getRoutingData"_s)
        return compact(errorReply(u"unknown message type"_s));

    const QByteArray reply = compact(routingDataReply());
    if (static_cast<std::size_t>(reply.size()) > MessageChannel::MaximumMessageSize)
        return compact(errorReply(u"routing data too large for one message"_s));
    return reply;
}

QString HostResponder::routingDataPath() const
{
    return m_resourcesFolder + u"/data.json"_s;
}

QJsonObject HostResponder::routingDataReply() const
{
    // Read at every request: a regeneration may rewrite it while the browser keeps the host.
    const QString path = routingDataPath();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return errorReply(u"cannot read the routing data %1: %2"_s.arg(path, file.errorString()));
    QJsonParseError parseError;
    const QJsonDocument data = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return errorReply(u"the routing data %1 is not JSON: %2"_s.arg(path, parseError.errorString()));
    const QJsonValue value = data.isArray() ? QJsonValue(data.array()) : QJsonValue(data.object());
    return {{u"type"_s, u"routingData"_s}, {u"data"_s, value}};
}

QJsonObject HostResponder::openLinkReply(const QJsonObject &request) const
{
    const QJsonValue url = request.value(u"url"_s);
    if (!url.isString())
        return errorReply(u"openLink needs a \"url\" string"_s);
    const std::optional<LinkDestination> destination =
        LinkDestination::fromJson(request.value(u"destination"_s));
    if (!destination)
        return errorReply(u"openLink needs a \"destination\" record"_s);

    const LinkOpener::Decision decision =
        LinkOpener(AppRoutingData::read(routingDataPath())).decide(url.toString(), *destination);
    if (!decision.launch)
        return errorReply(decision.refusal);
    if (!m_startProgram(*decision.launch))
        return errorReply(u"cannot start %1"_s.arg(decision.launch->program));
    return {{u"type"_s, u"opened"_s}};
}

QJsonObject HostResponder::saveTabsReply(const QJsonObject &request) const
{
    const QJsonValue tabsValue = request.value(u"tabs"_s);
    if (!tabsValue.isArray())
        return errorReply(u"saveTabs needs a \"tabs\" list"_s);
    QStringList tabs;
    for (const QJsonValue &tab : tabsValue.toArray()) {
        if (!tab.isString())
            return errorReply(u"every tab must be an address string"_s);
        tabs.append(tab.toString());
    }
    // Without data.json the tabs still come back, as an app made before the setting did.
    const std::optional<AppRoutingData> routing = AppRoutingData::read(routingDataPath());
    const TabStore::Result result =
        TabStore(m_resourcesFolder).save(tabs, !routing || routing->restoresSession());
    if (result.saved < 0)
        return errorReply(result.error);
    return {{u"type"_s, u"saved"_s}, {u"count"_s, result.saved}};
}
