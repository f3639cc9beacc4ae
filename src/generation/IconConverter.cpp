#include "generation/IconConverter.h"

#include "core/AtomicWriter.h"
#include "core/IconSet.h"
#include "core/Logger.h"
#include "core/SNImage.h"
#include "generation/IcnsWriter.h"

#include <QSet>

#include <algorithm>

namespace {

const QString IconErrorText = QStringLiteral("Error creating icon.");
const QString IconWriteErrorText = QStringLiteral("Error writing to icon.icns.");
const QString IconCreatedText = QStringLiteral("icon.icns created successfully.");
const QString IconFileName = QStringLiteral("icon.icns");

bool fail(const QString &line, QString *error)
{
    Logger::log(line);
    if (error)
        *error = IconErrorText;
    return false;
}

} // namespace

QList<QImage> IconConverter::refsFromImage(const SNImage &image)
{
    QList<QImage> refs = image.representations();
    if (refs.isEmpty())
        return refs;
    std::stable_sort(refs.begin(), refs.end(),
                     [](const QImage &a, const QImage &b) { return a.width() < b.width(); });
    QSet<int> widths;
    for (const QImage &ref : refs)
        widths.insert(ref.width());

    // Made sizes come from the representation with the most pixels: scaling down keeps detail
    // that scaling up a small one never had.
    const QImage source = image.largestRepresentation();
    for (const int size : {256, 128, 512}) {
        if (widths.contains(size))
            continue;
        // Scaled into the full square, with area averaging when shrinking.
        refs.append(source.scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                        .convertToFormat(QImage::Format_ARGB32));
    }
    return refs;
}

bool IconConverter::convertImagesWithSourceImage(const SNImage &image, const QString &destinationDirectory,
                                                 QString *error)
{
    const QList<QImage> refs = refsFromImage(image);
    if (refs.isEmpty())
        return fail(IconErrorText, error);
    QHash<qint64, QByteArray> png;
    if (!image.sourcePng().isEmpty())
        png.insert(image.sourcePngKey(), image.sourcePng());
    const QByteArray icns = IcnsWriter::encode(IcnsWriter::iconSet(refs, nullptr, png));
    if (icns.isEmpty())
        return fail(IconWriteErrorText, error);
    // The fixed text is what the user sees; why the file could not be written goes to the log.
    if (QString reason; !AtomicWriter::write(destinationDirectory + QLatin1Char('/') + IconFileName, icns, &reason)) {
        Logger::log(reason);
        return fail(IconWriteErrorText, error);
    }
    Logger::log(IconCreatedText);
    return true;
}
