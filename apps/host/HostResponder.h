#pragma once

#include "LinkLaunch.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <functional>

// Answers the companion extension's requests:
//   "ping"           -> "pong" with the host's version
//   "getRoutingData" -> "routingData" with the app's data.json
//   "openLink"       -> "opened", once the link's program was started (see LinkOpener)
//   "saveTabs"       -> "saved" with the number of tabs kept (see TabStore)
// and anything else with an "error". Every answer is compact JSON that fits into one native
// message. The app's files live in `resourcesFolder`, beside the host.
class HostResponder final
{
public:
    // Starts a program detached; false when it could not be started.
    using ProgramStarter = std::function<bool(const LinkLaunch &)>;

    HostResponder(QString resourcesFolder, QString version, ProgramStarter startProgram);

    QByteArray replyTo(const QByteArray &message) const;

private:
    QString routingDataPath() const;
    QJsonObject routingDataReply() const;
    QJsonObject openLinkReply(const QJsonObject &request) const;
    QJsonObject saveTabsReply(const QJsonObject &request) const;

    QString m_resourcesFolder;
    QString m_version;
    ProgramStarter m_startProgram;
};
