// SorvaneHelper: started by a generated app's script beside its engine, with the app's bundle path
// and the engine's executable name. It lives exactly as long as that engine, so the script can
// tell by its presence that the app is starting or running and never starts a second engine.

#include "core/AppLog.h"

#include "core/EngineWatch.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <signal.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::chrono::milliseconds PollInterval{500};
// Looked for more often until it is there: an engine that comes and goes between two looks
// (quit at once, or a start handed to a running engine) would keep the helper waiting its grace.
constexpr std::chrono::milliseconds ArrivalPollInterval{50};
// The engine may take a while to appear: the script first builds it and seeds the profile.
constexpr std::chrono::milliseconds DefaultGrace{20000};
constexpr int WatcherGoneLooks = 10; // of ArrivalPollInterval each

std::chrono::milliseconds graceFromEnvironment()
{
    // Tests shorten the wait; nothing else sets this.
    const char *value = std::getenv("SORVANE_HELPER_GRACE_MS");
    if (!value || !*value)
        return DefaultGrace;
    char *end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(value, &end, 10);
    if (errno != 0 || *end != '\0' || parsed < 0)
        return DefaultGrace;
    return std::chrono::milliseconds(parsed);
}

// The script builds the engine before it starts the helper, so an engine that is not there now
// (a link into a browser that was removed) never comes: say so at once instead of waiting.
bool engineCanStart(const std::string &engine)
{
    struct stat info
    {
    };
    return stat(engine.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(engine.c_str(), X_OK) == 0;
}

std::string linkTarget(const std::string &path)
{
    char buffer[4096];
    const ssize_t length = readlink(path.c_str(), buffer, sizeof buffer - 1);
    return length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
}

// The launch program that watches this start (StartWatch), or 0. It reports a failed start
// itself, and it leaves either when the engine stopped at once or once the engine runs.
pid_t startWatcher()
{
    const char *value = std::getenv("SORVANE_START_WATCHER");
    if (!value || !*value)
        return 0;
    char *end = nullptr;
    const long long pid = std::strtoll(value, &end, 10);
    return *end == '\0' && pid > 1 ? static_cast<pid_t>(pid) : 0;
}

bool hasLeft(pid_t pid)
{
    return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH;
}

// With a watcher the helper's line only goes into the log: one failure, one notice.
void reportFailure(const std::string &appName, const std::string &message, pid_t watcher)
{
    if (watcher > 0)
        AppLog::write(appName, message);
    else
        AppLog::report(appName, message);
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<std::string> arguments;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "-psn_", 5) != 0)
            arguments.emplace_back(argv[i]);
    }
    if (arguments.size() != 2 || arguments[0].empty() || arguments[1].empty()) {
        std::fprintf(stderr, "usage: SorvaneHelper <app bundle path> <engine executable name>\n");
        return 2;
    }

    const std::string appName = AppLog::appNameOf(arguments[0]);
    const pid_t watcher = startWatcher();
    const std::string engine = arguments[0] + "/Contents/MacOS/" + arguments[1];
    if (!engineCanStart(engine)) {
        const std::string browser = linkTarget(engine);
        reportFailure(appName,
                      browser.empty() ? "cannot start: its engine " + engine + " is missing"
                                      : "cannot start: its browser " + browser +
                                            " is not installed (install it, or give the app another browser)",
                      watcher);
        return 3;
    }

    const EngineWatch watch(arguments[0], arguments[1]);
    const auto deadline = std::chrono::steady_clock::now() + graceFromEnvironment();
    // A watcher gone while no engine came means the engine stopped at once: waiting out the grace
    // would only keep the app's next start from starting it (the script takes the helper for a
    // running app). Half a second more covers an engine seen late.
    int looksSinceWatcherLeft = 0;
    while (!watch.engineRunning()) {
        if (std::chrono::steady_clock::now() >= deadline ||
            (hasLeft(watcher) && ++looksSinceWatcherLeft > WatcherGoneLooks)) {
            reportFailure(appName, "cannot start: its engine \"" + arguments[1] + "\" did not start", watcher);
            return 1;
        }
        std::this_thread::sleep_for(ArrivalPollInterval);
    }
    while (watch.engineRunning())
        std::this_thread::sleep_for(PollInterval);
    return 0;
}
