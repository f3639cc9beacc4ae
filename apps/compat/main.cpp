// sorvanecompat: the stand-ins for the macOS tools a generated app's script calls, in one program
// that acts as the tool it is called as (plutil, osascript, open or sed, links to this program in
// the bundle's Contents/Resources/compat folder, which the launch program puts first on PATH).

#include "OpenTool.h"
#include "OsascriptTool.h"
#include "PlutilTool.h"
#include "SedTool.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string baseName(const char *path)
{
    const char *slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

} // namespace

int main(int argc, char **argv)
{
    std::string tool = argc > 0 ? baseName(argv[0]) : std::string();
    int first = 1;
    if (tool == "sorvanecompat" && argc > 1) {
        tool = argv[1];
        first = 2;
    }
    const std::vector<std::string> arguments(argv + first, argv + argc);
    if (tool == "plutil")
        return PlutilTool::run(arguments);
    if (tool == "osascript")
        return OsascriptTool::run(arguments);
    if (tool == "open")
        return OpenTool::run(arguments);
    if (tool == "sed")
        return SedTool::run(arguments);
    std::fprintf(stderr, "usage: sorvanecompat plutil|osascript|open|sed ARGUMENT...\n");
    return 2;
}
