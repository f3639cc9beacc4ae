#pragma once

#include <QString>

#include <optional>

class Context;

// An app named on the command line, by its bundle's path or by its registry id.
struct AppReference
{
    QString path;
    QString appId; // empty when the registry has no record of the bundle

    // A folder that exists is a bundle path (its record is the first naming that path, else the
    // id its script carries); anything else must be a registry id. None, with the reason, when
    // it is neither.
    static std::optional<AppReference> resolve(const QString &argument, Context &context, QString *error);
};
