#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVariant>

#include <optional>

// A named, saved list of site addresses that the wizard can take as its tabs in one action.
//
// Stored as JSON by field name: `id` as an upper-case UUID text, dates (`createdAt`, `lastUsed`)
// as the number of seconds since 2001-01-01 00:00:00 UTC (a double), `lastUsed` left out until
// the setup is first applied.
struct CustomQuickSetup
{
    Q_GADGET
    Q_PROPERTY(QUuid id MEMBER id)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString icon MEMBER icon)
    Q_PROPERTY(QString description MEMBER description)
    Q_PROPERTY(QStringList urls MEMBER urls)
    Q_PROPERTY(QDateTime createdAt MEMBER createdAt)
    // An invalid QDateTime (undefined in QML) until the setup is first applied.
    Q_PROPERTY(QVariant lastUsed READ lastUsedValue)

public:
    QUuid id;
    QString name;
    QString icon;
    QString description;
    QStringList urls;
    QDateTime createdAt;
    std::optional<QDateTime> lastUsed;

    QVariant lastUsedValue() const { return lastUsed ? QVariant(*lastUsed) : QVariant(); }

    // Empty when a date cannot be written as a number (an invalid date).
    std::optional<QJsonObject> toJson() const;
    // Empty unless every field is present with its type and `id` is a UUID.
    static std::optional<CustomQuickSetup> fromJson(const QJsonObject &object);

    // The whole list as one JSON array; empty when one entry cannot be encoded.
    static std::optional<QByteArray> encodeList(const QList<CustomQuickSetup> &setups);
    // Empty when the data is not such an array or one entry does not decode: a list is read
    // whole or not at all.
    static std::optional<QList<CustomQuickSetup>> decodeList(const QByteArray &data);

    // Seconds since 2001-01-01 00:00:00 UTC, and back.
    static double referenceDateNumber(const QDateTime &time);
    static QDateTime fromReferenceDateNumber(double seconds);

    friend bool operator==(const CustomQuickSetup &, const CustomQuickSetup &) = default;
};

Q_DECLARE_METATYPE(CustomQuickSetup)
