#pragma once

#include <QColor>
#include <QString>

#include <optional>

// Carries options of an app into its engine's own settings, by editing the profile's
// Default/Preferences before the engine next starts (the engine must not be running: it rewrites
// the file on exit). Only browser.theme is touched; every other key is kept as read.
class SNChromePrefsHelper final
{
public:
    SNChromePrefsHelper() = delete;

    // "1E90FF", "#1e90ff", " #1E90FF\n" -> 0xFF1E90FF as a signed value; anything else -> nothing.
    static std::optional<qint32> storedColor(const QString &accentColor);
    // "#RRGGBB", upper case.
    static QString hexStringFrom(const QColor &color);

    // Sets browser.theme.user_color to the colour, or removes the colour keys when the colour is
    // missing or invalid. A write error is logged and returned.
    static bool applyAccentColor(const QString &accentColor, const QString &profileDirectory,
                                 QString *error = nullptr);
};
