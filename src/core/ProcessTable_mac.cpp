#include "ProcessTable.h"

#include <libproc.h>
#include <string>
#include <sys/sysctl.h>
#include <vector>

namespace {

// KERN_PROCARGS2 holds argc, the executable path, padding NULs, then argv[0].
std::string firstArgumentOf(pid_t pid)
{
    int mib[3] = {CTL_KERN, KERN_PROCARGS2, static_cast<int>(pid)};
    size_t size = 0;
    if (sysctl(mib, 3, nullptr, &size, nullptr, 0) != 0 || size <= sizeof(int))
        return {};
    std::vector<char> buffer(size);
    if (sysctl(mib, 3, buffer.data(), &size, nullptr, 0) != 0 || size <= sizeof(int))
        return {};
    size_t position = sizeof(int);
    while (position < size && buffer[position] != '\0')
        ++position; // executable path
    while (position < size && buffer[position] == '\0')
        ++position; // padding
    const size_t start = position;
    while (position < size && buffer[position] != '\0')
        ++position;
    return std::string(buffer.data() + start, position - start);
}

} // namespace

std::vector<ProcessTable::Entry> ProcessTable::snapshot()
{
    std::vector<Entry> entries;
    const int count = proc_listallpids(nullptr, 0);
    if (count <= 0)
        return entries;
    std::vector<pid_t> pids(static_cast<size_t>(count) + 16);
    const int found = proc_listallpids(pids.data(), static_cast<int>(pids.size() * sizeof(pid_t)));
    for (int i = 0; i < found; ++i) {
        Entry entry;
        entry.pid = pids[static_cast<size_t>(i)];
        entry.firstArgument = firstArgumentOf(entry.pid);
        if (!entry.firstArgument.empty())
            entries.push_back(std::move(entry));
    }
    return entries;
}

std::string ProcessTable::workingDirectory(pid_t pid)
{
    proc_vnodepathinfo info{};
    if (proc_pidinfo(pid, PROC_PIDVNODEPATHINFO, 0, &info, sizeof info) != sizeof info)
        return {};
    return info.pvi_cdir.vip_path;
}
