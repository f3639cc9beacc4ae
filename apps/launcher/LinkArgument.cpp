#include "LinkArgument.h"

#include <algorithm>
#include <cstring>

namespace {

const char Hex[] = "0123456789ABCDEF";

void appendHex(std::string &out, const char *lead, unsigned char c)
{
    out += lead;
    out += Hex[c >> 4];
    out += Hex[c & 0xf];
}

bool mustEncode(unsigned char c)
{
    // Checked before strchr, which would find the terminating NUL.
    if (c <= 0x20 || c == 0x7f)
        return true;
    return std::strchr("\"<>\\^`{|}*[]", c) != nullptr;
}

std::string lowered(const std::string &text)
{
    std::string result = text;
    for (char &c : result) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

} // namespace

std::optional<std::string> LinkArgument::accepted(const std::string &argument)
{
    const std::string::size_type colon = argument.find(':');
    if (colon == std::string::npos)
        return std::nullopt;
    const std::string scheme = lowered(argument.substr(0, colon));

    // An IPv6 host keeps its brackets.
    std::string::size_type ipv6Begin = 0;
    std::string::size_type ipv6End = 0;
    if (scheme == "http" || scheme == "https") {
        if (argument.compare(colon + 1, 2, "//") != 0)
            return std::nullopt;
        const std::string::size_type authority = colon + 3;
        const std::string::size_type authorityEnd =
            std::min(argument.find_first_of("/?#", authority), argument.size());
        const std::string::size_type at = argument.rfind('@', authorityEnd - 1);
        const std::string::size_type host = at != std::string::npos && at >= authority ? at + 1 : authority;
        if (host < authorityEnd && argument[host] == '[') {
            const std::string::size_type close = argument.find(']', host);
            if (close == std::string::npos || close >= authorityEnd)
                return std::nullopt;
            ipv6Begin = host;
            ipv6End = close + 1;
        } else if (std::min(argument.find(':', host), authorityEnd) == host) {
            return std::nullopt;
        }
    } else if (scheme != "mailto") {
        return std::nullopt;
    }

    std::string link;
    for (std::string::size_type i = 0; i < argument.size(); ++i) {
        const auto c = static_cast<unsigned char>(argument[i]);
        const bool hostBracket = (c == '[' || c == ']') && i >= ipv6Begin && i < ipv6End;
        if (mustEncode(c) && !hostBracket)
            appendHex(link, "%", c);
        else
            link += static_cast<char>(c);
    }
    return link;
}

std::string LinkArgument::printable(const std::string &argument)
{
    std::string text;
    for (std::string::size_type i = 0; i < argument.size(); ++i) {
        const auto c = static_cast<unsigned char>(argument[i]);
        const auto next = i + 1 < argument.size() ? static_cast<unsigned char>(argument[i + 1]) : 0;
        if (c == '\\') {
            text += "\\\\";
        } else if (c < 0x20 || c == 0x7f) {
            appendHex(text, "\\x", c);
        } else if (c == 0xc2 && next >= 0x80 && next <= 0x9f) {
            // U+0080-U+009F, which some terminals read as control codes.
            appendHex(text, "\\x", c);
            appendHex(text, "\\x", next);
            ++i;
        } else {
            text += static_cast<char>(c);
        }
    }
    return text;
}
