#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

// The shape a generated icon is cut to, stored and exchanged by its raw value ("circle",
// "roundedSquare", "square"). The settings and the wizard both use it.
namespace IconShape {
Q_NAMESPACE

enum class Shape
{
    Circle,
    RoundedSquare,
    Square
};
Q_ENUM_NS(Shape)

QString rawValue(Shape shape);
std::optional<Shape> fromRawValue(const QString &text);
// Every raw value, in case order.
QStringList rawValues();

} // namespace IconShape
