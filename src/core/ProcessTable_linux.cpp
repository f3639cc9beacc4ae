#include "ProcessTable.h"

#include <cctype>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

bool isNumber(const char *text)
{
    if (!*text)
        return false;
    for (; *text; ++text) {
        if (!std::isdigit(static_cast<unsigned char>(*text)))
            return false;
    }
    return true;
}

// argv[0] is the command line up to its first NUL.
std::string firstArgumentOf(const std::string &procFolder)
{
    const int fd = open((procFolder + "/cmdline").c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    std::string first;
    char buffer[4096];
    for (;;) {
        const ssize_t count = read(fd, buffer, sizeof buffer);
        if (count <= 0)
            break;
        const std::string_view chunk(buffer, static_cast<size_t>(count));
        const std::string_view::size_type end = chunk.find('\0');
        first.append(chunk.substr(0, end));
        if (end != std::string_view::npos)
            break;
    }
    close(fd);
    return first;
}

} // namespace

std::vector<ProcessTable::Entry> ProcessTable::snapshot()
{
    std::vector<Entry> entries;
    DIR *proc = opendir("/proc");
    if (!proc)
        return entries;
    while (const dirent *item = readdir(proc)) {
        if (!isNumber(item->d_name))
            continue;
        Entry entry;
        entry.pid = static_cast<pid_t>(std::stol(item->d_name));
        entry.firstArgument = firstArgumentOf(std::string("/proc/") + item->d_name);
        // Kernel threads and zombies have an empty command line.
        if (!entry.firstArgument.empty())
            entries.push_back(std::move(entry));
    }
    closedir(proc);
    return entries;
}

std::string ProcessTable::workingDirectory(pid_t pid)
{
    char buffer[PATH_MAX];
    const std::string link = "/proc/" + std::to_string(pid) + "/cwd";
    const ssize_t length = readlink(link.c_str(), buffer, sizeof buffer - 1);
    if (length <= 0)
        return {};
    return std::string(buffer, static_cast<size_t>(length));
}
