// Any bytes as an image file: the bounded reader must answer without crashing and must never hand
// back more images or pixels than its budget, nor nothing without a reason.

#include "core/BoundedImageReader.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    // Entries past 1024 pixels a side are left out once their headers are read, so that the time
    // goes into parsing headers rather than into filling large in-budget bitmaps.
    BoundedImageReader::Options options;
    options.maximumSide = 1024;
    const BoundedImageReader::Result result =
        BoundedImageReader::read(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)), options);
    qint64 pixels = 0;
    for (const QImage &image : result.images)
        pixels += qint64(image.width()) * image.height();
    if (result.images.size() > BoundedImageReader::MaximumImages ||
        pixels > BoundedImageReader::MaximumPixels || result.images.isEmpty() == result.reason.isEmpty())
        std::abort();
    return 0;
}
