#include "HostResponder.h"

#include "MessageChannel.h"

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

HostResponder::HostResponder(QString routingDataPath, QString version)
    : m_routingDataPath(std::move(routingDataPath)), m_version(std::move(version))
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
    if (type != u"getRoutingData"_s)
        return compact(errorReply(u"unknown message type"_s));

    const QByteArray reply = compact(routingDataReply());
    if (static_cast<std::size_t>(reply.size()) > MessageChannel::MaximumMessageSize)
        return compact(errorReply(u"routing data too large for one message"_s));
    return reply;
}

QJsonObject HostResponder::routingDataReply() const
{
    // Read at every request: a regeneration may rewrite it while the browser keeps the host.
    QFile file(m_routingDataPath);
    if (!file.open(QIODevice::ReadOnly))
        return errorReply(
            u"cannot read the routing data %1: %2"_s.arg(m_routingDataPath, file.errorString()));
    QJsonParseError parseError;
    const QJsonDocument data = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError)
        return errorReply(
            u"the routing data %1 is not JSON: %2"_s.arg(m_routingDataPath, parseError.errorString()));
    const QJsonValue value = data.isArray() ? QJsonValue(data.array()) : QJsonValue(data.object());
    return {{u"type"_s, u"routingData"_s}, {u"data"_s, value}};
}
