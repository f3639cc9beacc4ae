#include "core/AppLog.h"

#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

std::string AppLog::logPath(const std::string &appName)
{
    const char *home = std::getenv("HOME");
    if (!home || !*home)
        return {};
    return std::string(home) + "/Library/Logs/Sorvane/" + appName + ".log";
}

void AppLog::notify(const std::string &title, const std::string &message)
{
    // The texts reach the script as its arguments (`on run argv`), never as script text.
    const char *arguments[] = {"/usr/bin/osascript",
                               "-e", "on run argv",
                               "-e", "display notification (item 2 of argv) with title (item 1 of argv)",
                               "-e", "end run",
                               title.c_str(), message.c_str(), nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, arguments[0], nullptr, nullptr, const_cast<char *const *>(arguments), environ) == 0)
        waitpid(child, nullptr, 0);
}
