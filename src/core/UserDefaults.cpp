#include "core/UserDefaults.h"

#include "core/Constants.h"

#include <QMutexLocker>

UserDefaults::UserDefaults(const QString &settingsFile)
    : m_settings(std::make_unique<QSettings>(settingsFile, QSettings::IniFormat))
{
}

UserDefaults::UserDefaults()
    : m_settings(std::make_unique<QSettings>(QSettings::NativeFormat, QSettings::UserScope,
                                             QStringLiteral("ondrel"), Constants::SupportFolderName))
{
}

UserDefaults::~UserDefaults() = default;

void UserDefaults::registerDefaults(const QVariantMap &defaults)
{
    const QMutexLocker locker(&m_mutex);
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
        m_registered.insert(it.key(), it.value());
}

QVariant UserDefaults::value(const QString &key) const
{
    const QMutexLocker locker(&m_mutex);
    if (m_settings->contains(key))
        return m_settings->value(key);
    return m_registered.value(key);
}

QString UserDefaults::stringForKey(const QString &key) const
{
    const QVariant v = value(key);
    if (v.typeId() == QMetaType::QString || v.canConvert<QString>())
        return v.toString();
    return {};
}

bool UserDefaults::boolForKey(const QString &key) const
{
    return toBool(value(key));
}

bool UserDefaults::hasPersistentValue(const QString &key) const
{
    const QMutexLocker locker(&m_mutex);
    return m_settings->contains(key);
}

void UserDefaults::setValue(const QString &key, const QVariant &value)
{
    const QMutexLocker locker(&m_mutex);
    m_settings->setValue(key, value);
}

void UserDefaults::removeValue(const QString &key)
{
    const QMutexLocker locker(&m_mutex);
    m_settings->remove(key);
}

void UserDefaults::removePersistentDomain()
{
    const QMutexLocker locker(&m_mutex);
    m_settings->clear();
    m_settings->sync();
}

void UserDefaults::synchronize()
{
    const QMutexLocker locker(&m_mutex);
    m_settings->sync();
}

QString UserDefaults::fileName() const
{
    return m_settings->fileName();
}

bool UserDefaults::toBool(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return value.toDouble() != 0;
    case QMetaType::QString:
    case QMetaType::QByteArray: {
        const QString text = value.toString().trimmed();
        if (text.compare(QLatin1String("YES"), Qt::CaseInsensitive) == 0
            || text.compare(QLatin1String("true"), Qt::CaseInsensitive) == 0)
            return true;
        bool isNumber = false;
        const double number = text.toDouble(&isNumber);
        return isNumber && number != 0;
    }
    default:
        return false;
    }
}
