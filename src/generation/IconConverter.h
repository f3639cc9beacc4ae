#pragma once

#include <QImage>
#include <QList>
#include <QString>

class SNImage;
struct SNError;

// Turns an app's icon image into the bundle's icon.icns.
class IconConverter final
{
public:
    // The bitmaps that go into the icon file: the image's representations sorted by pixel width,
    // followed by square 256, 128 and 512 pixel bitmaps (made in that order) for those of these
    // widths that are missing. Empty for a null image.
    static QList<QImage> refsFromImage(const SNImage &image);

    // Writes "<destinationDirectory>/icon.icns" atomically. Fails with code 2.
    static bool convertImagesWithSourceImage(const SNImage &image, const QString &destinationDirectory,
                                             SNError *error = nullptr);
};
