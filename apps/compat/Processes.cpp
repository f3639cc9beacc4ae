#include "Processes.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

std::vector<char *> argumentVector(const std::vector<std::string> &arguments)
{
    std::vector<char *> result;
    result.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments)
        result.push_back(const_cast<char *>(argument.c_str()));
    result.push_back(nullptr);
    return result;
}

void redirectToNull(int fd, int flags)
{
    const int null = open("/dev/null", flags);
    if (null >= 0 && null != fd) {
        dup2(null, fd);
        close(null);
    }
}

// Collects the child's status; kills it when the deadline passes first.
int waitUntil(pid_t child, std::chrono::steady_clock::time_point deadline)
{
    int status = 0;
    for (;;) {
        const pid_t done = waitpid(child, &status, WNOHANG);
        if (done == child)
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        if (done < 0 && errno != EINTR)
            return -1;
        if (std::chrono::steady_clock::now() >= deadline) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace

std::string Processes::findInPath(const std::string &name)
{
    const char *path = std::getenv("PATH");
    if (!path || name.empty() || name.find('/') != std::string::npos)
        return {};
    const std::string folders = path;
    std::string::size_type start = 0;
    while (start <= folders.size()) {
        std::string::size_type end = folders.find(':', start);
        if (end == std::string::npos)
            end = folders.size();
        const std::string folder = end > start ? folders.substr(start, end - start) : std::string(".");
        const std::string candidate = folder + "/" + name;
        struct stat info
        {
        };
        if (stat(candidate.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
            access(candidate.c_str(), X_OK) == 0)
            return candidate;
        start = end + 1;
    }
    return {};
}

int Processes::startDetached(const std::string &program, const std::vector<std::string> &arguments)
{
    // The pipe closes on a successful exec; an errno arrives through it when the exec fails.
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0)
        return errno;
    std::vector<char *> argv = argumentVector(arguments);
    const pid_t child = fork();
    if (child < 0) {
        const int error = errno;
        close(report[0]);
        close(report[1]);
        return error;
    }
    if (child == 0) {
        close(report[0]);
        setsid();
        redirectToNull(STDIN_FILENO, O_RDONLY);
        redirectToNull(STDOUT_FILENO, O_WRONLY);
        redirectToNull(STDERR_FILENO, O_WRONLY);
        execv(program.c_str(), argv.data());
        const int error = errno;
        (void)!write(report[1], &error, sizeof error);
        _exit(127);
    }
    close(report[1]);
    int error = 0;
    ssize_t count;
    do {
        count = read(report[0], &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    close(report[0]);
    if (count == static_cast<ssize_t>(sizeof error)) {
        waitpid(child, nullptr, 0);
        return error;
    }
    return 0;
}

int Processes::run(const std::string &program, const std::vector<std::string> &arguments,
                   std::chrono::milliseconds timeout, std::string *output)
{
    int out[2] = {-1, -1};
    if (output && pipe2(out, O_CLOEXEC) != 0)
        return -1;
    std::vector<char *> argv = argumentVector(arguments);
    const pid_t child = fork();
    if (child < 0) {
        if (output) {
            close(out[0]);
            close(out[1]);
        }
        return -1;
    }
    if (child == 0) {
        redirectToNull(STDIN_FILENO, O_RDONLY);
        if (output)
            dup2(out[1], STDOUT_FILENO);
        else
            redirectToNull(STDOUT_FILENO, O_WRONLY);
        redirectToNull(STDERR_FILENO, O_WRONLY);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    if (output) {
        close(out[1]);
        char buffer[4096];
        for (;;) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                deadline - std::chrono::steady_clock::now());
            if (left.count() <= 0)
                break;
            pollfd ready{out[0], POLLIN, 0};
            const int polled = poll(&ready, 1, static_cast<int>(left.count()));
            if (polled < 0 && errno == EINTR)
                continue;
            if (polled <= 0)
                break;
            const ssize_t count = read(out[0], buffer, sizeof buffer);
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                break;
            output->append(buffer, static_cast<size_t>(count));
        }
        close(out[0]);
    }
    return waitUntil(child, deadline);
}

int Processes::replaceWith(const std::string &program, const std::vector<std::string> &arguments)
{
    std::vector<char *> argv = argumentVector(arguments);
    execv(program.c_str(), argv.data());
    return errno;
}
