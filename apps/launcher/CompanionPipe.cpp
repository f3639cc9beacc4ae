#include "CompanionPipe.h"

#include "core/AppLog.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The only command the holder sends, with this id.
constexpr const char *LoadCommandId = "1";
// An engine that reads the pipe answers in well under a second; one that has not answered by
// then most likely ignores the pipe, which the app's log should say.
constexpr int AnswerWaitMs = 30000;

// The descriptors the engine expects, and the one that keeps its command pipe open.
constexpr int EngineCommands = 3;
constexpr int EngineReplies = 4;
constexpr int EngineKeepsCommandsOpen = 5;

std::string jsonString(const std::string &text)
{
    std::string quoted = "\"";
    for (const unsigned char c : text) {
        if (c == '"' || c == '\\') {
            quoted += '\\';
            quoted += static_cast<char>(c);
        } else if (c < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
            quoted += escaped;
        } else {
            quoted += static_cast<char>(c);
        }
    }
    return quoted + '"';
}

bool writeAll(int fd, const std::string &data)
{
    std::string::size_type written = 0;
    while (written < data.size()) {
        const ssize_t n = write(fd, data.data() + written, data.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += static_cast<std::string::size_type>(n);
    }
    return true;
}

// The holder: sends the command, reports a failed or missing answer, and reads on until every
// copy of the replies' writing end is gone, which is when the engine has ended.
[[noreturn]] void hold(const std::string &appName, const std::string &extensionFolder, int commands, int replies)
{
    std::signal(SIGPIPE, SIG_IGN);
    setsid(); // a signal to the terminal's process group is not for the holder
    const int null = open("/dev/null", O_RDWR);
    if (null >= 0) {
        for (int fd = 0; fd <= 2; ++fd)
            dup2(null, fd);
        if (null > 2)
            close(null);
    }
    if (chdir("/") != 0) {
        // Only so that the holder keeps no folder in use; it can live anywhere.
    }
    // No reader left means no engine took the pipe: the app was only brought forward, or it
    // handed a link to its running engine.
    if (!writeAll(commands, CompanionPipe::loadCommand(extensionFolder)))
        _exit(0);

    std::string reply;
    bool answered = false;
    bool late = false; // said so once; the answer may still come
    for (;;) {
        pollfd wait{replies, POLLIN, 0};
        const int ready = poll(&wait, 1, answered || late ? -1 : AnswerWaitMs);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0) {
            AppLog::write(appName, "the engine has not answered on the DevTools pipe after 30 s: it may not "
                                   "load the companion that way, and links are then not routed");
            late = true;
            continue;
        }
        char buffer[4096];
        const ssize_t n = ready < 0 ? -1 : read(replies, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        // After the answer nothing else is asked, so whatever comes is only drained.
        if (answered || reply.size() >= 65536)
            continue;
        reply.append(buffer, static_cast<std::string::size_type>(n));
        const std::string::size_type end = reply.find('\0');
        if (end == std::string::npos)
            continue;
        answered = true;
        const std::string error = CompanionPipe::errorOfReply(reply.substr(0, end));
        if (!error.empty())
            AppLog::write(appName, "the companion extension did not load through the DevTools pipe, so links "
                                   "are not routed: " + error);
        else if (late)
            AppLog::write(appName, "the companion extension loaded through the DevTools pipe after all");
    }
    _exit(0);
}

// `fd` moved to a descriptor of 10 or above, closed on exec: out of the way of 3, 4 and 5.
int moveHigh(int fd)
{
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, 10);
    close(fd);
    return moved;
}

} // namespace

bool CompanionPipe::requestedBy(const std::string &scriptPath)
{
    std::FILE *file = std::fopen(scriptPath.c_str(), "rb");
    if (!file)
        return false;
    std::string text;
    char buffer[16384];
    size_t n = 0;
    while (text.size() < (1u << 20) && (n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
        text.append(buffer, n);
    std::fclose(file);
    // Only as a quoted word of the launch array: an address cannot pose as it.
    return text.find("]=\"--remote-debugging-pipe\"\n") != std::string::npos;
}

bool CompanionPipe::start(const std::string &appName, const std::string &extensionFolder)
{
    int commands[2] = {-1, -1};
    int replies[2] = {-1, -1};
    // pipe() and not pipe2(): macOS has no pipe2. moveHigh below makes every end close-on-exec.
    if (pipe(commands) != 0 || pipe(replies) != 0) {
        AppLog::write(appName, "the DevTools pipe could not be made, so links are not routed");
        return false;
    }
    for (int *fd : {&commands[0], &commands[1], &replies[0], &replies[1]})
        *fd = moveHigh(*fd);

    // Twice forked, so the holder belongs to no one who would have to wait for it: the engine,
    // which this process becomes, never sees it as a child.
    const pid_t child = fork();
    if (child < 0) {
        AppLog::write(appName, "the DevTools pipe holder could not be started, so links are not routed");
        return false;
    }
    if (child == 0) {
        if (fork() == 0) {
            close(commands[0]);
            close(replies[1]);
            hold(appName, extensionFolder, commands[1], replies[0]);
        }
        _exit(0);
    }
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }

    // dup2 leaves the new descriptors open across exec.
    const bool placed = dup2(commands[0], EngineCommands) == EngineCommands &&
                        dup2(replies[1], EngineReplies) == EngineReplies &&
                        dup2(commands[1], EngineKeepsCommandsOpen) == EngineKeepsCommandsOpen;
    for (const int fd : {commands[0], commands[1], replies[0], replies[1]})
        close(fd);
    return placed;
}

std::string CompanionPipe::loadCommand(const std::string &extensionFolder)
{
    return std::string("{\"id\":") + LoadCommandId + ",\"method\":\"Extensions.loadUnpacked\",\"params\":{\"path\":" +
           jsonString(extensionFolder) + "}}" + '\0';
}

std::string CompanionPipe::errorOfReply(const std::string &reply)
{
    if (reply.find("\"result\"") != std::string::npos && reply.find("\"error\"") == std::string::npos)
        return {};
    const std::string key = "\"message\":\"";
    const std::string::size_type start = reply.find(key);
    if (start == std::string::npos)
        return reply.empty() ? "an empty reply" : reply.substr(0, 200);
    std::string message;
    for (std::string::size_type i = start + key.size(); i < reply.size() && message.size() < 200; ++i) {
        if (reply[i] == '\\' && i + 1 < reply.size())
            message += reply[++i];
        else if (reply[i] == '"')
            break;
        else
            message += reply[i];
    }
    return message;
}
