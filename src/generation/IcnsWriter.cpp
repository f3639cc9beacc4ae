#include "generation/IcnsWriter.h"

#include <QBuffer>
#include <QPainter>
#include <QSet>
#include <QtEndian>

namespace {

void appendBigEndian(QByteArray &out, quint32 value)
{
    char bytes[4];
    qToBigEndian(value, bytes);
    out.append(bytes, 4);
}

// The slot follows the pixel width, as the caller counts sizes by width: a wide image is padded
// to a square, a tall one scaled down to fit, both centred on transparency.
QImage squared(const QImage &image)
{
    if (image.width() == image.height())
        return image;
    const int side = image.width();
    const QImage fitted =
        image.height() > side ? image.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation) : image;
    QImage square(side, side, QImage::Format_ARGB32_Premultiplied);
    square.fill(Qt::transparent);
    QPainter painter(&square);
    painter.drawImage((side - fitted.width()) / 2, (side - fitted.height()) / 2, fitted);
    return square;
}

QByteArray png(const QImage &image)
{
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    if (!image.convertToFormat(QImage::Format_ARGB32).save(&buffer, "PNG"))
        return {};
    return data;
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

QByteArray IcnsWriter::encode(const QList<QImage> &images, QString *error, const QHash<qint64, QByteArray> &encoded)
{
    QByteArray entries;
    QSet<int> written;
    for (const QImage &image : images) {
        if (image.isNull())
            continue;
        const QImage square = squared(image);
        const QByteArray type = entryType(square.width());
        if (type.isEmpty() || written.contains(square.width()))
            continue;
        const auto made = encoded.constFind(square.cacheKey());
        const QByteArray data = made != encoded.cend() ? *made : png(square);
        if (data.isEmpty()) {
            if (error)
                *error = QStringLiteral("Cannot encode the %1 pixel image as PNG.").arg(square.width());
            return {};
        }
        entries.append(type);
        appendBigEndian(entries, quint32(8 + data.size()));
        entries.append(data);
        written.insert(square.width());
    }
    if (written.isEmpty()) {
        if (error)
            *error = QStringLiteral("No image has a size that an icon file can hold.");
        return {};
    }
    QByteArray file("icns");
    appendBigEndian(file, quint32(8 + entries.size()));
    file.append(entries);
    return file;
}
