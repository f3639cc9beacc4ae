#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QList>
#include <QString>

class IconSet;

// Writes the ICNS icon container: one PNG-compressed entry per pixel size. Qt's icns plugin
// writes a single image per file, which is why this small writer exists.
class IcnsWriter final
{
public:
    // The ICNS type for a square PNG entry of `pixels` pixels, or empty when there is no slot.
    static QByteArray entryType(int pixels);

    // The entries of `images` that an icon file can hold, each encoded once (see
    // IconSet::fromImages): widths without a slot (48, 300 ...) are left out.
    static IconSet iconSet(const QList<QImage> &images, QString *error = nullptr,
                           const QHash<qint64, QByteArray> &png = {});
    // The file, entries in set order; those without a slot are left out. Fails (empty result)
    // when no entry is left.
    static QByteArray encode(const IconSet &icons, QString *error = nullptr);
};
