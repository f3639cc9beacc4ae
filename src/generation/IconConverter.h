#pragma once

#include <QImage>
#include <QList>
#include <QString>

class SNImage;

// Turns an app's icon image into the bundle's icon.icns.
class IconConverter final
{
public:
    // The bitmaps that go into the icon file: the image's representations sorted by pixel width,
    // followed by square 256, 128 and 512 pixel bitmaps (made in that order) for those of these
    // widths that are missing. Empty for a null image.
    static QList<QImage> refsFromImage(const SNImage &image);

    // Writes "<destinationDirectory>/icon.icns" atomically; on failure `error` gets "Error creating icon."
    static bool convertImagesWithSourceImage(const SNImage &image, const QString &destinationDirectory,
                                             QString *error = nullptr);
};
