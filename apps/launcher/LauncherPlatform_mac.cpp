#include "LauncherPlatform.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mach-o/dyld.h>
#include <vector>

std::string LauncherPlatform::ownExecutablePath(const char *argv0)
{
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::vector<char> raw(size + 1, '\0');
    char resolved[PATH_MAX];
    if (_NSGetExecutablePath(raw.data(), &size) == 0 && realpath(raw.data(), resolved))
        return resolved;
    if (argv0 && std::strchr(argv0, '/') && realpath(argv0, resolved))
        return resolved;
    return {};
}

bool LauncherPlatform::watchesStarts()
{
    // The bundle's executable is the app to the Dock: a launch program that left after a few
    // seconds would show a running app as quit. It becomes the engine, as before.
    return false;
}

void LauncherPlatform::prepareEnvironment(const std::string &)
{
    // The script's tools are the system's own on macOS.
}
