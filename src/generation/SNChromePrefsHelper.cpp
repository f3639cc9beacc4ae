#include "generation/SNChromePrefsHelper.h"

#include "core/AtomicWriter.h"
#include "core/Logger.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

// The engine's theme colour. user_color2 is the second colour of a two-colour theme the user may
// have picked in the engine; an accent colour is one colour, so that key goes whenever the
// accent is set or removed, and the engine derives its whole palette from user_color alone.
const QString UserColor = QStringLiteral("user_color");
const QString UserColor2 = QStringLiteral("user_color2");

} // namespace

std::optional<qint32> SNChromePrefsHelper::storedColor(const QString &accentColor)
{
    QString digits = accentColor.trimmed();
    if (digits.startsWith(QLatin1Char('#')))
        digits.remove(0, 1);
    if (digits.size() != 6)
        return std::nullopt;
    bool ok = false;
    const quint32 rgb = digits.toUInt(&ok, 16);
    if (!ok)
        return std::nullopt;
    return static_cast<qint32>(rgb | 0xFF000000u);
}

QString SNChromePrefsHelper::hexStringFrom(const QColor &color)
{
    return QStringLiteral("#%1%2%3")
        .arg(color.red(), 2, 16, QLatin1Char('0'))
        .arg(color.green(), 2, 16, QLatin1Char('0'))
        .arg(color.blue(), 2, 16, QLatin1Char('0'))
        .toUpper();
}

bool SNChromePrefsHelper::applyAccentColor(const QString &accentColor, const QString &profileDirectory,
                                           QString *failure)
{
    const QString defaultFolder = profileDirectory + QStringLiteral("/Default");
    const QString path = defaultFolder + QStringLiteral("/Preferences");
    QJsonObject root;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly))
        root = QJsonDocument::fromJson(file.readAll()).object(); // undecodable: start empty
    file.close();

    QJsonObject browser = root.value(QStringLiteral("browser")).toObject();
    QJsonObject theme = browser.value(QStringLiteral("theme")).toObject();
    theme.remove(UserColor2);
    if (const std::optional<qint32> color = storedColor(accentColor))
        theme.insert(UserColor, *color);
    else
        theme.remove(UserColor);
    browser.insert(QStringLiteral("theme"), theme);
    root.insert(QStringLiteral("browser"), browser);

    QString error;
    if (!QDir().mkpath(defaultFolder))
        error = QStringLiteral("cannot create %1").arg(defaultFolder);
    else if (AtomicWriter::write(path, QJsonDocument(root).toJson(QJsonDocument::Compact), &error))
        return true;
    Logger::log(QStringLiteral("SNChromePrefsHelper: failed to write Preferences: %1").arg(error));
    if (failure)
        *failure = error;
    return false;
}
