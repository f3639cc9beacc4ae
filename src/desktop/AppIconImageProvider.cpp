#include "desktop/AppIconImageProvider.h"

#include "core/BoundedImageReader.h"
#include "frontend/HomescreenAppsModel.h"

#include <QFile>
#include <QFileInfo>
#include <QQuickTextureFactory>
#include <QRunnable>
#include <QThreadPool>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

namespace {

// Icons are small files; anything larger is not an icon of ours.
constexpr qint64 LargestIconFile = 16 * 1024 * 1024;

// Whether an image `candidate` pixels wide fills `side` pixels better than one `current` wide:
// the smallest that is at least as large wins, else the largest.
bool fillsBetter(int candidate, int current, int side)
{
    const bool fills = candidate >= side;
    const bool currentFills = current >= side;
    if (fills != currentFills)
        return fills;
    return fills ? candidate < current : candidate > current;
}

class IconResponse final : public QQuickImageResponse, public QRunnable
{
public:
    IconResponse(QString path, int side) : m_path(std::move(path)), m_side(side) { setAutoDelete(false); }

    QQuickTextureFactory *textureFactory() const override
    {
        return QQuickTextureFactory::textureFactoryForImage(m_image);
    }
    QString errorString() const override { return m_error; }

    void run() override
    {
        m_image = AppIconImageProvider::bestImage(m_path, m_side);
        if (m_image.isNull())
            m_error = u"%1 holds no icon that can be shown"_s.arg(m_path);
        Q_EMIT finished();
    }

private:
    QString m_path;
    int m_side;
    QImage m_image;
    QString m_error;
};

} // namespace

QQuickImageResponse *AppIconImageProvider::requestImageResponse(const QString &id, const QSize &requestedSize)
{
    const QString bundle = QUrl::fromPercentEncoding(id.section(u'?', 0, 0).toLatin1());
    const int side = std::max({requestedSize.width(), requestedSize.height(), 64});
    auto *response = new IconResponse(QFileInfo(bundle).isAbsolute() ? bundle + HomescreenAppsModel::BundleIconFile : QString(), side);
    QThreadPool::globalInstance()->start(response);
    return response;
}

QImage AppIconImageProvider::bestImage(const QString &icnsPath, int side)
{
    QFile file(icnsPath);
    if (icnsPath.isEmpty() || file.size() > LargestIconFile || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray data = file.readAll();

    // Qt's reader decodes every entry to learn its size, the 1024-pixel one too. Entries holding
    // a PNG (all of ours) state their size in the PNG's header, so the container is walked here
    // (each entry: a type and a big-endian length, 8 bytes, then its data) and only the chosen
    // entry is decoded.
    const auto bigEndian = [&data](qsizetype at) {
        return (quint32(quint8(data[at])) << 24) | (quint32(quint8(data[at + 1])) << 16) |
               (quint32(quint8(data[at + 2])) << 8) | quint32(quint8(data[at + 3]));
    };
    QByteArray chosen;
    int chosenSide = 0;
    int entries = 0;
    for (qsizetype at = 8; data.startsWith("icns") && at + 8 <= data.size() && entries < BoundedImageReader::MaximumImages;
         ++entries) {
        const qsizetype length = bigEndian(at + 4);
        if (length < 8 || length > data.size() - at)
            break;
        const qsizetype start = at + 8;
        at += length;
        constexpr qsizetype PngHeaderBytes = 24; // signature, IHDR length and type, width, height
        if (length - 8 < PngHeaderBytes || !QByteArrayView(data).sliced(start).startsWith("\x89PNG\r\n\x1a\n"))
            continue;
        const quint32 declared = std::max(bigEndian(start + 16), bigEndian(start + 20));
        const int entrySide = int(std::min<quint32>(declared, BoundedImageReader::MaximumSide + 1));
        if (chosen.isEmpty() || fillsBetter(entrySide, chosenSide, side)) {
            chosen = data.mid(start, length - 8);
            chosenSide = entrySide;
        }
    }
    const BoundedImageReader::Result read = chosen.isEmpty()
                                                ? BoundedImageReader::read(data, {.maximumSide = 0, .formats = {"icns"}})
                                                : BoundedImageReader::read(chosen, {.maximumSide = 0, .formats = {"png"}});
    QImage best;
    for (const QImage &image : read.images) {
        if (best.isNull() || fillsBetter(std::max(image.width(), image.height()), std::max(best.width(), best.height()), side))
            best = image;
    }
    return best;
}
