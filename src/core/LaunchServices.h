#pragma once

#include <QString>

// The platform's application registry: re-registering a bundle makes the desktop pick up its
// new name, icon and document types.
class LaunchServices final
{
public:
    // Logs "LSRegisterURL failed for <path> with status <n>" when the registry refuses.
    static bool refreshRegistration(const QString &bundlePath);
};
