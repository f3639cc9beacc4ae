#include "OpenTool.h"

#include "Processes.h"

#include "core/PropertyListBudget.h"

#include <plist/plist.h>

#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isExecutableFile(const std::string &path)
{
    struct stat info
    {
    };
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), X_OK) == 0;
}

std::string bundleExecutableName(const std::string &bundle)
{
    std::ifstream file(bundle + "/Contents/Info.plist", std::ios::binary);
    const std::string data((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    if (data.empty() || data.size() >= UINT32_MAX ||
        PropertyListBudget::check(data) != PropertyListBudget::Verdict::Fits)
        return {};
    plist_t root = nullptr;
    plist_from_memory(data.data(), static_cast<uint32_t>(data.size()), &root);
    std::string name;
    if (root && plist_get_node_type(root) == PLIST_DICT) {
        plist_t node = plist_dict_get_item(root, "CFBundleExecutable");
        char *value = nullptr;
        if (node && plist_get_node_type(node) == PLIST_STRING)
            plist_get_string_val(node, &value);
        if (value) {
            name = value;
            std::free(value);
        }
    }
    if (root)
        plist_free(root);
    // A name is one path component: a bundle must not point outside its MacOS folder.
    if (name.find('/') != std::string::npos || name == "." || name == "..")
        return {};
    return name;
}

std::string onlyFileIn(const std::string &folder)
{
    DIR *dir = opendir(folder.c_str());
    if (!dir)
        return {};
    std::string found;
    int count = 0;
    while (const dirent *entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        ++count;
        found = name;
    }
    closedir(dir);
    return count == 1 ? found : std::string();
}

int startApplication(const std::string &app, const std::vector<std::string> &appArguments)
{
    const std::string program = OpenTool::executableOf(app);
    if (program.empty()) {
        std::fprintf(stderr, "Unable to find application named '%s'\n", app.c_str());
        return 1;
    }
    std::vector<std::string> argv{program};
    argv.insert(argv.end(), appArguments.begin(), appArguments.end());
    const int error = Processes::startDetached(program, argv);
    if (error != 0) {
        std::fprintf(stderr, "open: cannot start %s: %s\n", program.c_str(), std::strerror(error));
        return 1;
    }
    return 0;
}

int openItems(const std::vector<std::string> &items)
{
    const std::string xdgOpen = Processes::findInPath("xdg-open");
    if (xdgOpen.empty()) {
        std::fprintf(stderr, "open: xdg-open is not installed, so nothing can be opened\n");
        return 1;
    }
    int status = 0;
    for (const std::string &item : items) {
        // No time limit: xdg-open may stay until a program it starts has taken the item.
        if (Processes::run(xdgOpen, {"xdg-open", item}, std::chrono::hours(24 * 365)) != 0) {
            std::fprintf(stderr, "open: xdg-open could not open %s\n", item.c_str());
            status = 1;
        }
    }
    return status;
}

} // namespace

std::string OpenTool::executableOf(const std::string &app)
{
    struct stat info
    {
    };
    if (stat(app.c_str(), &info) != 0)
        return {};
    if (S_ISREG(info.st_mode))
        return isExecutableFile(app) ? app : std::string();
    if (!S_ISDIR(info.st_mode))
        return {};
    std::string name = bundleExecutableName(app);
    if (name.empty())
        name = onlyFileIn(app + "/Contents/MacOS");
    if (name.empty())
        return {};
    const std::string program = app + "/Contents/MacOS/" + name;
    return isExecutableFile(program) ? program : std::string();
}

int OpenTool::run(const std::vector<std::string> &arguments)
{
    std::string app;
    bool haveApp = false;
    bool haveArgs = false;
    std::vector<std::string> items;
    std::vector<std::string> appArguments;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        if (argument == "--args") {
            haveArgs = true;
            appArguments.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            break;
        }
        if (argument == "-n" || argument == "-g")
            continue; // every start is a new instance here; nothing takes the focus anyway
        if (argument == "-a" && i + 1 < arguments.size()) {
            app = arguments[++i];
            haveApp = true;
        } else if (!argument.empty() && argument[0] == '-') {
            std::fprintf(stderr, "open: unsupported option %s\n", argument.c_str());
            return 1;
        } else {
            items.push_back(argument);
        }
    }
    if (haveApp && items.empty())
        return startApplication(app, appArguments);
    if (!haveApp && !haveArgs && !items.empty())
        return openItems(items);
    std::fprintf(stderr, "usage: open [-n] -a APPLICATION [--args ARGUMENT...] | open ADDRESS...\n");
    return 1;
}
