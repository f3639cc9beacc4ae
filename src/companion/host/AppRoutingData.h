#pragma once

#include "companion/host/LinkDestination.h"

#include <QList>
#include <QString>

#include <optional>

// What the host takes from the app's data.json: the destinations its routing names (the default
// destination and those of "route" rules) and whether the last tabs come back at the next start.
// Read at every request, since a regeneration may rewrite the file while the browser keeps the
// host running.
class AppRoutingData final
{
public:
    // Nothing when the file is missing, unreadable or not a JSON object.
    static std::optional<AppRoutingData> read(const QString &path);

    bool names(const LinkDestination &destination) const;
    bool restoresSession() const { return m_restoresSession; }

private:
    QList<LinkDestination> m_destinations;
    bool m_restoresSession = true;
};
