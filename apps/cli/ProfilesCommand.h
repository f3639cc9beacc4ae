#pragma once

#include "Command.h"

// `sorvane profiles BROWSER`: the profiles of an installed browser that a new app can start from,
// each with the extensions it can take over (for `create --profile KEY --extension ID`).
class ProfilesCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("profiles"); }
    QString description() const override
    {
        return QStringLiteral("List a browser's profiles and the extensions an app can take over.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
