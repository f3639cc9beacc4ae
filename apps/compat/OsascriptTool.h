#pragma once

#include <string>
#include <vector>

// `osascript -e ...` for the one script a generated app runs: bringing the process with a given
// id to the front ("set frontmost of the first process whose unix id is PID to true", optionally
// inside `tell application "System Events"` ... `end tell`). The window is raised with xdotool or
// wmctrl when one is installed and a display is there; otherwise nothing happens. Every other
// script fails with a message.
class OsascriptTool final
{
public:
    static int run(const std::vector<std::string> &arguments);

    // The process ids named by a frontmost statement, in order; empty when the text is not one.
    static std::vector<std::string> frontmostProcessIds(const std::string &statement);
};
