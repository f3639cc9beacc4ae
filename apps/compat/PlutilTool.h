#pragma once

#include <string>
#include <vector>

// `plutil -replace KEYPATH -string|-bool|-integer VALUE FILE...`: sets one value in XML or binary
// property lists, keeping each file's format, and replaces each file atomically. Key paths are
// keys and array indexes joined by '.', a '.' inside a key written as "\.". Every other use of
// plutil fails with a message.
class PlutilTool final
{
public:
    static int run(const std::vector<std::string> &arguments);
};
