#include "OsascriptTool.h"

#include "Processes.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

constexpr std::chrono::milliseconds ToolTimeout{5000};

std::string trimmed(const std::string &text)
{
    const char *blanks = " \t\r\n";
    const std::string::size_type first = text.find_first_not_of(blanks);
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool raiseWithXdotool(const std::string &pid)
{
    const std::string xdotool = Processes::findInPath("xdotool");
    return !xdotool.empty() &&
           Processes::run(xdotool, {"xdotool", "search", "--pid", pid, "windowactivate"}, ToolTimeout) == 0;
}

// wmctrl -l -p lists "<window id> <desktop> <pid> <host> <title>" per window.
bool raiseWithWmctrl(const std::string &pid)
{
    const std::string wmctrl = Processes::findInPath("wmctrl");
    std::string listing;
    if (wmctrl.empty() || Processes::run(wmctrl, {"wmctrl", "-l", "-p"}, ToolTimeout, &listing) != 0)
        return false;
    std::istringstream lines(listing);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string window, desktop, owner;
        if (fields >> window >> desktop >> owner && owner == pid)
            return Processes::run(wmctrl, {"wmctrl", "-i", "-a", window}, ToolTimeout) == 0;
    }
    return false;
}

} // namespace

std::vector<std::string> OsascriptTool::frontmostProcessIds(const std::string &statement)
{
    static const std::string prefix = "set frontmost of the first process whose unix id is ";
    static const std::string suffix = " to true";
    const std::string text = trimmed(statement);
    if (text.size() <= prefix.size() + suffix.size() || text.compare(0, prefix.size(), prefix) != 0 ||
        text.compare(text.size() - suffix.size(), suffix.size(), suffix) != 0)
        return {};
    // The script hands over pgrep's output, one id per line when several processes match.
    std::istringstream words(text.substr(prefix.size(), text.size() - prefix.size() - suffix.size()));
    std::vector<std::string> ids;
    std::string word;
    while (words >> word) {
        if (word.size() > 10 || word.find_first_not_of("0123456789") != std::string::npos)
            return {};
        ids.push_back(word);
    }
    return ids;
}

int OsascriptTool::run(const std::vector<std::string> &arguments)
{
    std::vector<std::string> statements;
    for (size_t i = 0; i < arguments.size(); i += 2) {
        if (arguments[i] != "-e" || i + 1 >= arguments.size()) {
            std::fprintf(stderr, "osascript: only scripts given with -e are supported here\n");
            return 1;
        }
        const std::string statement = trimmed(arguments[i + 1]);
        if (!statement.empty())
            statements.push_back(statement);
    }
    const bool wrapped = statements.size() == 3 && statements[0] == "tell application \"System Events\"" &&
                         statements[2] == "end tell";
    const std::vector<std::string> ids = wrapped                  ? frontmostProcessIds(statements[1])
                                         : statements.size() == 1 ? frontmostProcessIds(statements[0])
                                                                  : std::vector<std::string>();
    if (ids.empty()) {
        std::fprintf(stderr, "osascript: this system runs no AppleScript; only bringing a process to the "
                             "front is supported\n");
        return 1;
    }
    const char *display = std::getenv("DISPLAY");
    if (!display || !*display)
        return 0;
    for (const std::string &pid : ids) {
        if (raiseWithXdotool(pid) || raiseWithWmctrl(pid))
            break;
    }
    return 0;
}
