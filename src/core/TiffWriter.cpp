#include "core/TiffWriter.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// A growable in-memory file for libtiff. Writing a second directory makes libtiff read back and
// patch earlier offsets, so reading and seeking past the end must work too.
struct MemoryFile
{
    QByteArray data;
    qint64 position = 0;
    QString error;
};

tmsize_t readProc(thandle_t handle, void *buffer, tmsize_t size)
{
    auto *file = static_cast<MemoryFile *>(handle);
    const qint64 available = std::max<qint64>(0, file->data.size() - file->position);
    const qint64 count = std::min<qint64>(available, size);
    if (count > 0)
        std::memcpy(buffer, file->data.constData() + file->position, size_t(count));
    file->position += count;
    return tmsize_t(count);
}

tmsize_t writeProc(thandle_t handle, void *buffer, tmsize_t size)
{
    auto *file = static_cast<MemoryFile *>(handle);
    const qint64 end = file->position + size;
    if (end > file->data.size())
        file->data.resize(end, '\0');
    std::memcpy(file->data.data() + file->position, buffer, size_t(size));
    file->position = end;
    return size;
}

toff_t seekProc(thandle_t handle, toff_t offset, int whence)
{
    auto *file = static_cast<MemoryFile *>(handle);
    qint64 base = 0;
    if (whence == SEEK_CUR)
        base = file->position;
    else if (whence == SEEK_END)
        base = file->data.size();
    const qint64 target = base + qint64(offset);
    if (target < 0)
        return toff_t(-1);
    file->position = target;
    return toff_t(target);
}

int closeProc(thandle_t)
{
    return 0;
}

toff_t sizeProc(thandle_t handle)
{
    return toff_t(static_cast<MemoryFile *>(handle)->data.size());
}

int mapProc(thandle_t, void **, toff_t *)
{
    return 0;
}

void unmapProc(thandle_t, void *, toff_t)
{
}

// Keeps libtiff's complaints with the output instead of on standard error.
int errorHandler(TIFF *, void *userData, const char *module, const char *format, va_list arguments)
{
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    auto *file = static_cast<MemoryFile *>(userData);
    if (file->error.isEmpty())
        file->error = QString::fromUtf8(module ? module : "TIFF") + QStringLiteral(": ") + QString::fromUtf8(text);
    return 1;
}

int warningHandler(TIFF *, void *, const char *, const char *, va_list)
{
    return 1;
}

struct TiffCloser
{
    void operator()(TIFF *tiff) const { TIFFClose(tiff); }
};

struct OptionsFreer
{
    void operator()(TIFFOpenOptions *options) const { TIFFOpenOptionsFree(options); }
};

constexpr size_t StripBytes = 256 * 1024;

bool writePage(TIFF *tiff, const QImage &source)
{
    // Straight alpha keeps every pixel of a PNG or ICO source exactly.
    const QImage image = source.convertToFormat(QImage::Format_RGBA8888);
    const auto width = uint32_t(image.width());
    const auto height = uint32_t(image.height());
    const uint16_t extraSamples[] = {EXTRASAMPLE_UNASSALPHA};
    TIFFSetField(tiff, TIFFTAG_SUBFILETYPE, 0);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4);
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, extraSamples);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    // Fast deflate in strips of about 256 KB: libtiff's default strips of 8 KB start a deflate
    // stream every two rows of a large icon, and the predictor costs more time than it saves
    // space; together they doubled the time of a creation with a 1024 pixel icon.
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, 1);
    // 72 dpi: a representation's size in points equals its size in pixels.
    TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 72.0f);
    TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 72.0f);
    const size_t rowBytes = size_t(width) * 4;
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, uint32_t(std::max<size_t>(1, StripBytes / rowBytes)));

    // libtiff may encode a row in place, so each row goes through a scratch copy.
    std::vector<unsigned char> row(rowBytes);
    for (uint32_t y = 0; y < height; ++y) {
        std::memcpy(row.data(), image.constScanLine(int(y)), rowBytes);
        if (TIFFWriteScanline(tiff, row.data(), y, 0) < 0)
            return false;
    }
    return TIFFWriteDirectory(tiff) == 1;
}

} // namespace

QByteArray TiffWriter::encode(const QList<QImage> &images, QString *error)
{
    const auto fail = [error](const QString &reason) {
        if (error)
            *error = reason;
        return QByteArray();
    };
    if (std::none_of(images.cbegin(), images.cend(), [](const QImage &image) { return !image.isNull(); }))
        return fail(QStringLiteral("No image to write as TIFF."));

    MemoryFile file;
    std::unique_ptr<TIFFOpenOptions, OptionsFreer> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), errorHandler, &file);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), warningHandler, &file);
    std::unique_ptr<TIFF, TiffCloser> tiff(TIFFClientOpenExt("memory", "w", &file, readProc, writeProc, seekProc,
                                                             closeProc, sizeProc, mapProc, unmapProc,
                                                             options.get()));
    if (!tiff)
        return fail(QStringLiteral("Cannot start a TIFF image: ") + file.error);
    for (const QImage &image : images) {
        if (!image.isNull() && !writePage(tiff.get(), image))
            return fail(QStringLiteral("Cannot write a TIFF page: ") + file.error);
    }
    tiff.reset(); // flushes the last directory
    if (!file.error.isEmpty())
        return fail(QStringLiteral("Cannot finish the TIFF image: ") + file.error);
    return file.data;
}
