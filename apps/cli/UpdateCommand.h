#pragma once

#include "Command.h"

// `sorvane update`: regenerates apps for this version of Sorvane, keeping their profiles.
class UpdateCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("update"); }
    QString description() const override
    {
        return QStringLiteral("Regenerate apps (by name, id or bundle path, or --outdated); their data is kept.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return AnyNumber; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
