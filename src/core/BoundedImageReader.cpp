#include "core/BoundedImageReader.h"

#include <QBuffer>
#include <QImageReader>

#include <algorithm>
#include <memory>

using namespace Qt::Literals::StringLiterals;

namespace {

// A reader over its own buffer: the sizes are asked of one reader and the pixels of another, since
// not every format can jump back to its first image.
struct Reader
{
    explicit Reader(const QByteArray &data)
    {
        buffer.setData(data);
        buffer.open(QIODevice::ReadOnly);
        reader = std::make_unique<QImageReader>(&buffer);
        // In MB: the pixel budget at four bytes a pixel, for pages whose header gives no size.
        reader->setAllocationLimit(int(BoundedImageReader::MaximumPixels * 4 / (1024 * 1024)));
    }
    QBuffer buffer;
    std::unique_ptr<QImageReader> reader;
};

qint64 pixels(const QSize &size)
{
    return size.isValid() ? qint64(size.width()) * size.height() : 0;
}

QString overBudget()
{
    return u"its images hold more than %1 pixels (one image of %2 x %2)"_s
        .arg(BoundedImageReader::MaximumPixels)
        .arg(BoundedImageReader::MaximumSide);
}

} // namespace

BoundedImageReader::Result BoundedImageReader::read(const QByteArray &data)
{
    return read(data, Options());
}

BoundedImageReader::Result BoundedImageReader::read(const QByteArray &data, const Options &options)
{
    Result result;
    Reader sizes(data);
    QImageReader &header = *sizes.reader;
    result.format = header.format();
    if (!options.formats.isEmpty() && !options.formats.contains(result.format)) {
        result.reason = u"it is not an image in one of the formats %1"_s.arg(
            QString::fromLatin1(options.formats.join(", ")));
        return result;
    }
    if (!header.canRead()) {
        result.reason = header.errorString();
        return result;
    }
    const int count = header.supportsAnimation() ? 1 : std::max(1, header.imageCount());
    if (count > MaximumImages) {
        result.reason = u"it holds %1 images, more than the %2 read"_s.arg(count).arg(MaximumImages);
        return result;
    }

    // What each entry declares, before anything is decoded.
    const auto fits = [&](const QSize &size) {
        return options.maximumSide <= 0 || (size.isValid() && size.width() <= options.maximumSide &&
                                            size.height() <= options.maximumSide);
    };
    QList<int> wanted;
    qint64 declared = 0;
    for (int index = 0; index < count; ++index) {
        if (index > 0 && !header.jumpToImage(index))
            break;
        const QSize size = header.size();
        if (!fits(size))
            continue;
        wanted.append(index);
        declared += pixels(size);
        if (declared > MaximumPixels) {
            result.reason = overBudget();
            return result;
        }
    }

    Reader decoder(data);
    QImageReader &reader = *decoder.reader;
    reader.setFormat(result.format);
    // Asked before reading: the TIFF handler cannot jump to a later page once it has read one
    // unless it has counted its pages first.
    if (wanted.size() > 1)
        reader.imageCount();
    qint64 decoded = 0;
    for (const int index : std::as_const(wanted)) {
        if (index > 0 && !reader.jumpToImage(index))
            break;
        QImage image = reader.read();
        if (image.isNull() || !fits(image.size())) {
            // A later entry that does not decode (a compression the plugins lack) is left out.
            if (result.images.isEmpty() && result.reason.isEmpty())
                result.reason = image.isNull() ? reader.errorString() : u"the image is too large"_s;
            continue;
        }
        // A header may understate what the page holds.
        decoded += pixels(image.size());
        if (decoded > MaximumPixels) {
            result.images.clear();
            result.reason = overBudget();
            return result;
        }
        result.images.append(std::move(image));
    }
    if (!result.images.isEmpty())
        result.reason.clear();
    else if (result.reason.isEmpty())
        result.reason = u"it holds no image of a size that is read"_s;
    return result;
}
