#include "desktop/LetterIconImageProvider.h"

#include "core/LetterIcon.h"

#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

const QString LetterIconImageProvider::Name = u"lettericon"_s;

namespace {
// Small icons on buttons and lists; a larger request is drawn at this size and scaled by the view.
constexpr int LargestSide = 256;
} // namespace

QImage LetterIconImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const int asked = std::max(requestedSize.width(), requestedSize.height());
    const int side = std::clamp(asked > 0 ? asked : 64, 16, LargestSide);
    const QImage image = LetterIcon::draw(QUrl::fromPercentEncoding(id.toUtf8()), side);
    if (size)
        *size = image.size();
    return image;
}
