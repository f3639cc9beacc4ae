#include "SedTool.h"

#include "Processes.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

// By absolute path: the stand-in itself is first on PATH.
const char *const RealSedCandidates[] = {"/usr/bin/sed", "/bin/sed"};

// Short options of GNU sed that take a value.
bool takesValue(char option)
{
    return option == 'e' || option == 'f' || option == 'l';
}

} // namespace

std::vector<std::string> SedTool::translated(const std::vector<std::string> &arguments)
{
    std::vector<std::string> result;
    result.reserve(arguments.size());
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        result.push_back(argument);
        if (argument == "--") {
            result.insert(result.end(), arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                          arguments.end());
            break;
        }
        if (argument.size() < 2 || argument[0] != '-' || argument[1] == '-')
            continue; // an operand or a long option ("--expression=..." carries its value inside)
        if (argument == "-i") {
            if (i + 1 < arguments.size() && arguments[i + 1].empty())
                ++i; // BSD's empty backup suffix
            continue;
        }
        // A cluster such as "-ne": the value of its last option is the next argument.
        for (size_t k = 1; k < argument.size(); ++k) {
            if (!takesValue(argument[k]))
                continue;
            if (k + 1 == argument.size() && i + 1 < arguments.size())
                result.push_back(arguments[++i]);
            break;
        }
    }
    return result;
}

int SedTool::run(const std::vector<std::string> &arguments)
{
    std::vector<std::string> argv{"sed"};
    const std::vector<std::string> rest = translated(arguments);
    argv.insert(argv.end(), rest.begin(), rest.end());
    for (const char *candidate : RealSedCandidates) {
        if (access(candidate, X_OK) == 0) {
            const int error = Processes::replaceWith(candidate, argv);
            std::fprintf(stderr, "sed: cannot run %s: %s\n", candidate, std::strerror(error));
            return 1;
        }
    }
    std::fprintf(stderr, "sed: the system's sed is not installed\n");
    return 1;
}
