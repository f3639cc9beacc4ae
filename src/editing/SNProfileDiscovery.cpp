#include "editing/SNProfileDiscovery.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/UserDefaults.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/TreeCopy.h"
#include "generation/ProfileSeeder.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Where `path` is read from: below the user-data folder no link is followed (one could lead to
// anything); a file elsewhere is read only when its own name is not a link.
std::pair<QString, QString> rootAndRelative(const QString &userDataFolder, const QString &path)
{
    const QString prefix = userDataFolder + u'/';
    if (path.startsWith(prefix))
        return {userDataFolder, path.mid(prefix.size())};
    const QFileInfo info(path);
    return {info.path(), info.fileName()};
}

// The file's bytes, or nothing when it cannot be read or is larger than any real one.
std::optional<QByteArray> readSmallFile(const QString &userDataFolder, const QString &path)
{
    const auto [root, relative] = rootAndRelative(userDataFolder, path);
    if (TreeCopy::kindBelow(root, relative) == TreeCopy::Kind::Link)
        Logger::log(u"%1 leads through a link and was not read"_s.arg(path));
    return TreeCopy::readFileBelow(root, relative, SNProfileDiscovery::MaximumFileSize);
}

std::optional<QJsonObject> jsonObject(const QByteArray &data, QString *error)
{
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(data, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = parseError.errorString();
        return std::nullopt;
    }
    if (!document.isObject()) {
        *error = u"not a JSON object"_s;
        return std::nullopt;
    }
    return document.object();
}

bool isReadableFile(const QString &userDataFolder, const QString &path)
{
    const auto [root, relative] = rootAndRelative(userDataFolder, path);
    return TreeCopy::kindBelow(root, relative) == TreeCopy::Kind::File && QFileInfo(path).isReadable();
}

// A key taken from a file; refused keys are logged and count as missing.
QString acceptedKey(const QJsonValue &value)
{
    const QString key = value.toString();
    if (value.isString() && !ProfileSeeder::isProfileKey(key))
        Logger::log(u"profile key refused:%1 "_s.arg(key));
    return ProfileSeeder::isProfileKey(key) ? key : QString();
}

// "Profile 2" before "Profile 10": the browser numbers its profiles, and users think of them so.
bool numberedBefore(const QString &a, const QString &b)
{
    const auto split = [](const QString &key) {
        qsizetype digits = key.size();
        while (digits > 0 && key.at(digits - 1).isDigit())
            --digits;
        return std::pair{key.left(digits), key.mid(digits)};
    };
    const auto [textA, numberA] = split(a);
    const auto [textB, numberB] = split(b);
    if (textA != textB)
        return textA < textB;
    if (numberA.size() != numberB.size())
        return numberA.size() < numberB.size();
    return numberA < numberB;
}

QJsonObject extensionSettings(const QJsonObject &preferences)
{
    return preferences.value(u"extensions"_s).toObject().value(u"settings"_s).toObject();
}

} // namespace

SNProfileDiscovery::SNProfileDiscovery(Context &context, const QString &typeKey)
    : SNProfileDiscovery(BrowserLocator::installedUserDataFolder(BrowserCatalogue::byTypeKey(typeKey), context.homeFolder(),
                                                                   context.defaults()))
{
}

SNProfileDiscovery::SNProfileDiscovery(const QString &userDataFolder) : m_userDataFolder(userDataFolder)
{
}

QString SNProfileDiscovery::localStatePath() const
{
    return m_userDataFolder + u"/Local State"_s;
}

std::optional<QJsonObject> SNProfileDiscovery::getProfilesFromPath(const QString &path)
{
    if (m_profileTable)
        return m_profileTable;
    if (!QFileInfo(path).isReadable())
        Logger::log(u"Chrome profile not readable"_s);
    const std::optional<QByteArray> data = readSmallFile(m_userDataFolder, path);
    if (!data) {
        Logger::log(u"Could not read data from :%1"_s.arg(path));
        return std::nullopt;
    }
    QString error;
    const std::optional<QJsonObject> localState = jsonObject(*data, &error);
    if (!localState) {
        Logger::log(u"error:%1"_s.arg(error));
        return std::nullopt;
    }
    m_profileTable = localState->value(u"profile"_s).toObject();

    if (!m_currentProfileKey.isEmpty() && !isReadableFile(m_userDataFolder, getPreferencePath(m_currentProfileKey)))
        setCurrentProfileKey(QString());
    if (m_currentProfileKey.isEmpty()) {
        QString key = acceptedKey(m_profileTable->value(u"last_used"_s));
        const QJsonArray lastActive = m_profileTable->value(u"last_active_profiles"_s).toArray();
        if (key.isEmpty() && !lastActive.isEmpty())
            key = acceptedKey(lastActive.first());
        setCurrentProfileKey(key);
    }
    return m_profileTable;
}

