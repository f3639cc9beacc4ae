#pragma once

#include <QString>

// Facts about the platform Sorvane runs on, answered by the platform's own source file.
class Platform final
{
public:
    static bool isMac();
    // The applications folder used when the user has not chosen one.
    static QString defaultApplicationsFolder(const QString &homeFolder);
    // Where Sorvane's own log and the generated apps' logs live.
    static QString logFolder(const QString &homeFolder);
};
