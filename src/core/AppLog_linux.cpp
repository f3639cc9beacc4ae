#include "core/AppLog.h"

#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

std::string AppLog::logPath(const std::string &appName)
{
    const char *state = std::getenv("XDG_STATE_HOME");
    const char *home = std::getenv("HOME");
    std::string folder;
    if (state && *state == '/')
        folder = state;
    else if (home && *home)
        folder = std::string(home) + "/.local/state";
    else
        return {};
    return folder + "/Sorvane/apps/" + appName + ".log";
}

void AppLog::notify(const std::string &title, const std::string &message)
{
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        return;
    // notify-send gets the texts as arguments, never through a shell; without it there is only
    // the log.
    const char *arguments[] = {"notify-send", "--app-name=Sorvane", "--", title.c_str(), message.c_str(), nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, "notify-send", nullptr, nullptr, const_cast<char *const *>(arguments), environ) == 0)
        waitpid(child, nullptr, 0);
}
