#pragma once

#include <string>
#include <vector>

// Runs the app's script with its output in the app's log and watches the first seconds of the
// start. An engine that stops with an error in that time (a browser that refuses to run as this
// user, a missing display) is reported in the log and as a desktop notice with its last message,
// and the first-launch steps that start used up count as not done. An engine still running at the
// end of the watch has started; the launch program then leaves it running on its own. Where the
// platform wants the launch program to become the engine (LauncherPlatform::watchesStarts), only
// the output goes to the log.
class StartWatch final
{
public:
    // How long a start is watched. A real engine refuses within a fraction of a second; a
    // successful start never waits for this, only the launch program stays that long.
    static constexpr int WatchMilliseconds = 3000;

    // Runs `arguments` (the script first, NULL-ended) from `contents`/Resources in a child and
    // returns the launch program's exit status: the script's when it ended within the watch.
    // `engineDescriptors` are the engine's alone: this process closes its copies once the child has them.
    static int run(const std::string &appName, const std::string &contents, std::vector<char *> arguments,
                   const std::vector<int> &engineDescriptors);

    // What the engine last said in `output`: its last line that is neither blank, nor one of the
    // script's own progress lines, nor a line our own programs logged, without the engine's
    // "[pid:tid:time:LEVEL:source] " prefix.
    static std::string lastMessage(const std::string &output);
};
