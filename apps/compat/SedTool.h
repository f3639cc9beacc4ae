#pragma once

#include <string>
#include <vector>

// sed: the BSD in-place form with an empty backup suffix (`sed -i '' ...`) becomes GNU's
// `sed -i ...`; every other invocation reaches the system's sed unchanged.
class SedTool final
{
public:
    static int run(const std::vector<std::string> &arguments);

    // The arguments GNU sed gets for these.
    static std::vector<std::string> translated(const std::vector<std::string> &arguments);
};
