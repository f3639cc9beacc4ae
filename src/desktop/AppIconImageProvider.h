#pragma once

#include <QQuickAsyncImageProvider>
#include <QString>

// Shows apps' own icons: "image://appicon/<bundle path, percent-encoded>?<anything>"
// (HomescreenAppsModel::bundleIconUrl) is the
// bundle's Contents/Resources/icon.icns, read off the UI thread, at the size nearest above the
// one asked for. (Whatever follows "?" only tells the view a changed icon apart.) Only an
// icon.icns in a bundle's Resources is ever read, within the image reader's budgets.
class AppIconImageProvider final : public QQuickAsyncImageProvider
{
public:
    // The provider's name: HomescreenAppsModel::AppIconProvider ("appicon"), which makes the addresses.
    QQuickImageResponse *requestImageResponse(const QString &id, const QSize &requestedSize) override;

    // The entry of an .icns that best fills `side` pixels: the smallest at least that large, else
    // the largest. Null when the file holds no image within the budgets.
    static QImage bestImage(const QString &icnsPath, int side);
};
