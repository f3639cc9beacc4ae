#pragma once

#include "core/PropertyListBudget.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

// Property lists through libplist, mapped to QVariant: dictionary <-> QVariantMap,
// array <-> QVariantList, string <-> QString, integer <-> qlonglong, real <-> double,
// boolean <-> bool, date <-> QDateTime (UTC), data <-> QByteArray.
// Reads XML and binary property lists; writes XML.
class PropertyList final
{
public:
    // Arrays and dictionaries nested deeper than this are refused; so are lists that would grow
    // past PropertyListBudget's other limits once parsed.
    static constexpr int MaximumDepth = PropertyListBudget::MaximumDepth;

    // An invalid QVariant and an error text when the data is not a property list or is over
    // budget. The text names `source` (say, a quoted path) when given.
    static QVariant fromData(const QByteArray &data, QString *error = nullptr, const QString &source = {});
    static QVariant readFile(const QString &path, QString *error = nullptr);

    // An empty array and an error text when the value holds a type plists cannot carry.
    static QByteArray toXml(const QVariant &value, QString *error = nullptr);
    // Serialises first and writes atomically; nothing is written when serialising fails.
    [[nodiscard]] static bool writeFile(const QString &path, const QVariant &value, QString *error = nullptr);
};
