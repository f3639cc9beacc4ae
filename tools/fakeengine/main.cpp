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
//
// A first start with --remote-debugging-pipe speaks the DevTools pipe as an engine does: it reads
// one NUL-ended command from descriptor 3, keeps it beside its record as "<record>.pipe", and
// answers on descriptor 4 with a result for the command's id (an error with the message in
// SORVANE_FAKE_ENGINE_PIPE_ERROR when that is set). `--version` prints
// SORVANE_FAKE_ENGINE_VERSION when that is set.

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

bool hasArgument(int argc, char **argv, const char *wanted)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], wanted) == 0)
            return true;
    }
    return false;
}

// One command from the pipe's descriptor 3, kept in the records folder, and a reply on 4.
void answerOnePipeCommand(const char *records)
{
    std::string command;
    char byte = 0;
    while (read(3, &byte, 1) == 1 && byte != '\0')
        command += byte;
    if (records && *records) {
        const std::string name = std::string(records) + "/" + std::to_string(getpid()) + ".pipe";
        const int fd = open((name + ".tmp").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd >= 0) {
            writeAll(fd, command);
            close(fd);
            rename((name + ".tmp").c_str(), name.c_str());
        }
    }
    const std::string::size_type id = command.find("\"id\":");
    const std::string number = id == std::string::npos ? "0" : command.substr(id + 5, command.find_first_of(",}", id) - id - 5);
    const char *error = std::getenv("SORVANE_FAKE_ENGINE_PIPE_ERROR");
    const std::string outcome = error && *error
                                    ? ",\"error\":{\"code\":-32600,\"message\":\"" + std::string(error) + "\"}}"
                                    : std::string(",\"result\":{\"id\":\"fakeextensionid\"}}");
    writeAll(4, "{\"id\":" + number + outcome + std::string(1, '\0'));
}

} // namespace

int main(int argc, char **argv)
{
    const char *version = std::getenv("SORVANE_FAKE_ENGINE_VERSION");
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0 && version && *version) {
        std::printf("%s\n", version);
        return 0;
    }
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
    if (hasArgument(argc, argv, "--remote-debugging-pipe"))
        answerOnePipeCommand(records);
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
