#pragma once

#include <QString>

#include <optional>

class Context;

// An app named on the command line: by its bundle's path, its registry id, the first 8 or more
// characters of that id, or its name (exactly as written, else in any case when only one app
// has it).
struct AppReference
{
    QString path;
    QString appId; // empty when the registry has no record of the bundle

    // A folder that exists is a bundle path (its record is the first naming that path, else the
    // id its script carries); anything else is looked up in the registry as an id, an id prefix
    // and a name, in that order. None, with the reason, when nothing matches; `ambiguous` is set
    // when several apps match (the reason lists them).
    static std::optional<AppReference> resolve(const QString &argument, Context &context, QString *error,
                                               bool *ambiguous = nullptr);

    // The shortest id prefix accepted.
    static constexpr int MinimumIdPrefix = 8;
};
