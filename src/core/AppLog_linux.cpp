#include "core/AppLog.h"

#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>
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

namespace {

// True when `arguments[0]` was found and started. What it prints (gdbus prints the notice's id)
// is nobody's business; the notice is waited for, it is quick.
bool runTool(const char *const arguments[])
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const bool started = posix_spawnp(&child, arguments[0], &actions, nullptr,
                                      const_cast<char *const *>(arguments), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (started)
        waitpid(child, nullptr, 0);
    return started;
}

// gdbus without a session bus would start one of its own (autolaunch) just for the notice.
bool hasSessionBus()
{
    const char *address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address && *address)
        return true;
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    struct stat info
    {
    };
    return runtime && *runtime && stat((std::string(runtime) + "/bus").c_str(), &info) == 0;
}

// A string in GVariant text form, which gdbus parses its arguments as.
std::string variantString(const std::string &text)
{
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\\' || c == '\'')
            quoted += '\\';
        if (c == '\n')
            quoted += "\\n";
        else
            quoted += c;
    }
    return quoted + "'";
}

} // namespace

void AppLog::notify(const std::string &title, const std::string &message)
{
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        return;
    // The texts go as arguments, never through a shell: notify-send where installed, else the
    // notification service itself through gdbus; without either there is only the log.
    const char *notifySend[] = {"notify-send", "--app-name=Sorvane", "--", title.c_str(), message.c_str(), nullptr};
    if (runTool(notifySend) || !hasSessionBus())
        return;
    const std::string summary = variantString(title);
    const std::string body = variantString(message);
    const char *gdbus[] = {"gdbus", "call", "--session", "--dest", "org.freedesktop.Notifications",
                           "--object-path", "/org/freedesktop/Notifications",
                           "--method", "org.freedesktop.Notifications.Notify",
                           "'Sorvane'", "0", "''", summary.c_str(), body.c_str(), "[]", "{}", "-1", nullptr};
    runTool(gdbus);
}
