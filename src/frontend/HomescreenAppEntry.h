#pragma once

#include <QDateTime>
#include <QImage>
#include <QMetaType>
#include <QString>
#include <QStringList>

struct SNAppItem;

// One app as the home screen shows it and hands it to the wizard. `id` is the app's registry id;
// a duplicate gets a new id and no `appPath`, since it has no bundle yet, and names the app it
// copies in `copiedFromId`.
struct HomescreenAppEntry
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString appPath MEMBER appPath)
    Q_PROPERTY(AppType appType MEMBER appType)
    Q_PROPERTY(int browserType MEMBER browserType)
    Q_PROPERTY(QString browserName MEMBER browserName)
    Q_PROPERTY(QStringList urls MEMBER urls)
    Q_PROPERTY(bool registerAsBrowser MEMBER registerAsBrowser)
    Q_PROPERTY(bool enableIncognito MEMBER enableIncognito)
    Q_PROPERTY(bool enableWhitelisting MEMBER enableWhitelisting)
    Q_PROPERTY(QDateTime date MEMBER date)
    Q_PROPERTY(bool isValid READ isValid)

public:
    enum class AppType { Standard, Tabbed };
    Q_ENUM(AppType)

    QString id;
    QString name;
    QImage iconImage;
    QString appPath;
    AppType appType = AppType::Standard;
    int browserType = 0; // applicationType of the browser catalogue
    QString browserName;
    QStringList urls;
    bool registerAsBrowser = false;
    bool enableIncognito = false;
    bool enableWhitelisting = false;
    QDateTime date; // the bundle's date on disk, for sorting
    QString copiedFromId;

    bool isValid() const { return !id.isEmpty(); }
    bool isTabbed() const { return appType == AppType::Tabbed; }

    // The entry of a row of the user's app list; the switches are read from the app's stored
    // configuration by the caller, since the list row does not carry them.
    static HomescreenAppEntry fromAppItem(const SNAppItem &item);

    friend bool operator==(const HomescreenAppEntry &, const HomescreenAppEntry &) = default;
};

Q_DECLARE_METATYPE(HomescreenAppEntry)
