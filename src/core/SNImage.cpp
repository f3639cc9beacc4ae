#include "core/SNImage.h"

#include "core/BoundedImageReader.h"
#include "core/TiffWriter.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

SNImage finish(QList<QImage> images, const QString &source, const QString &reason, QString *error)
{
    if (images.isEmpty() && error)
        *error = QStringLiteral("Cannot read the image %1: %2").arg(source, reason);
    return SNImage(std::move(images));
}

} // namespace

SNImage::SNImage(QList<QImage> representations)
    : m_representations(std::move(representations))
{
    m_representations.removeIf([](const QImage &image) { return image.isNull(); });
}

SNImage SNImage::decode(const QByteArray &data, const QString &source, QString *error)
{
    BoundedImageReader::Result read = BoundedImageReader::read(data);
    SNImage image = finish(std::move(read.images), source, read.reason, error);
    if (read.format == "png" && image.m_representations.size() == 1)
        image.m_sourcePng = data;
    return image;
}

SNImage SNImage::fromFile(const QString &path, QString *error)
{
    const QFileInfo info(path);
    const QString source = QLatin1Char('"') + path + QLatin1Char('"');
    if (!info.isFile())
        return finish({}, source, QStringLiteral("no such file"), error);
    if (info.size() == 0)
        return finish({}, source, QStringLiteral("the file is empty"), error);
    if (info.size() > BoundedImageReader::MaximumFileBytes)
        return finish({}, source,
                      QStringLiteral("it is larger than %1 MB").arg(BoundedImageReader::MaximumFileBytes / (1024 * 1024)),
                      error);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return finish({}, source, file.errorString(), error);
    return decode(file.readAll(), source, error);
}

SNImage SNImage::fromData(const QByteArray &data, QString *error)
{
    const QString source = QStringLiteral("data");
    if (data.isEmpty())
        return finish({}, source, QStringLiteral("no data"), error);
    return decode(data, source, error);
}

QByteArray SNImage::tiffRepresentation() const
{
    if (isNull())
        return {};
    return TiffWriter::encode(m_representations);
}

QString SNImage::imageData(const SNImage &image)
{
    return QString::fromLatin1(image.tiffRepresentation().toBase64());
}

QImage SNImage::largestRepresentation() const
{
    const auto pixels = [](const QImage &image) { return qint64(image.width()) * image.height(); };
    const auto largest = std::max_element(m_representations.cbegin(), m_representations.cend(),
                                          [&](const QImage &a, const QImage &b) { return pixels(a) < pixels(b); });
    return largest == m_representations.cend() ? QImage() : *largest;
}
