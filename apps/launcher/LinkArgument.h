#pragma once

#include <optional>
#include <string>

// A link handed to an app (a click in another program, a command line). The script passes it to
// the engine, so only web and mail addresses get through, and only in a form that stays one
// address: no blank to split at, no glob character, nothing the engine reads as a switch.
class LinkArgument final
{
public:
    // The link as the script may receive it, or nothing when it is neither an http(s) URL with a
    // host nor a mailto URL. Blanks, control characters, "<>\^`{|} and the glob characters *[]
    // are percent-encoded (the brackets of an IPv6 host stay).
    static std::optional<std::string> accepted(const std::string &argument);

    // The argument for a message line: control characters as \xHH, a backslash doubled.
    static std::string printable(const std::string &argument);
};
