#include "core/Platform.h"

bool Platform::isMac()
{
    return false;
}

QString Platform::defaultApplicationsFolder(const QString &homeFolder)
{
    return homeFolder + QStringLiteral("/Applications");
}
