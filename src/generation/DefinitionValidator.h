#pragma once

#include "core/AppDefinition.h"

#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// The checks every app definition passes before anything is written, whoever made it (command
// line, bulk list, import, the desktop app). A failed check names the field:
// "<field>: <what is wrong>", with the offending value's control characters escaped.
//
// Addresses (the start address and every tab) are http or https with a host. Routing patterns
// are a host, optionally with a "*." prefix and a port. An app destination names an existing
// generated app; validating fills in its name and registry id.
class DefinitionValidator final
{
public:
    // `baseFolder` resolves relative app destination paths (the bulk file's folder, or the
    // current folder on the command line).
    DefinitionValidator(Context &context, const QString &baseFolder);

    // Checks `app` and completes it (app destinations get their absolute path, name and id).
    bool validate(AppDefinition &app, QString *error) const;

    // A destination record checked strictly: an unknown type or a missing key is an error.
    std::optional<QVariantMap> checkedDestination(const QVariant &destination, const QString &field,
                                                  QString *error) const;
    // The "sorvaneApp" destination of the generated app at `path`, or nothing with the reason.
    std::optional<QVariantMap> appDestination(const QString &path, QString *error) const;

    static bool isWebAddress(const QString &address);
    static bool isValidPattern(const QString &pattern);
    // `text` between quotes, with control characters written as \n, \t, \xNN, so that an error
    // line can never move the cursor or repaint the terminal.
    static QString quoted(const QString &text);

private:
    Context &m_context;
    QString m_baseFolder;
};
