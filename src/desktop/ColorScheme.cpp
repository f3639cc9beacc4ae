#include "desktop/ColorScheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString PortalService = u"org.freedesktop.portal.Desktop"_s;
const QString PortalPath = u"/org/freedesktop/portal/desktop"_s;
const QString SettingsInterface = u"org.freedesktop.portal.Settings"_s;
const QString AppearanceGroup = u"org.freedesktop.appearance"_s;
const QString ColorSchemeKey = u"color-scheme"_s;
// A portal that does not answer quickly must not hold up the first window.
constexpr int PortalTimeoutMs = 300;

// The portal's values: 0 no preference, 1 prefers dark, 2 prefers light.
std::optional<bool> fromPortalValue(QVariant value)
{
    // Read() wraps the value in one variant more than SettingChanged does.
    while (value.canConvert<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    bool ok = false;
    const uint scheme = value.toUInt(&ok);
    if (!ok || scheme == 0)
        return std::nullopt;
    return scheme == 1;
}

std::optional<bool> overrideFromEnvironment()
{
    const QByteArray forced = qgetenv("SORVANE_COLOR_SCHEME").trimmed().toLower();
    if (forced == "dark")
        return true;
    if (forced == "light")
        return false;
    return std::nullopt;
}

} // namespace

ColorScheme::ColorScheme(QObject *parent) : QObject(parent), m_lightPalette(QGuiApplication::palette()) {}

std::optional<bool> ColorScheme::desktopPrefersDark()
{
    QDBusMessage read = QDBusMessage::createMethodCall(PortalService, PortalPath, SettingsInterface, u"Read"_s);
    read << AppearanceGroup << ColorSchemeKey;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(read, QDBus::Block, PortalTimeoutMs);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
        return fromPortalValue(reply.arguments().constFirst());
    // Without a portal: a GTK theme named as a dark variant ("Adwaita:dark").
    if (qgetenv("GTK_THEME").endsWith(":dark"))
        return true;
    return std::nullopt;
}

void ColorScheme::follow()
{
    if (const std::optional<bool> forced = overrideFromEnvironment()) {
        m_overridden = true;
        setDark(*forced);
        return;
    }
    setDark(desktopPrefersDark().value_or(false));
    QDBusConnection::sessionBus().connect(PortalService, PortalPath, SettingsInterface, u"SettingChanged"_s, this,
                                          SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
}

void ColorScheme::portalSettingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (m_overridden || group != AppearanceGroup || key != ColorSchemeKey)
        return;
    setDark(fromPortalValue(value.variant()).value_or(false));
}

void ColorScheme::setDark(bool dark)
{
    if (dark == m_dark)
        return;
    m_dark = dark;
    Q_EMIT changed();
}

QVariantMap ColorScheme::colors() const
{
    static const QList<std::pair<QPalette::ColorRole, QString>> roles{
        {QPalette::AlternateBase, u"alternateBase"_s}, {QPalette::Base, u"base"_s},
        {QPalette::BrightText, u"brightText"_s},       {QPalette::Button, u"button"_s},
        {QPalette::ButtonText, u"buttonText"_s},       {QPalette::Dark, u"dark"_s},
        {QPalette::Highlight, u"highlight"_s},         {QPalette::HighlightedText, u"highlightedText"_s},
        {QPalette::Light, u"light"_s},                 {QPalette::Link, u"link"_s},
        {QPalette::LinkVisited, u"linkVisited"_s},     {QPalette::Mid, u"mid"_s},
        {QPalette::Midlight, u"midlight"_s},           {QPalette::PlaceholderText, u"placeholderText"_s},
        {QPalette::Shadow, u"shadow"_s},               {QPalette::Text, u"text"_s},
        {QPalette::ToolTipBase, u"toolTipBase"_s},     {QPalette::ToolTipText, u"toolTipText"_s},
        {QPalette::Window, u"window"_s},               {QPalette::WindowText, u"windowText"_s},
    };
    const QPalette palette = m_dark ? darkPalette() : m_lightPalette;
    QVariantMap active;
    QVariantMap disabled;
    for (const auto &[role, name] : roles) {
        active.insert(name, palette.color(QPalette::Active, role));
        disabled.insert(name, palette.color(QPalette::Disabled, role));
    }
    return {{u"active"_s, active}, {u"disabled"_s, disabled}};
}

QPalette ColorScheme::darkPalette()
{
    // Neutral greys with a blue accent, as dark desktop themes draw them.
    const QColor window(0x2b, 0x2b, 0x2e);
    const QColor base(0x1f, 0x1f, 0x22);
    const QColor text(0xee, 0xee, 0xef);
    const QColor dimmed(0x8a, 0x8a, 0x90);
    const QColor accent(0x35, 0x84, 0xe4);
    QPalette palette(window);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, QColor(0x36, 0x36, 0x3a));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3a, 0x3a, 0x3e));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, dimmed);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3e));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Light, QColor(0x4a, 0x4a, 0x50));
    palette.setColor(QPalette::Midlight, QColor(0x42, 0x42, 0x47));
    palette.setColor(QPalette::Mid, QColor(0x55, 0x55, 0x5b));
    palette.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1a));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x78, 0xae, 0xed));
    palette.setColor(QPalette::LinkVisited, QColor(0xc0, 0x8c, 0xf0));
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dimmed);
    palette.setColor(QPalette::Disabled, QPalette::Button, QColor(0x30, 0x30, 0x33));
    palette.setColor(QPalette::Disabled, QPalette::Base, window);
    return palette;
}
