#pragma once

#include "core/SNImage.h"

#include <QColor>
#include <QObject>
#include <QString>

#include <functional>

class Context;
class SiteIconSearch;
class WizardDraft;

// The wizard's app icon: found with the site's name by a search of the typed address, chosen
// from a file, or drawn from the name in a shape and colour. Only the search of the address typed
// last can answer.
class WizardIcon final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString selectedIconShape MEMBER m_selectedIconShape NOTIFY selectedIconShapeChanged)
    Q_PROPERTY(QColor selectedIconColor MEMBER m_selectedIconColor NOTIFY selectedIconColorChanged)
    Q_PROPERTY(bool hasCustomIconEnhancements MEMBER m_hasCustomIconEnhancements NOTIFY hasCustomIconEnhancementsChanged)
    // The icon as creation will write it, small, as an image address a view can show.
    Q_PROPERTY(QString iconPreview READ iconPreview NOTIFY iconPreviewChanged)
    Q_PROPERTY(bool isAutoDetecting READ isAutoDetecting NOTIFY detectionChanged)
    Q_PROPERTY(QString autoDetectedName READ autoDetectedName NOTIFY detectionChanged)

public:
    // The draft gives the name an icon is drawn from, and takes the name and address a search
    // finds.
    WizardIcon(Context &context, WizardDraft &draft, QObject *parent = nullptr);
    ~WizardIcon() override;

    // The shape from the user's settings.
    void loadDefaults();

    // Looks up the address's icon and the page's title, in the background.
    Q_INVOKABLE void detectNameAndIcon();
    Q_INVOKABLE bool setIconFromFile(const QString &path);
    Q_INVOKABLE void clearIcon();
    // `customAsset`: the user's own file, which a later search leaves alone.
    void setImage(const SNImage &icon, bool customAsset);
    // An existing app's icon, written as it is unless the icon tools change it.
    void setFinishedIcon(const SNImage &icon);

    const SNImage &image() const { return m_image; }
    bool isCustomAsset() const { return m_isCustomAsset; }
    // The icon that creation writes: the image (or the name's initial) on the chosen colour, cut
    // to the chosen shape.
    SNImage composed() const;
    QString iconPreview() const;
    QString selectedIconShape() const { return m_selectedIconShape; }
    QColor selectedIconColor() const { return m_selectedIconColor; }
    bool hasCustomIconEnhancements() const { return m_hasCustomIconEnhancements; }
    bool isAutoDetecting() const { return m_isAutoDetecting; }
    QString autoDetectedName() const { return m_autoDetectedName; }

Q_SIGNALS:
    void imageChanged();
    void selectedIconShapeChanged();
    void selectedIconColorChanged();
    void hasCustomIconEnhancementsChanged();
    void iconPreviewChanged();
    void detectionChanged();

private:
    Context &m_context;
    WizardDraft &m_draft;
    // The site search of the address typed last, and what stops it.
    SiteIconSearch *m_siteSearch;
    std::function<void()> m_stopSiteSearch;
    quint64 m_siteSearchSerial = 0;

    SNImage m_image;
    bool m_isCustomAsset = false;
    bool m_isFinishedIcon = false;
    QString m_selectedIconShape = QStringLiteral("roundedSquare");
    QColor m_selectedIconColor = QColor(Qt::white);
    bool m_hasCustomIconEnhancements = false;
    bool m_isAutoDetecting = false;
    QString m_autoDetectedName;
};
