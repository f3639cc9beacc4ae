#include "frontend/IconShape.h"

using namespace Qt::Literals::StringLiterals;

namespace IconShape {

QString rawValue(Shape shape)
{
    switch (shape) {
    case Shape::Circle:
        return u"circle"_s;
    case Shape::RoundedSquare:
        return u"roundedSquare"_s;
    case Shape::Square:
        return u"square"_s;
    }
    return {};
}

std::optional<Shape> fromRawValue(const QString &text)
{
    for (const Shape shape : {Shape::Circle, Shape::RoundedSquare, Shape::Square}) {
        if (rawValue(shape) == text)
            return shape;
    }
    return std::nullopt;
}

QStringList rawValues()
{
    return {rawValue(Shape::Circle), rawValue(Shape::RoundedSquare), rawValue(Shape::Square)};
}

} // namespace IconShape
