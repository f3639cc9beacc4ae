#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

// The running processes as the helper needs them: how each was started.
class ProcessTable final
{
public:
    struct Entry
    {
        pid_t pid = 0;
        std::string firstArgument; // argv[0] as the process was started
    };

    // Every process this user may look at; processes that vanish while listed are left out.
    static std::vector<Entry> snapshot();
    // The working directory of one process, or an empty string.
    static std::string workingDirectory(pid_t pid);
};
