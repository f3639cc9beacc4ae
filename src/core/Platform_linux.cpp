#include "core/Platform.h"

bool Platform::isMac()
{
    return false;
}

QString Platform::defaultApplicationsFolder(const QString &homeFolder)
{
    return homeFolder + QStringLiteral("/Applications");
}

QString Platform::logFolder(const QString &homeFolder)
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    return (state.startsWith(u'/') ? state : homeFolder + QStringLiteral("/.local/state")) + QStringLiteral("/Sorvane");
}
