// sorvane-fake-engine: a stand-in for a browser engine that records how it was started.
//
// Each start writes one record into the folder named by SORVANE_FAKE_ENGINE_RECORDS, as the file
// "<start time in ns>-<pid>.args": its argv[0], its working folder and its arguments, each ended
// by a NUL byte. Without that variable the command line goes to standard error, one argument per
// line.
//
// Like a real engine it runs once per profile: the first start on a `--user-data-dir` holds a lock
// in that folder and later starts on the same profile record themselves and leave at once (a real
// engine would hand its arguments to the running one). The first start leaves at once too, unless
// SORVANE_FAKE_ENGINE_STAY is set: then it lives until SIGTERM or SIGINT, or until a file named
// "stop" appears in the records folder.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

namespace {

volatile std::sig_atomic_t stopRequested = 0;

void requestStop(int)
{
    stopRequested = 1;
}

std::string currentFolder()
{
    std::string buffer(4096, '\0');
    if (!getcwd(buffer.data(), buffer.size()))
        return {};
    buffer.resize(std::strlen(buffer.c_str()));
    return buffer;
}

bool writeAll(int fd, const std::string &data)
{
    size_t written = 0;
    while (written < data.size()) {
        const ssize_t n = write(fd, data.data() + written, data.size() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        written += static_cast<size_t>(n);
    }
    return true;
}

// Written under a temporary name and renamed, so a reader never sees half a record.
bool writeRecord(const std::string &folder, int argc, char **argv)
{
    std::string data = std::string(argv[0]) + '\0' + currentFolder() + '\0';
    for (int i = 1; i < argc; ++i)
        data += std::string(argv[i]) + '\0';
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const std::string name = folder + '/' +
                             std::to_string(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count()) +
                             '-' + std::to_string(getpid()) + ".args";
    const std::string temporary = name + ".tmp";
    const int fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return false;
    const bool written = writeAll(fd, data);
    close(fd);
    return written && rename(temporary.c_str(), name.c_str()) == 0;
}

std::string profileFolder(int argc, char **argv)
{
    static const char prefix[] = "--user-data-dir=";
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], prefix, sizeof prefix - 1) == 0)
            return argv[i] + sizeof prefix - 1;
    }
    return {};
}

// True when this start holds the profile's lock; the descriptor stays open for the process's life.
bool holdProfileLock(const std::string &profile)
{
    if (profile.empty())
        return true;
    mkdir(profile.c_str(), 0755);
    const int fd = open((profile + "/FakeEngineLock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0)
        return true;
    return flock(fd, LOCK_EX | LOCK_NB) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    const char *records = std::getenv("SORVANE_FAKE_ENGINE_RECORDS");
    if (records && *records) {
        if (!writeRecord(records, argc, argv)) {
            std::fprintf(stderr, "sorvane-fake-engine: cannot write a record into %s\n", records);
            return 1;
        }
    } else {
        for (int i = 0; i < argc; ++i)
            std::fprintf(stderr, "%s\n", argv[i]);
    }

    if (!holdProfileLock(profileFolder(argc, argv)))
        return 0;
    const char *stay = std::getenv("SORVANE_FAKE_ENGINE_STAY");
    if (!stay || !*stay)
        return 0;

    std::signal(SIGTERM, requestStop);
    std::signal(SIGINT, requestStop);
    const std::string stopFile = records && *records ? std::string(records) + "/stop" : std::string();
    while (!stopRequested && (stopFile.empty() || access(stopFile.c_str(), F_OK) != 0))
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return 0;
}
