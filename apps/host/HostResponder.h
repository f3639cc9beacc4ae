#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

// Answers the companion extension's requests: "ping" with the host's version, "getRoutingData"
// with the app's data.json. Every answer is compact JSON that fits into one native message.
class HostResponder final
{
public:
    HostResponder(QString routingDataPath, QString version);

    QByteArray replyTo(const QByteArray &message) const;

private:
    QJsonObject routingDataReply() const;

    QString m_routingDataPath;
    QString m_version;
};
