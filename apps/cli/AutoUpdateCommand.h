#pragma once

#include "Command.h"

// `sorvane auto-update`: what the desktop app does at its start and every hour: moves apps off
// the legacy companion folder, then regenerates outdated apps when automatic updates are on and
// the last check is an hour old.
class AutoUpdateCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("auto-update"); }
    QString description() const override
    {
        return QStringLiteral("Update outdated apps if automatic updates are on (at most once an hour).");
    }

protected:
    int run(const QCommandLineParser &parser, Context &context) override;
};
