#include "frontend/CustomQuickSetup.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace {

// 2001-01-01T00:00:00Z in milliseconds since the Unix epoch.
constexpr qint64 ReferenceDateMSecs = 978307200000LL;

std::optional<QStringList> stringList(const QJsonValue &value)
{
    if (!value.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue &item : value.toArray()) {
        if (!item.isString())
            return std::nullopt;
        list.append(item.toString());
    }
    return list;
}

// A stored date number that a date can hold (about ±30,000 years around 2001).
bool isDateNumber(const QJsonValue &value)
{
    return value.isDouble() && std::isfinite(value.toDouble()) && std::fabs(value.toDouble()) < 1e12;
}

} // namespace

double CustomQuickSetup::referenceDateNumber(const QDateTime &time)
{
    return static_cast<double>(time.toMSecsSinceEpoch() - ReferenceDateMSecs) / 1000.0;
}

QDateTime CustomQuickSetup::fromReferenceDateNumber(double seconds)
{
    return QDateTime::fromMSecsSinceEpoch(ReferenceDateMSecs + std::llround(seconds * 1000.0), Qt::UTC);
}

std::optional<QJsonObject> CustomQuickSetup::toJson() const
{
    if (!createdAt.isValid() || (lastUsed && !lastUsed->isValid()))
        return std::nullopt;
    QJsonObject object{
        {u"id"_s, id.toString(QUuid::WithoutBraces).toUpper()},
        {u"name"_s, name},
        {u"icon"_s, icon},
        {u"description"_s, description},
        {u"urls"_s, QJsonArray::fromStringList(urls)},
        {u"createdAt"_s, referenceDateNumber(createdAt)},
    };
    if (lastUsed)
        object.insert(u"lastUsed"_s, referenceDateNumber(*lastUsed));
    return object;
}

std::optional<CustomQuickSetup> CustomQuickSetup::fromJson(const QJsonObject &object)
{
    const QUuid id = QUuid::fromString(object.value(u"id"_s).toString());
    const std::optional<QStringList> urls = stringList(object.value(u"urls"_s));
    const QJsonValue createdAt = object.value(u"createdAt"_s);
    const QJsonValue lastUsed = object.value(u"lastUsed"_s);
    // fromString also takes braces, which the stored form never has.
    if (id.isNull() || object.value(u"id"_s).toString().startsWith(u'{') || !urls ||
        !isDateNumber(createdAt) || !object.value(u"name"_s).isString() ||
        !object.value(u"icon"_s).isString() || !object.value(u"description"_s).isString() ||
        !(lastUsed.isUndefined() || lastUsed.isNull() || isDateNumber(lastUsed)))
        return std::nullopt;

    CustomQuickSetup setup;
    setup.id = id;
    setup.name = object.value(u"name"_s).toString();
    setup.icon = object.value(u"icon"_s).toString();
    setup.description = object.value(u"description"_s).toString();
    setup.urls = *urls;
    setup.createdAt = fromReferenceDateNumber(createdAt.toDouble());
    if (!lastUsed.isUndefined() && !lastUsed.isNull())
        setup.lastUsed = fromReferenceDateNumber(lastUsed.toDouble());
    return setup;
}

std::optional<QByteArray> CustomQuickSetup::encodeList(const QList<CustomQuickSetup> &setups)
{
    QJsonArray array;
    for (const CustomQuickSetup &setup : setups) {
        const std::optional<QJsonObject> object = setup.toJson();
        if (!object)
            return std::nullopt;
        array.append(*object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<QList<CustomQuickSetup>> CustomQuickSetup::decodeList(const QByteArray &data)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    QList<CustomQuickSetup> setups;
    for (const QJsonValue &item : document.array()) {
        const std::optional<CustomQuickSetup> setup =
            item.isObject() ? fromJson(item.toObject()) : std::nullopt;
        if (!setup)
            return std::nullopt;
        setups.append(*setup);
    }
    return setups;
}
