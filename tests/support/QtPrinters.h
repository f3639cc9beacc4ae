#pragma once

// Readable GoogleTest output for Qt values.

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <ostream>

inline void PrintTo(const QString &value, std::ostream *os)
{
    *os << '"' << value.toStdString() << '"';
}

inline void PrintTo(const QByteArray &value, std::ostream *os)
{
    *os << '"' << value.toStdString() << '"';
}

inline void PrintTo(const QStringList &value, std::ostream *os)
{
    *os << '[' << value.join(QStringLiteral(", ")).toStdString() << ']';
}

inline void PrintTo(const QVariant &value, std::ostream *os)
{
    *os << QJsonDocument::fromVariant(QVariantList{value}).toJson(QJsonDocument::Compact).toStdString();
}

inline void PrintTo(const QVariantMap &value, std::ostream *os)
{
    *os << QJsonDocument::fromVariant(value).toJson(QJsonDocument::Compact).toStdString();
}

inline void PrintTo(const QJsonObject &value, std::ostream *os)
{
    *os << QJsonDocument(value).toJson(QJsonDocument::Compact).toStdString();
}
