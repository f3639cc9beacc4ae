#pragma once

#include <QColor>
#include <QImage>
#include <QString>

// The icon of an app that has none of its own: the app's initial on a colour drawn from its name.
// The home screen's tiles and the icon written into a bundle made without one follow this one
// rule, so an app looks the same wherever it is shown.
namespace LetterIcon {

// The first letter or digit of the name (the first character when it has none), upper case, as
// one whole character however many code points it takes; "?" for a blank name.
QString initial(const QString &name);
// The background: a hue that only the name decides (the same on every machine and version), at a
// saturation and lightness that white text stands out against.
QColor colour(const QString &name);
// A square of `side` pixels: a rounded square of colour(name) with initial(name) in white. The
// letter needs the platform's fonts, which only a GUI application has loaded; elsewhere the
// square is drawn alone.
QImage draw(const QString &name, int side);

} // namespace LetterIcon
