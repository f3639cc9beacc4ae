#pragma once

#include "Command.h"

// `sorvane registry`: where the registry of generated apps lives and what it holds.
class RegistryCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("registry"); }
    QString description() const override
    {
        return QStringLiteral("Show the registry of generated apps and where it is kept.");
    }

protected:
    int run(const QCommandLineParser &parser, Context &context) override;
};
