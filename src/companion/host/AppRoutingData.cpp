#include "companion/host/AppRoutingData.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::Literals::StringLiterals;

std::optional<AppRoutingData> AppRoutingData::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject data = document.object();

    // Records the generator would have cleaned to "default" count as "default" here too.
    AppRoutingData routing;
    routing.m_destinations.append(LinkDestination::fromJson(data.value(u"default_destination"_s))
                                      .value_or(LinkDestination::defaultBrowser()));
    for (const QJsonValue &rule : data.value(u"rules"_s).toArray()) {
        const QJsonObject object = rule.toObject();
        if (object.value(u"action"_s).toString() != u"route"_s ||
            object.value(u"pattern"_s).toString().trimmed().isEmpty())
            continue;
        routing.m_destinations.append(LinkDestination::fromJson(object.value(u"destination"_s))
                                          .value_or(LinkDestination::defaultBrowser()));
    }
    const QJsonValue restore = data.value(u"restore_session"_s);
    routing.m_restoresSession = restore.isBool() ? restore.toBool() : true;
    return routing;
}

bool AppRoutingData::names(const LinkDestination &destination) const
{
    return m_destinations.contains(destination);
}
