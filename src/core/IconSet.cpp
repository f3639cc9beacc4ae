#include "core/IconSet.h"

#include "core/SNImage.h"

#include <QPainter>
#include <QSet>
#include <QtEndian>

#include <png.h>

using namespace Qt::Literals::StringLiterals;

namespace {

// zlib's fastest level, rows unfiltered: icons are small, and the smallest files cost many times
// the time.
constexpr int PngCompression = 1;
const QByteArray PngSignature("\x89PNG\r\n\x1a\n", 8);
// Entries of an ICNS file that hold no bitmap: table of contents, version, name, info, and the
// masks that go with the older bitmap types.
const QSet<QByteArray> NonBitmapTypes{"TOC ", "icnV", "name", "info", "s8mk", "l8mk", "h8mk", "t8mk"};

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

quint32 bigEndianAt(const QByteArray &data, qsizetype offset)
{
    return qFromBigEndian<quint32>(data.constData() + offset);
}

void appendPng(png_structp png, png_bytep bytes, png_size_t size)
{
    static_cast<QByteArray *>(png_get_io_ptr(png))->append(reinterpret_cast<const char *>(bytes), qsizetype(size));
}

IconSet failed(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return {};
}

} // namespace

QByteArray IconSet::encodePng(const QImage &image)
{
    if (image.isNull())
        return {};
    // libpng itself, because Qt's writer tries every row filter at the highest level, which
    // costs ten times the time of one filter at a low level for files about twice as large.
    const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888);
    QByteArray data;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (!info) {
        png_destroy_write_struct(&png, nullptr);
        return {};
    }
    // libpng reports its errors by long jump; nothing here needs unwinding past this point.
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return {};
    }
    png_set_write_fn(png, &data, appendPng, nullptr);
    png_set_compression_level(png, PngCompression);
    png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    png_set_IHDR(png, info, png_uint_32(rgba.width()), png_uint_32(rgba.height()), 8, PNG_COLOR_TYPE_RGB_ALPHA,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    for (int y = 0; y < rgba.height(); ++y)
        png_write_row(png, rgba.constScanLine(y));
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return data;
}

int IconSet::squarePngPixels(const QByteArray &png)
{
    // Signature, then the IHDR chunk: length, "IHDR", width, height.
    if (png.size() < 24 || !png.startsWith(PngSignature) || png.mid(12, 4) != "IHDR")
        return 0;
    const quint32 width = bigEndianAt(png, 16);
    const quint32 height = bigEndianAt(png, 20);
    return width == height && width > 0 && width <= 0x7fffffff ? int(width) : 0;
}

IconSet IconSet::fromImages(const QList<QImage> &images, const std::function<bool(int)> &accepts,
                            const QHash<qint64, QByteArray> &known, QString *error)
{
    IconSet set;
    QSet<int> taken;
    for (const QImage &image : images) {
        if (image.isNull() || taken.contains(image.width()) || !accepts(image.width()))
            continue;
        const QImage square = squared(image);
        const auto made = known.constFind(square.cacheKey());
        const QByteArray png = made != known.cend() ? *made : encodePng(square);
        if (png.isEmpty())
            return failed(error, u"Cannot encode the %1 pixel image as PNG."_s.arg(square.width()));
        set.m_entries.append({square.width(), png});
        taken.insert(square.width());
    }
    return set;
}

IconSet IconSet::fromIcns(const QByteArray &icns, QString *error)
{
    if (icns.size() < 8 || !icns.startsWith("icns") || bigEndianAt(icns, 4) != quint32(icns.size()))
        return failed(error, u"it is not an ICNS file"_s);
    IconSet set;
    QSet<int> taken;
    bool olderBitmaps = false;
    for (qsizetype at = 8; at < icns.size();) {
        const quint32 length = icns.size() - at >= 8 ? bigEndianAt(icns, at + 4) : 0;
        if (length < 8 || length > quint32(icns.size() - at))
            return failed(error, u"an entry runs past the end of the file"_s);
        const QByteArray type = icns.mid(at, 4);
        const QByteArray data = icns.mid(at + 8, length - 8);
        at += length;
        if (NonBitmapTypes.contains(type))
            continue;
        const int pixels = squarePngPixels(data);
        if (pixels == 0) {
            olderBitmaps = true;
        } else if (!taken.contains(pixels)) {
            set.m_entries.append({pixels, data});
            taken.insert(pixels);
        }
    }
    if (!olderBitmaps)
        return set.isEmpty() ? failed(error, u"it holds no square image"_s) : set;
    QString reason;
    const SNImage decoded = SNImage::fromData(icns, &reason);
    if (decoded.isNull() && set.isEmpty())
        return failed(error, reason);
    QList<QImage> squares = decoded.representations();
    squares.removeIf([](const QImage &image) { return image.width() != image.height(); });
    const IconSet rest = fromImages(squares, [&](int pixels) { return !taken.contains(pixels); }, {}, error);
    set.m_entries.append(rest.entries());
    return set.isEmpty() ? failed(error, u"it holds no square image"_s) : set;
}
