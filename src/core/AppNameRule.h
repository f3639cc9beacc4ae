#pragma once

#include <QString>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

// What an app's name may be, for everything that names an app (creation, editing, bulk lists,
// imports, the desktop wizard). A name becomes part of file names, so its length is bounded by the
// longest file name that carries it, counted in bytes of the file-system encoding.
namespace AppNameRule {

// The longest file name a file system takes (NAME_MAX on Linux and macOS).
constexpr int FileNameMaxBytes = 255;

// What is added to the name in the file names that carry it. The freedesktop Trash names its
// record "<bundle name>.trashinfo", and "<bundle name>-NNNN.trashinfo" when an item of that name is
// in the Trash already; Qt 6.4 retries a record name that does not fit for ever.
constexpr std::array<std::string_view, 4> NameSuffixes{
    ".app",                // the bundle, and the engine's bundle in Contents/Resources
    " Engine",             // Contents/MacOS/<Name> Engine
    ".app.trashinfo",      // deleted: the Trash's record
    ".app-0001.trashinfo", // deleted again while the first is still in the Trash
};

// The most bytes a name may have: every file name that carries it stays within FileNameMaxBytes.
constexpr int maximumBytes()
{
    std::size_t longest = 0;
    for (const std::string_view suffix : NameSuffixes)
        longest = std::max(longest, suffix.size());
    return FileNameMaxBytes - int(longest);
}

// The name's length in bytes of the file-system encoding.
int byteLength(const QString &name);

enum class Verdict {
    Acceptable,
    Invalid, // empty, ".", "..", or with "/" or a control character
    TooLong, // more than maximumBytes()
};
Verdict check(const QString &name);
inline bool isAcceptable(const QString &name) { return check(name) == Verdict::Acceptable; }

// Why `name` is too long, with the limit.
QString tooLongMessage(const QString &name);
// Why a name is refused ("'a/b' contains '/', which a file name cannot hold") and what to do
// about it ("use another character").
struct Refusal
{
    QString problem;
    QString remedy;
};
// Nothing exactly when check() finds the name acceptable.
std::optional<Refusal> refusal(const QString &name);

} // namespace AppNameRule
