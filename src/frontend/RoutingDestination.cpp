#include "frontend/RoutingDestination.h"

#include "companion/SNRoutingConfig.h"

#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString BundleIdKey = u"bundleId"_s;
const QString NameKey = u"name"_s;
const QString PathKey = u"path"_s;
const QString AppIdKey = u"appId"_s;

} // namespace

RoutingDestination RoutingDestination::inApp()
{
    RoutingDestination destination;
    destination.kind = Kind::InApp;
    return destination;
}

RoutingDestination RoutingDestination::browser(const QString &bundleId, const QString &name)
{
    RoutingDestination destination;
    destination.kind = Kind::Browser;
    destination.bundleId = bundleId;
    destination.name = name;
    return destination;
}

RoutingDestination RoutingDestination::sorvaneApp(const QString &path, const QString &name, const QString &appId)
{
    RoutingDestination destination;
    destination.kind = Kind::SorvaneApp;
    destination.path = path;
    destination.name = name;
    destination.appId = appId;
    return destination;
}

QString RoutingDestination::rawValue(Kind kind)
{
    switch (kind) {
    case Kind::InApp:
        return SNRoutingConfig::typeInApp();
    case Kind::Browser:
        return SNRoutingConfig::typeBrowser();
    case Kind::SorvaneApp:
        return SNRoutingConfig::typeSorvaneApp();
    case Kind::Default:
        break;
    }
    return SNRoutingConfig::typeDefault();
}

QString RoutingDestination::label() const
{
    switch (kind) {
    case Kind::InApp:
        return u"Stay in app"_s;
    case Kind::Default:
        return u"Default browser"_s;
    case Kind::Browser:
        return name.isEmpty() ? bundleId : name;
    case Kind::SorvaneApp:
        return name.isEmpty() ? QFileInfo(path).completeBaseName() : name;
    }
    return {};
}

QVariantMap RoutingDestination::toRecord() const
{
    QVariantMap record{{SNRoutingConfig::keyType(), rawKind()}};
    if (kind == Kind::Browser) {
        record.insert(BundleIdKey, bundleId);
        record.insert(NameKey, name);
    } else if (kind == Kind::SorvaneApp) {
        record.insert(PathKey, path);
        record.insert(NameKey, name);
        if (!appId.isEmpty())
            record.insert(AppIdKey, appId);
    }
    return record;
}

std::optional<RoutingDestination> RoutingDestination::fromRecord(const QVariant &record)
{
    const std::optional<QVariantMap> clean = SNRoutingConfig::sanitizedDestination(record);
    if (!clean)
        return std::nullopt;
    const QString type = clean->value(SNRoutingConfig::keyType()).toString();
    if (type == SNRoutingConfig::typeInApp())
        return inApp();
    if (type == SNRoutingConfig::typeBrowser())
        return browser(clean->value(BundleIdKey).toString(), clean->value(NameKey).toString());
    if (type == SNRoutingConfig::typeSorvaneApp())
        return sorvaneApp(clean->value(PathKey).toString(), clean->value(NameKey).toString(),
                          clean->value(AppIdKey).toString());
    return defaultBrowser();
}

