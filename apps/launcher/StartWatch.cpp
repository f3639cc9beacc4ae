#include "StartWatch.h"

#include "LauncherPlatform.h"

#include "core/AppLog.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int ScriptNotRunnableStatus = 126;
constexpr const char *WatcherVariable = "SORVANE_START_WATCHER";
// Without the wake-up pipe the watch looks this often.
constexpr std::chrono::milliseconds PollInterval{10};
constexpr long long WatchMillisecondsBound = StartWatch::WatchMilliseconds;
int wakeUp = -1;
// The most of a failed start's output read back for its last message.
constexpr off_t MaximumOutputRead = 64 * 1024;

// What the script prints about its first-launch check before it starts the engine; never the
// reason an engine stopped. (The generator's text, src/generation/SNAppScriptHelper.cpp.)
const char *const ScriptProgressLines[] = {
    "Checking first launch status...", "First run file: ", "First launch complete file: ",
    "First launch detected", "First launch marker created", "Not first launch - skipping Chrome Web Store",
};

// "2024-03-05 21:07:31 " starts the lines our own programs log (AppLog::write): the helper's
// report, say, is not what the engine said.
bool isOwnLogLine(const std::string &line)
{
    static const char shape[] = "dddd-dd-dd dd:dd:dd ";
    if (line.size() < sizeof shape - 1)
        return false;
    for (size_t i = 0; i + 1 < sizeof shape; ++i) {
        const bool digit = line[i] >= '0' && line[i] <= '9';
        if (shape[i] == 'd' ? !digit : line[i] != shape[i])
            return false;
    }
    return true;
}

bool exists(const std::string &path)
{
    struct stat info
    {
    };
    return lstat(path.c_str(), &info) == 0;
}

// In the child: becomes the script. A script that lost its executable bit (unpacked by a tool
// that drops modes) still runs through bash.
[[noreturn]] void execScript(std::vector<char *> &arguments)
{
    execv(arguments[0], arguments.data());
    const int execError = errno;
    if (execError == EACCES || execError == ENOEXEC) {
        std::vector<char *> withShell;
        withShell.push_back(const_cast<char *>("/bin/bash"));
        withShell.insert(withShell.end(), arguments.begin(), arguments.end());
        execv("/bin/bash", withShell.data());
    }
    std::fprintf(stderr, "sorvanelauncher: cannot run %s: %s\n", arguments[0], std::strerror(execError));
    _exit(ScriptNotRunnableStatus);
}

std::string outputSince(int log, off_t from)
{
    if (log < 0)
        return {};
    const off_t end = lseek(log, 0, SEEK_END);
    if (end <= from)
        return {};
    from = std::max(from, end - MaximumOutputRead);
    std::string text(static_cast<size_t>(end - from), '\0');
    const ssize_t got = pread(log, text.data(), text.size(), from);
    text.resize(got > 0 ? static_cast<size_t>(got) : 0);
    return text;
}

// Written to by the SIGCHLD handler, so the watch wakes the moment the child ends: a quick start
// (a link handed to a running engine) costs no polling delay.
int childEndedSignal = -1;

void noteChildEnded(int)
{
    const int saved = errno;
    [[maybe_unused]] const ssize_t written = write(childEndedSignal, "x", 1);
    errno = saved;
}

// Before fork: the handler and its pipe (neither survives the child's exec).
void watchForChildEnd()
{
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0)
        return;
    for (const int end : ends) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action
    {
    };
    action.sa_handler = noteChildEnded;
    action.sa_flags = SA_NOCLDSTOP | SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(SIGCHLD, &action, nullptr);
    childEndedSignal = ends[1];
    wakeUp = ends[0];
}

// The exit status the launch program passes on, or -1 while the script or engine still runs.
int finished(pid_t child, std::chrono::steady_clock::time_point deadline)
{
    for (auto now = std::chrono::steady_clock::now(); now < deadline; now = std::chrono::steady_clock::now()) {
        int status = 0;
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child)
            return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        if (done < 0 && errno != EINTR)
            return 0; // not ours to wait for after all: nothing to report
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - now).count();
        if (wakeUp < 0) {
            std::this_thread::sleep_for(PollInterval);
            continue;
        }
        pollfd signal{wakeUp, POLLIN, 0};
        if (poll(&signal, 1, static_cast<int>(std::min<long long>(left + 1, WatchMillisecondsBound))) > 0) {
            char drained[16];
            while (read(wakeUp, drained, sizeof drained) > 0) {
            }
        }
    }
    return -1;
}

} // namespace