QString SNProfileDiscovery::getPreferencePath(const QString &profileKey) const
{
    return m_userDataFolder + u'/' + profileKey + u"/Preferences"_s;
}

std::optional<QJsonObject> SNProfileDiscovery::getPreferenceJson()
{
    if (m_preferenceJson)
        return m_preferenceJson;
    const QString path = getPreferencePath(m_currentProfileKey);
    const QFileInfo info(path);
    if (!info.exists())
        Logger::log(u"Chrome preferences not found at path: %1"_s.arg(path));
    else if (!info.isReadable())
        Logger::log(u"Chrome preferences not readable at path: %1"_s.arg(path));
    const std::optional<QByteArray> data =
        ProfileSeeder::isProfileKey(m_currentProfileKey) ? readSmallFile(m_userDataFolder, path) : std::nullopt;
    if (!data) {
        Logger::log(u"could not read data from:%1"_s.arg(path));
        return std::nullopt;
    }
    QString error;
    const std::optional<QJsonObject> preferences = jsonObject(*data, &error);
    if (!preferences) {
        Logger::log(u"error:%1"_s.arg(error));
        return std::nullopt;
    }
    m_preferenceJson = withProtectedExtensions(*preferences, m_currentProfileKey);
    return m_preferenceJson;
}

void SNProfileDiscovery::setCurrentProfileKey(const QString &key)
{
    if (key != m_currentProfileKey)
        m_preferenceJson.reset();
    m_currentProfileKey = key;
}

QList<ImportableProfile> SNProfileDiscovery::profiles()
{
    const QJsonObject table = getProfilesFromPath(localStatePath()).value_or(QJsonObject());
    const QJsonObject infoCache = table.value(u"info_cache"_s).toObject();
    QStringList keys = infoCache.keys();
    for (const QJsonValue &key : table.value(u"last_active_profiles"_s).toArray())
        keys.append(key.toString());
    if (keys.isEmpty())
        keys.append(u"Default"_s);

    std::sort(keys.begin(), keys.end(), [](const QString &a, const QString &b) {
        if ((a == u"Default"_s) != (b == u"Default"_s))
            return a == u"Default"_s;
        return numberedBefore(a, b);
    });
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());

    QList<ImportableProfile> result;
    for (const QString &key : std::as_const(keys)) {
        if (!ProfileSeeder::isProfileKey(key) || TreeCopy::kindBelow(m_userDataFolder, key) != TreeCopy::Kind::Folder)
            continue;
        const QString name = infoCache.value(key).toObject().value(u"name"_s).toString();
        result.append({key, name.isEmpty() ? key : name});
    }
    return result;
}

std::optional<QJsonObject> SNProfileDiscovery::preferencesOf(const QString &profileKey) const
{
    if (!ProfileSeeder::isProfileKey(profileKey))
        return std::nullopt;
    const std::optional<QByteArray> data = readSmallFile(m_userDataFolder, getPreferencePath(profileKey));
    QString error;
    const std::optional<QJsonObject> preferences = data ? jsonObject(*data, &error) : std::nullopt;
    if (!preferences)
        return std::nullopt;
    return withProtectedExtensions(*preferences, profileKey);
}

QJsonObject SNProfileDiscovery::withProtectedExtensions(QJsonObject preferences, const QString &profileKey) const
{
    // Browsers keep extension records in the protected "Secure Preferences" on some systems; the
    // records of "Preferences" win where both have one.
    const std::optional<QByteArray> secureData =
        readSmallFile(m_userDataFolder, m_userDataFolder + u'/' + profileKey + u"/Secure Preferences"_s);
    QString error;
    const std::optional<QJsonObject> secure = secureData ? jsonObject(*secureData, &error) : std::nullopt;
    const QJsonObject protectedSettings = secure ? extensionSettings(*secure) : QJsonObject();
    if (protectedSettings.isEmpty())
        return preferences;
    QJsonObject settings = extensionSettings(preferences);
    for (auto it = protectedSettings.begin(); it != protectedSettings.end(); ++it) {
        QJsonObject entry = it.value().toObject();
        const QJsonObject own = settings.value(it.key()).toObject();
        for (auto field = own.begin(); field != own.end(); ++field)
            entry.insert(field.key(), field.value());
        settings.insert(it.key(), entry);
    }
    QJsonObject extensions = preferences.value(u"extensions"_s).toObject();
    extensions.insert(u"settings"_s, settings);
    preferences.insert(u"extensions"_s, extensions);
    return preferences;
}
