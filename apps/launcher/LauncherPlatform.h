#pragma once

#include <string>

// What the launch program needs from the operating system, answered by its platform file.
class LauncherPlatform final
{
public:
    // The absolute path of the running program with links resolved, or an empty string.
    // `argv0` is the fallback when the system cannot say.
    static std::string ownExecutablePath(const char *argv0);

    // Prepares the environment the app's script runs in; `contentsFolder` is the bundle's
    // Contents folder.
    static void prepareEnvironment(const std::string &contentsFolder);

    // Whether the launch program may run the script in a child and watch its first seconds
    // (StartWatch), or must become the script, and so the engine, itself.
    static bool watchesStarts();
};
