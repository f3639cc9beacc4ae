#pragma once

#include <chrono>
#include <string>
#include <vector>

// Starting programs for the stand-ins: always by argument list, never through a shell, so no
// value handed to a stand-in can become a command.
class Processes final
{
public:
    // The first executable file called `name` on PATH, or an empty string.
    static std::string findInPath(const std::string &name);

    // Starts `program` (argv[0] is `arguments[0]`) in a session of its own with standard input and
    // output on /dev/null, and returns once it runs. Returns 0, or the errno of the failed start.
    static int startDetached(const std::string &program, const std::vector<std::string> &arguments);

    // Runs `program` and waits at most `timeout` (then kills it). Fills `output` with its standard
    // output when given. Returns its exit status, or -1 when it could not run or was killed.
    static int run(const std::string &program, const std::vector<std::string> &arguments,
                   std::chrono::milliseconds timeout, std::string *output = nullptr);

    // Replaces this process by `program`; returns only on failure, with errno.
    static int replaceWith(const std::string &program, const std::vector<std::string> &arguments);
};
