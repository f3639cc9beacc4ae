#include "frontend/IconComposer.h"

#include "core/LetterIcon.h"

#include <QFont>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

using namespace Qt::Literals::StringLiterals;

SNImage IconComposer::compose(const SNImage &source, const QString &appName, const QString &shape, const QColor &color)
{
    QImage canvas(Side, Side, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::transparent);
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);

    const QRectF bounds(0, 0, Side, Side);
    QPainterPath outline;
    if (shape == u"circle"_s)
        outline.addEllipse(bounds);
    else if (shape == u"square"_s)
        outline.addRect(bounds);
    else
        outline.addRoundedRect(bounds, Side * 0.225, Side * 0.225); // the platform's icon corner
    painter.setClipPath(outline);
    const QImage image = source.largestRepresentation();
    // Without a chosen colour an initial stands on the app's own colour, as on the home screen.
    const QColor background = color.isValid() ? color : image.isNull() ? LetterIcon::colour(appName) : QColor(Qt::white);
    painter.fillPath(outline, background);

    if (!image.isNull()) {
        // The site's icon keeps its proportions inside a margin, so the shape never cuts it.
        const QSizeF fitted = QSizeF(image.size()).scaled(bounds.size() * 0.64, Qt::KeepAspectRatio);
        const QRectF target(QPointF((Side - fitted.width()) / 2, (Side - fitted.height()) / 2), fitted);
        painter.drawImage(target, image);
    } else if (qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        // Text needs the platform's fonts, which only a GUI application has loaded.
        QFont font;
        font.setPixelSize(Side / 2);
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(background.lightnessF() > 0.6 ? QColor(Qt::black) : QColor(Qt::white));
        painter.drawText(bounds, Qt::AlignCenter, LetterIcon::initial(appName));
    }
    painter.end();
    return SNImage({canvas});
}
