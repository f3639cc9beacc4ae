#include "companion/host/LinkDestination.h"

#include <QJsonObject>

#include <utility>

using namespace Qt::Literals::StringLiterals;

LinkDestination::LinkDestination(Type type, QString identifier)
    : m_type(type), m_identifier(std::move(identifier))
{
}

std::optional<LinkDestination> LinkDestination::fromJson(const QJsonValue &record)
{
    if (!record.isObject())
        return std::nullopt;
    const QJsonObject object = record.toObject();
    const QString type = object.value(u"type"_s).toString();
    if (type == u"in-app"_s)
        return LinkDestination(Type::InApp, {});
    if (type == u"default"_s)
        return LinkDestination(Type::Default, {});
    const auto identified = [&](Type kind, const QString &key) -> std::optional<LinkDestination> {
        const QString identifier = object.value(key).toString();
        if (identifier.isEmpty())
            return std::nullopt;
        return LinkDestination(kind, identifier);
    };
    if (type == u"browser"_s)
        return identified(Type::Browser, u"bundleId"_s);
    if (type == u"sorvaneApp"_s)
        return identified(Type::SorvaneApp, u"path"_s);
    return std::nullopt;
}
