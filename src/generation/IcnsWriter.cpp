#include "generation/IcnsWriter.h"

#include "core/IconSet.h"

#include <QtEndian>

namespace {

void appendBigEndian(QByteArray &out, quint32 value)
{
    char bytes[4];
    qToBigEndian(value, bytes);
    out.append(bytes, 4);
}

} // namespace

QByteArray IcnsWriter::entryType(int pixels)
{
    // Only the PNG-capable types, one per pixel size; the @2x aliases (ic11 to ic14) would repeat
    // the same pixels under a second name.
    switch (pixels) {
    case 16: return QByteArrayLiteral("icp4");
    case 32: return QByteArrayLiteral("icp5");
    case 64: return QByteArrayLiteral("icp6");
    case 128: return QByteArrayLiteral("ic07");
    case 256: return QByteArrayLiteral("ic08");
    case 512: return QByteArrayLiteral("ic09");
    case 1024: return QByteArrayLiteral("ic10");
    default: return {};
    }
}

IconSet IcnsWriter::iconSet(const QList<QImage> &images, QString *error, const QHash<qint64, QByteArray> &png)
{
    return IconSet::fromImages(images, [](int pixels) { return !entryType(pixels).isEmpty(); }, png, error);
}

QByteArray IcnsWriter::encode(const IconSet &icons, QString *error)
{
    QByteArray entries;
    for (const IconSet::Entry &entry : icons.entries()) {
        const QByteArray type = entryType(entry.pixels);
        if (type.isEmpty())
            continue;
        entries.append(type);
        appendBigEndian(entries, quint32(8 + entry.png.size()));
        entries.append(entry.png);
    }
    if (entries.isEmpty()) {
        if (error)
            *error = QStringLiteral("No image has a size that an icon file can hold.");
        return {};
    }
    QByteArray file("icns");
    appendBigEndian(file, quint32(8 + entries.size()));
    file.append(entries);
    return file;
}
