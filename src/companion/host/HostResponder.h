#pragma once

#include "companion/host/LinkLaunch.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

// Answers the companion extension's requests, one request object at a time:
//   "ping"           -> "pong" with the host's version
//   "getRoutingData" -> "routingData" with the app's data.json
//   "openLink"       -> "opened", once the link's program was started (see LinkOpener)
//   "saveTabs"       -> "saved" with the number of tabs kept (see TabStore)
// and anything else with an "error". Every answer is compact JSON that fits into one native
// message. The app's files live in `resourcesFolder`, beside the host; links are opened through
// `starter`, which must outlive the responder.
class HostResponder final
{
public:
    HostResponder(QString resourcesFolder, QString version, ProgramStarter &starter);

    // The reply to one message as it came off the channel, as compact JSON.
    QByteArray replyTo(const QByteArray &message) const;
    // The reply to one request.
    QJsonObject reply(const QJsonObject &request) const;

private:
    QString routingDataPath() const;
    QJsonObject routingDataReply() const;
    QJsonObject openLinkReply(const QJsonObject &request) const;
    QJsonObject saveTabsReply(const QJsonObject &request) const;

    QString m_resourcesFolder;
    QString m_version;
    ProgramStarter &m_starter;
};
