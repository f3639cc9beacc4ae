#include "companion/host/HostResponder.h"

#include "companion/host/AppRoutingData.h"
#include "companion/host/LinkDestination.h"
#include "companion/host/LinkOpener.h"
#include "companion/host/MessageChannel.h"
#include "companion/host/TabStore.h"

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

HostResponder::HostResponder(QString resourcesFolder, QString version, ProgramStarter &starter)
    : m_resourcesFolder(std::move(resourcesFolder)), m_version(std::move(version)), m_starter(starter)
{
}

QByteArray HostResponder::replyTo(const QByteArray &message) const
{
    QJsonParseError parseError;
    const QJsonDocument request = QJsonDocument::fromJson(message, &parseError);
    if (parseError.error != QJsonParseError::NoError || !request.isObject())
        return compact(errorReply(u"message is not a JSON object"_s));

    const QJsonObject object = request.object();
    const QByteArray answer = compact(reply(object));
    // The routing data grows with the app; any other answer that large is left to the channel,
    // which refuses it.
    if (static_cast<std::size_t>(answer.size()) > MessageChannel::MaximumMessageSize &&
        object.value(u"type"_s).toString() == u"getRoutingData"_s)
        return compact(errorReply(u"routing data too large for one message"_s));
    return answer;
}

QJsonObject HostResponder::reply(const QJsonObject &request) const
{
    const QString type = request.value(u"type"_s).toString();
    if (type == u"ping"_s)
        return {{u"type"_s, u"pong"_s}, {u"version"_s, m_version}};
    if (type == u"getRoutingData"_s)
        return routingDataReply();
    if (type == u"openLink"_s)
        return openLinkReply(request);
    if (type == u"saveTabs"_s)
        return saveTabsReply(request);
    return errorReply(u"unknown message type"_s);
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
    if (!m_starter.start(*decision.launch))
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
