#pragma once

#include <QObject>
#include <QPalette>
#include <QVariantMap>

#include <optional>

class QDBusVariant;

// Follows the desktop's light or dark preference: the freedesktop settings portal's
// "org.freedesktop.appearance color-scheme" (GNOME, KDE and others publish it), read at start
// and watched while the app runs. SORVANE_COLOR_SCHEME=light|dark overrides it. The windows
// take their palette from `colors` (the style's own palette does not follow the application's),
// and the views draw from the palette only.
class ColorScheme final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool dark READ isDark NOTIFY changed)
    // {"active": {role: colour}, "disabled": {role: colour}}, roles named as QML's palette names them.
    Q_PROPERTY(QVariantMap colors READ colors NOTIFY changed)

public:
    explicit ColorScheme(QObject *parent = nullptr);

    bool isDark() const { return m_dark; }
    QVariantMap colors() const;
    // Takes the desktop's preference now and on every change.
    void follow();
    void setDark(bool dark);

    // The preference as the desktop states it now; nullopt when it states none.
    static std::optional<bool> desktopPrefersDark();
    static QPalette darkPalette();

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void portalSettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    bool m_dark = false;
    bool m_overridden = false;
    QPalette m_lightPalette;
};
