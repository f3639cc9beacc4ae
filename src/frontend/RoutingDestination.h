#pragma once

#include <QMetaType>
#include <QString>
#include <QVariantMap>

// Where a link goes, as the wizard's rows and pickers hold it: stay in the app, the default
// browser, a named browser or another of the user's apps. Converts to and from the destination
// record the app's configuration stores.
class RoutingDestination
{
    Q_GADGET
    Q_PROPERTY(Kind kind MEMBER kind)
    Q_PROPERTY(QString rawKind READ rawKind)
    Q_PROPERTY(QString bundleId MEMBER bundleId)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString path MEMBER path)
    Q_PROPERTY(QString appId MEMBER appId)
    Q_PROPERTY(QString label READ label)

public:
    enum class Kind { Default, InApp, Browser, SorvaneApp };
    Q_ENUM(Kind)

    Kind kind = Kind::Default;
    QString bundleId; // browser
    QString name;     // browser or app, optional
    QString path;     // app bundle
    QString appId;    // app, when known

    static RoutingDestination defaultBrowser() { return {}; }
    static RoutingDestination inApp();
    static RoutingDestination browser(const QString &bundleId, const QString &name);
    static RoutingDestination sorvaneApp(const QString &path, const QString &name, const QString &appId = {});

    // "default", "in-app", "browser", "sorvaneApp".
    static QString rawValue(Kind kind);
    QString rawKind() const { return rawValue(kind); }
    // What a picker shows: "Stay in app", "Default browser", else the name (or identifier).
    QString label() const;

    // The record form: "default" and "in-app" carry only the type; a browser its bundle id and
    // name; an app its path, name and, when known, its registry id.
    QVariantMap toRecord() const;
    // A destination from a record, cleaned the way the routing data is; nothing when invalid.
    static std::optional<RoutingDestination> fromRecord(const QVariant &record);

    friend bool operator==(const RoutingDestination &, const RoutingDestination &) = default;
};

Q_DECLARE_METATYPE(RoutingDestination)
