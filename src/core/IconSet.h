#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QList>
#include <QString>

#include <functional>

// An app's icon as PNG files, one per square pixel size, each encoded once: the bundle's icon.icns
// is made from it, and the menu icons on Linux take the same bytes back out of that file instead
// of decoding and encoding the pixels again.
class IconSet final
{
public:
    struct Entry
    {
        int pixels = 0; // width and height
        QByteArray png;
    };

    // One entry per pixel width among `images` that `accepts` takes, in list order; a later image
    // of a width already there is left out. A non-square image keeps its proportions, centred on
    // a transparent square as wide as it is (a tall one scaled down to fit). `known` holds PNG
    // files already made, by QImage::cacheKey(): a square image found there keeps those bytes.
    // Fails (empty set) when an image cannot be encoded.
    static IconSet fromImages(const QList<QImage> &images, const std::function<bool(int pixels)> &accepts,
                              const QHash<qint64, QByteArray> &known = {}, QString *error = nullptr);
    // The square entries of an ICNS file. PNG entries are taken as they are; only a file that
    // also holds older bitmap entries is decoded, for the sizes no PNG entry has. An unreadable
    // file gives an empty set and the reason.
    static IconSet fromIcns(const QByteArray &icns, QString *error = nullptr);

    // The image as an 8-bit RGBA PNG, made for speed over size; empty when it cannot be encoded.
    static QByteArray encodePng(const QImage &image);
    // The width and height a PNG file's header gives, or 0 when it is not a square PNG.
    static int squarePngPixels(const QByteArray &png);

    bool isEmpty() const { return m_entries.isEmpty(); }
    const QList<Entry> &entries() const { return m_entries; }

private:
    QList<Entry> m_entries;
};
