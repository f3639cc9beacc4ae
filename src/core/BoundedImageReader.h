#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QString>

// The one place images from files, app sets and the web are decoded. A small file can declare
// many pages or huge pages (a TIFF whose sixty pages share one compressed strip), so the page
// count and every page's size are read from the headers and checked before any pixel memory is
// taken; Qt's allocation limit stops a page whose header gave no size.
class BoundedImageReader final
{
public:
    // Pages, sizes or entries read from one file: an .icns holds about ten, an .ico a few more.
    static constexpr int MaximumImages = 64;
    // Pixels of all pages together: one 8192 x 8192 image, 256 MB once decoded.
    static constexpr int MaximumSide = 8192;
    static constexpr qint64 MaximumPixels = qint64(MaximumSide) * MaximumSide;
    // Larger files are not read at all.
    static constexpr qint64 MaximumFileBytes = qint64(128) * 1024 * 1024;

    struct Options
    {
        // When set, entries wider or taller than this (or of unknown size) are left out, not refused.
        int maximumSide = 0;
        // When set, data in any other format is not read.
        QList<QByteArray> formats;
    };

    struct Result
    {
        // In file order; an animation gives its first frame only (frames are not sizes).
        QList<QImage> images;
        // The format Qt recognised, lower case ("png", "tiff"); empty when none.
        QByteArray format;
        // Why nothing was read, naming the limit when one was passed; empty when images were read.
        QString reason;
    };

    static Result read(const QByteArray &data);
    static Result read(const QByteArray &data, const Options &options);
};
