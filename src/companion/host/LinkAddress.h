#pragma once

#include <QString>

#include <optional>

// The addresses the host hands to other programs or to the launcher script. Both forms are
// re-serialised fully encoded, never passed on as received: they always start with their scheme,
// so no program can read one as an option, and they hold no blanks or quotes.
class LinkAddress final
{
public:
    LinkAddress() = delete;

    // An http or https address with a host, or a mailto address with a recipient. Parsed
    // strictly: a link that needs repairing is refused rather than guessed at.
    static std::optional<QString> openable(const QString &text);

    // An http or https tab address for tabs-session.json, or nothing when it cannot be kept.
    // Parsed tolerantly, since a dropped tab is lost for good. The launcher script reads the file
    // with cut and sed, so besides the usual encoding '"', '\', '[', ']', ',' and blanks are
    // percent-encoded too.
    static std::optional<QString> restorableTab(const QString &text);
};
