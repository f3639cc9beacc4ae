#pragma once

#include <string>
#include <vector>

// `open [-n] [-g] -a APP [--args ARG...]` starts APP (a .app bundle or an executable) as a new,
// detached process with the arguments; `open ITEM...` hands each address or file to xdg-open.
// Anything else fails with a message.
class OpenTool final
{
public:
    static int run(const std::vector<std::string> &arguments);

    // The program that runs a .app bundle: Contents/MacOS/<CFBundleExecutable>, else the only file
    // in Contents/MacOS; APP itself when it is an executable file. Empty when there is none.
    static std::string executableOf(const std::string &app);
};
