// sorvanelauncher: the program in a generated app's Contents/MacOS. It runs the app's script,
// Contents/Resources/script, with the arguments it was given, so that the bundle's executable is
// a real binary while the app's logic stays a readable script, and watches the start (StartWatch).

#include "CompanionPipe.h"
#include "LauncherPlatform.h"
#include "LinkArgument.h"
#include "StartWatch.h"

#include "core/AppLog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

constexpr int ScriptMissingStatus = 127;
constexpr int ScriptNotRunnableStatus = 126;

std::string parentFolder(const std::string &path)
{
    const std::string::size_type slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    if (slash == 0)
        return "/";
    return path.substr(0, slash);
}

bool startsWith(const char *text, const char *prefix)
{
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    const std::string self = LauncherPlatform::ownExecutablePath(argc > 0 ? argv[0] : nullptr);
    if (self.empty()) {
        std::fprintf(stderr, "sorvanelauncher: cannot tell where this program lives\n");
        return ScriptMissingStatus;
    }
    const std::string contents = parentFolder(parentFolder(self));
    const std::string script = contents + "/Resources/script";

    struct stat info
    {
    };
    if (stat(script.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        std::fprintf(stderr, "sorvanelauncher: the app's launcher script is missing: %s\n", script.c_str());
        return ScriptMissingStatus;
    }

    // The arguments are links for the engine. Anything else could reach it as a switch, so it
    // is left out; the process serial number that older macOS releases add when the app is
    // opened from the Finder goes silently.
    std::vector<std::string> links;
    for (int i = 1; i < argc; ++i) {
        if (startsWith(argv[i], "-psn_"))
            continue;
        if (std::optional<std::string> link = LinkArgument::accepted(argv[i]))
            links.push_back(std::move(*link));
        else
            std::fprintf(stderr, "sorvanelauncher: ignoring an argument that is not a web or mail link: %s\n",
                         LinkArgument::printable(argv[i]).c_str());
    }
    std::vector<char *> arguments;
    arguments.push_back(const_cast<char *>(script.c_str()));
    for (std::string &link : links)
        arguments.push_back(link.data());
    arguments.push_back(nullptr);

    // An engine that ignores --load-extension gets the companion over its DevTools pipe.
    const std::string appName = AppLog::appNameOf(parentFolder(contents));
    std::vector<int> engineDescriptors;
    if (CompanionPipe::requestedBy(script) &&
        CompanionPipe::start(appName, contents + "/Resources/Sorvane_Extension"))
        engineDescriptors = {3, 4, 5};

    LauncherPlatform::prepareEnvironment(contents);
    // The script's first lines (is the engine or the helper already running?) look at $PWD
    // before the script changes folder itself, so it must start in Contents/Resources.
    const std::string resources = contents + "/Resources";
    if (chdir(resources.c_str()) != 0) {
        std::fprintf(stderr, "sorvanelauncher: cannot enter %s: %s\n", resources.c_str(), std::strerror(errno));
        return ScriptNotRunnableStatus;
    }
    return StartWatch::run(appName, contents, std::move(arguments), engineDescriptors);
}