std::string StartWatch::lastMessage(const std::string &output)
{
    std::string::size_type end = output.size();
    while (end > 0) {
        const std::string::size_type start = output.rfind('\n', end - 1);
        const std::string::size_type from = start == std::string::npos ? 0 : start + 1;
        std::string line = output.substr(from, end - from);
        end = start == std::string::npos ? 0 : start;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t'))
            line.pop_back();
        if (line.find_first_not_of(" \t") == std::string::npos)
            continue;
        bool progress = false;
        for (const char *own : ScriptProgressLines)
            progress = progress || line.rfind(own, 0) == 0;
        if (progress || isOwnLogLine(line))
            continue;
        if (line.front() == '[') {
            const std::string::size_type close = line.find("] ");
            if (close != std::string::npos)
                line.erase(0, close + 2);
        }
        return line;
    }
    return {};
}

int StartWatch::run(const std::string &appName, const std::string &contents, std::vector<char *> arguments,
                    const std::vector<int> &engineDescriptors)
{
    // Nothing of the script or its engine goes to standard output: where the app is started from
    // a terminal or a desktop's launcher, the app's log is the place to look.
    const int log = AppLog::openForAppend(appName);
    const int output = log >= 0 ? log : open("/dev/null", O_WRONLY | O_CLOEXEC);
    const off_t startOffset = log >= 0 ? lseek(log, 0, SEEK_END) : 0;
    const std::string firstLaunchMarker = contents + "/Profile/First Launch Complete";
    const bool firstLaunchDoneBefore = exists(firstLaunchMarker);
    // The script's first-launch steps (the extension store beside the app) run in this start.
    const bool firstLaunch = !firstLaunchDoneBefore && exists(contents + "/Profile/First Run");

    std::fflush(nullptr);
    if (!LauncherPlatform::watchesStarts()) {
        if (output >= 0)
            dup2(output, STDOUT_FILENO);
        if (log >= 0)
            dup2(log, STDERR_FILENO);
        execScript(arguments);
    }
    watchForChildEnd();
    const pid_t child = fork();
    if (child == 0) {
        // The helper the script starts leaves telling the user about a failed start to us, and
        // stops waiting for an engine once we have left without one.
        setenv(WatcherVariable, std::to_string(getppid()).c_str(), 1);
        if (output >= 0) {
            dup2(output, STDOUT_FILENO);
            if (log >= 0)
                dup2(log, STDERR_FILENO);
        }
        execScript(arguments);
    }
    if (child < 0) {
        // No second process to spare: run the script as before, unwatched.
        std::fprintf(stderr, "sorvanelauncher: cannot watch the start: %s\n", std::strerror(errno));
        execScript(arguments);
    }
    for (const int descriptor : engineDescriptors)
        close(descriptor);

    const int status = finished(child, std::chrono::steady_clock::now() + std::chrono::milliseconds(WatchMilliseconds));
    if (status <= 0) {
        // The first start that worked opens the extension store beside the app: say why, once.
        if (firstLaunch)
            AppLog::notify(appName, appName + " opened the extension store once, on its first start, so that you can "
                                              "add extensions to it. Sorvane's settings can make new apps without it.");
        return 0;
    }

    // A failed start has not been the app's first one.
    if (!firstLaunchDoneBefore && exists(firstLaunchMarker))
        unlink(firstLaunchMarker.c_str());
    std::string message = lastMessage(outputSince(log, startOffset));
    while (!message.empty() && message.back() == '.')
        message.pop_back();
    const std::string logPath = AppLog::logPath(appName);
    std::string logLine = "did not start: it stopped with status " + std::to_string(status) + " within its first seconds";
    logLine += message.empty() ? std::string(" without a message") : "; its last message: " + message;
    logLine += ". If the engine asks for a switch, add it to the app's extra engine switches, or to the default ones "
               "in Sorvane's settings, then start the app again.";
    AppLog::write(appName, logLine);
    std::string notice = appName + " did not start";
    notice += message.empty() ? std::string(".") : ": " + message + ".";
    notice += " See " + (logPath.empty() ? std::string("the app's log") : logPath) +
              "; if the engine asks for a switch, add it to the app's extra engine switches in Sorvane.";
    AppLog::notify(appName, notice);
    return status;
}
