#include "LauncherPlatform.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

std::string LauncherPlatform::ownExecutablePath(const char *argv0)
{
    char buffer[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (length > 0) {
        buffer[length] = '\0';
        return buffer;
    }
    // Without /proc (some sandboxes), a path in argv[0] still names the program.
    if (argv0 && std::strchr(argv0, '/') && realpath(argv0, buffer))
        return buffer;
    return {};
}

bool LauncherPlatform::watchesStarts()
{
    // Desktops tell an app's windows by their class (--class), not by the process started.
    return true;
}

void LauncherPlatform::prepareEnvironment(const std::string &contentsFolder)
{
    // The script calls macOS tools (plutil, osascript, open, BSD sed); the bundle carries
    // stand-ins for them, which must win over the system's own sed.
    const std::string compat = contentsFolder + "/Resources/compat";
    struct stat info
    {
    };
    if (stat(compat.c_str(), &info) != 0 || !S_ISDIR(info.st_mode))
        return;
    const char *current = std::getenv("PATH");
    std::string path = compat;
    if (current && *current) {
        const std::string existing = current;
        if (existing == compat || existing.rfind(compat + ":", 0) == 0)
            return;
        path += ":" + existing;
    } else {
        path += ":/usr/local/bin:/usr/bin:/bin";
    }
    setenv("PATH", path.c_str(), 1);
}
