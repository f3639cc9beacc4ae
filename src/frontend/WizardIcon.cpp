#include "frontend/WizardIcon.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/UserDefaults.h"
#include "core/WebAddress.h"
#include "editing/SiteIconSearch.h"
#include "frontend/IconComposer.h"
#include "frontend/IconShape.h"
#include "frontend/SettingsKeys.h"
#include "frontend/WizardDraft.h"

#include <QBuffer>
#include <QUrl>

using namespace Qt::Literals::StringLiterals;

WizardIcon::WizardIcon(Context &context, WizardDraft &draft, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_draft(draft),
      m_siteSearch(new SiteIconSearch(this))
{
    // Everything the composed icon is drawn from.
    for (auto changed : {&WizardIcon::imageChanged, &WizardIcon::selectedIconShapeChanged,
                         &WizardIcon::selectedIconColorChanged, &WizardIcon::hasCustomIconEnhancementsChanged})
        connect(this, changed, this, &WizardIcon::iconPreviewChanged);
    connect(&draft, &WizardDraft::appNameChanged, this, &WizardIcon::iconPreviewChanged);
}

WizardIcon::~WizardIcon() = default;

void WizardIcon::loadDefaults()
{
    const QString shape = m_context.defaults().stringForKey(SettingsKeys::IconShape);
    if (IconShape::fromRawValue(shape) && shape != m_selectedIconShape) {
        m_selectedIconShape = shape;
        Q_EMIT selectedIconShapeChanged();
    }
}

void WizardIcon::setImage(const SNImage &icon, bool customAsset)
{
    m_image = icon;
    m_isCustomAsset = customAsset && !icon.isNull();
    m_isFinishedIcon = false;
    Q_EMIT imageChanged();
}

void WizardIcon::setFinishedIcon(const SNImage &icon)
{
    setImage(icon, false);
    m_isFinishedIcon = !icon.isNull();
}

bool WizardIcon::setIconFromFile(const QString &path)
{
    QString error;
    const SNImage icon = SNImage::fromFile(QUrl(path).isLocalFile() ? QUrl(path).toLocalFile() : path, &error);
    if (icon.isNull()) {
        Logger::log(u"Icon not usable: "_s + error);
        return false;
    }
    setImage(icon, true);
    return true;
}

void WizardIcon::clearIcon()
{
    setImage({}, false);
}

void WizardIcon::detectNameAndIcon()
{
    const QString typed = m_draft.appURL().trimmed();
    if (!WebAddress::hasScheme(typed) && typed.size() < 4)
        return;
    // A new address stops the search for the previous one; its answer would be stale.
    if (m_stopSiteSearch)
        m_stopSiteSearch();
    const quint64 serial = ++m_siteSearchSerial;
    m_isAutoDetecting = true;
    Q_EMIT detectionChanged();
    m_stopSiteSearch = m_siteSearch->lookUp(typed, [this, serial, typed](const SNFaviconHelper::Found &found) {
        if (serial != m_siteSearchSerial)
            return;
        m_stopSiteSearch = nullptr;
        m_isAutoDetecting = false;
        m_autoDetectedName = found.pageTitle;
        Q_EMIT detectionChanged();
        if (!found.address.isEmpty())
            m_draft.setAnsweredAddress(typed, found.address);
        // A site without an icon clears the one the previous address found.
        if (!m_isCustomAsset)
            setImage(found.image, false);
        if (m_draft.appName().trimmed().isEmpty() && !found.pageTitle.isEmpty())
            m_draft.setAppName(found.pageTitle);
    });
}

SNImage WizardIcon::composed() const
{
    // Every icon, found, chosen or drawn, gets the chosen shape: apps made together look alike.
    // An app's own icon already has its shape, unless the tools are used on it again.
    if (m_isFinishedIcon && !m_hasCustomIconEnhancements)
        return m_image;
    return IconComposer::compose(m_image, m_draft.appName(), m_selectedIconShape, m_selectedIconColor);
}

QString WizardIcon::iconPreview() const
{
    constexpr int PreviewSide = 160;
    const QImage preview = composed().largestRepresentation().scaled(PreviewSide, PreviewSide, Qt::KeepAspectRatio,
                                                                     Qt::SmoothTransformation);
    if (preview.isNull())
        return {};
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    preview.save(&buffer, "PNG");
    return u"data:image/png;base64,"_s + QString::fromLatin1(png.toBase64());
}
