#pragma once

#include <QString>

// Another app's bundle folder, as a "sorvaneApp" destination names it.
class AppBundle final
{
public:
    AppBundle() = delete;

    // An absolute path of an existing folder whose name ends in ".app".
    static bool isBundleFolder(const QString &bundlePath);

    // <bundle>/Contents/MacOS/<CFBundleExecutable>, resolved, when it is an executable file inside
    // the bundle; empty otherwise.
    static QString launchProgram(const QString &bundlePath);

    // CFBundleExecutable of an XML Info.plist, or empty.
    static QString executableName(const QString &infoPlistPath);
};
