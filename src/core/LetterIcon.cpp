#include "core/LetterIcon.h"

#include <QByteArray>
#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QTextBoundaryFinder>

using namespace Qt::Literals::StringLiterals;

namespace LetterIcon {

QString initial(const QString &name)
{
    const QString trimmed = name.trimmed();
    QString first;
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, trimmed);
    for (qsizetype start = 0, end = graphemes.toNextBoundary(); end > 0; start = end, end = graphemes.toNextBoundary()) {
        const QString grapheme = trimmed.mid(start, end - start);
        if (first.isEmpty())
            first = grapheme;
        const char32_t code = grapheme.toUcs4().value(0);
        if (QChar::isLetterOrNumber(code))
            return grapheme.toUpper();
    }
    return first.isEmpty() ? u"?"_s : first.toUpper();
}

QColor colour(const QString &name)
{
    // FNV-1a over the name's UTF-8: unlike qHash, the same number in every build.
    quint32 hash = 2166136261u;
    for (const char byte : name.toUtf8()) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    return QColor::fromHslF(float(hash % 360) / 360.0f, 0.55f, 0.36f);
}

QImage draw(const QString &name, int side)
{
    QImage canvas(side, side, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    const QRectF bounds(0, 0, side, side);
    QPainterPath outline;
    outline.addRoundedRect(bounds, side * 0.225, side * 0.225); // the platform's icon corner
    painter.fillPath(outline, colour(name));
    if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        QFont font;
        font.setPixelSize(side / 2);
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(bounds, Qt::AlignCenter, initial(name));
    }
    painter.end();
    return canvas;
}

} // namespace LetterIcon
