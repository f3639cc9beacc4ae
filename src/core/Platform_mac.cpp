#include "core/Platform.h"

bool Platform::isMac()
{
    return true;
}

QString Platform::defaultApplicationsFolder(const QString &)
{
    return QStringLiteral("/Applications");
}

QString Platform::logFolder(const QString &homeFolder)
{
    return homeFolder + QStringLiteral("/Library/Logs/Sorvane");
}
