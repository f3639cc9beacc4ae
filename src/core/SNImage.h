#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>
#include <QString>

// An image as an ordered set of representations: an .ico, .icns or multi-page TIFF brings one
// bitmap per size it holds, a PNG or JPEG a single one. Null representations are dropped, so an
// image is null exactly when it holds none.
class SNImage final
{
public:
    SNImage() = default;
    explicit SNImage(QList<QImage> representations);

    bool isNull() const { return m_representations.isEmpty(); }
    const QList<QImage> &representations() const { return m_representations; }

    // Every image the file or data holds, in file order. Unreadable, corrupt or empty input gives
    // a null image and, when `error` is given, a reason.
    static SNImage fromFile(const QString &path, QString *error = nullptr);
    static SNImage fromData(const QByteArray &data, QString *error = nullptr);
    static SNImage fromTiff(const QByteArray &data, QString *error = nullptr) { return fromData(data, error); }

    // All representations as one multi-page TIFF, a page per representation, in order; empty for
    // a null image or when encoding fails.
    QByteArray tiffRepresentation() const;
    // The base64 text of the TIFF representation, on one line; empty for a null image.
    static QString imageData(const SNImage &image);

    // The representation with the most pixels (the first of equals): the one to draw other sizes
    // from. Null for a null image.
    QImage largestRepresentation() const;
    QSize largestPixelSize() const { return largestRepresentation().size(); }

    // The PNG file an image was read from, when it is a single-image PNG (empty otherwise), and
    // the cache key of the representation it holds: writers that store PNG can take these bytes
    // instead of encoding the same pixels again.
    const QByteArray &sourcePng() const { return m_sourcePng; }
    qint64 sourcePngKey() const { return m_sourcePng.isEmpty() ? 0 : m_representations.first().cacheKey(); }

private:
    // Decodes `data`; a single-image PNG keeps its bytes.
    static SNImage decode(const QByteArray &data, const QString &source, QString *error);

    QList<QImage> m_representations;
    QByteArray m_sourcePng;
};
