#pragma once

#include "core/SNImage.h"

#include <QColor>
#include <QString>

// The icon tools' drawing: an icon set on a background of the chosen colour, cut to the chosen
// shape ("circle", "roundedSquare" or "square"). Without an image the app's initial is drawn
// (in a GUI application, where fonts are loaded).
class IconComposer final
{
public:
    static constexpr int Side = 1024;

    static SNImage compose(const SNImage &source, const QString &appName, const QString &shape, const QColor &color);
};
