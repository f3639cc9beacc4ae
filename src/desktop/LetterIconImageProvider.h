#pragma once

#include <QQuickImageProvider>

// "image://lettericon/<name>": the name's initial on its colour (LetterIcon), the icon the views
// show for a suggestion or an app that has no picture of its own.
class LetterIconImageProvider final : public QQuickImageProvider
{
public:
    static const QString Name; // "lettericon"

    LetterIconImageProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};
