#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// What a property list would grow to once parsed, measured on its bytes before any parser sees
// them. The parser copies an object once per reference to it, and so does the conversion to
// QVariant, so a small binary file whose objects share references can expand without bound; the
// parser also recurses once per level of nesting. Plain C++, so that the programs shipped in a
// bundle can guard their own reads too.
class PropertyListBudget final
{
public:
    // Arrays and dictionaries nested deeper than this are refused.
    static constexpr int MaximumDepth = 256;
    // Values (keys included) in the parsed tree, each shared reference counted again. A registry
    // or app set of a thousand apps holds a few tens of thousands.
    static constexpr std::uint64_t MaximumValues = 1'000'000;
    // Bytes of strings and data in the parsed tree, each shared reference counted again. A
    // thousand apps with 128x128 icons take about 100 MB.
    static constexpr std::uint64_t MaximumBytes = 256ull * 1024 * 1024;

    enum class Verdict
    {
        Fits,
        TooDeep,
        TooManyValues,
        TooManyBytes,
        Malformed
    };

    // Binary when the data starts with the binary magic, XML otherwise. Malformed only for a
    // binary list whose object table the parser would misread; XML is left to the parser.
    static Verdict check(std::string_view data);
    // The reason to show for a refusal, naming the limit; empty for Fits.
    static std::string reason(Verdict verdict);
};
