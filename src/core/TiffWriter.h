#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>

// Writes images as one multi-page TIFF in memory: a page per image, 8-bit RGBA with unassociated
// (straight) alpha, LZW-compressed. Qt's own TIFF writer stores a single page, which is not enough
// for an image that holds several sizes.
class TiffWriter final
{
public:
    // Null images are skipped. Fails (empty result) when no page could be written.
    static QByteArray encode(const QList<QImage> &images, QString *error = nullptr);
};
