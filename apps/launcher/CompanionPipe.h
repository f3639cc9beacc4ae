#pragma once

#include <string>

// Loads the companion extension into an engine that ignores --load-extension, over the engine's
// private DevTools pipe. The launch program makes the pipe before it runs the app's script, whose
// `exec` hands the engine its ends on descriptors 3 (commands in) and 4 (replies out); a holder
// process keeps the other ends, sends the one command that loads the bundle's companion, writes
// what went wrong into the app's log, and ends when the engine does. Nothing else is ever sent,
// and no other program can reach the pipe (unlike a debugging port).
//
// The engine also gets a copy of the command pipe's writing end (descriptor 5): an engine whose
// pipe reaches its end closes itself, and the holder dying must not take the app down.
class CompanionPipe final
{
public:
    // Whether the script at `scriptPath` starts its engine the pipe way.
    static bool requestedBy(const std::string &scriptPath);

    // Makes the pipe, leaves the holder running for the app called `appName` and puts the
    // engine's ends on descriptors 3, 4 and 5 of this process, to be inherited by what it execs.
    // False when the pipe could not be made: the app then starts without its companion.
    static bool start(const std::string &appName, const std::string &extensionFolder);

    // The NUL-ended command that loads the unpacked extension in `extensionFolder`.
    static std::string loadCommand(const std::string &extensionFolder);
    // The error message of the engine's reply to that command; empty when it loaded.
    static std::string errorOfReply(const std::string &reply);
};
