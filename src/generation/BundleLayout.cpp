#include "generation/BundleLayout.h"

BundleLayout BundleLayout::forApp(const QString &folder, const QString &appName)
{
    return atPath(QStringLiteral("%1/%2.app").arg(folder, appName), appName);
}

BundleLayout BundleLayout::atPath(const QString &bundlePath, const QString &appName)
{
    BundleLayout layout;
    layout.appName = appName;
    layout.bundle = bundlePath;
    layout.contents = bundlePath + QStringLiteral("/Contents");
    layout.resources = layout.contents + QStringLiteral("/Resources");
    layout.executables = layout.contents + QStringLiteral("/MacOS");
    layout.profile = layout.contents + QStringLiteral("/Profile");
    layout.defaultUser = layout.profile + QStringLiteral("/Default");
    layout.extensions = layout.defaultUser + QStringLiteral("/Extensions");
    return layout;
}

QStringList BundleLayout::directories() const
{
    return {bundle,      resources, executables, profile, defaultUser, extensions,
            defaultUser + QStringLiteral("/IndexedDB"), defaultUser + QStringLiteral("/Local Storage")};
}
