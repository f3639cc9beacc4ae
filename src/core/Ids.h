#pragma once

#include <QString>

// Identifiers handed out when an app is made.
class Ids final
{
public:
    // The registry id (appID): an upper-case UUID with hyphens, 36 characters.
    static QString newRegistryId();
    // The launcher's uniqueID: a lower-case UUID without hyphens, 32 hexadecimal digits.
    static QString newUniqueId();
    // A fresh UUID for routing-rule ids.
    static QString newRuleId();
    // Whether `id` may name an app's files (its configuration, lock and menu entry): 1 to 64
    // ASCII letters, digits, '-' and '_', so that no id read from a file reaches another folder.
    static bool isUsableRegistryId(const QString &id);
};
