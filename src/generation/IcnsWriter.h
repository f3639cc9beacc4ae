#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QList>
#include <QString>

// Writes the ICNS icon container: one PNG-compressed entry per pixel size. Qt's icns plugin
// writes a single image per file, which is why this small writer exists.
class IcnsWriter final
{
public:
    // The ICNS type for a square PNG entry of `pixels` pixels, or empty when there is no slot.
    static QByteArray entryType(int pixels);

    // Entries in list order. A representation whose pixel width has no slot (48, 300 ...) is left
    // out, as is a later one of a width already written. A non-square one keeps its proportions,
    // centred on a transparent square as wide as it is. Fails (empty result) when no entry is left.
    // `png` holds PNG files already made for some images, by QImage::cacheKey(): a square image
    // found there is stored as those bytes instead of being encoded again.
    static QByteArray encode(const QList<QImage> &images, QString *error = nullptr,
                             const QHash<qint64, QByteArray> &png = {});
};
