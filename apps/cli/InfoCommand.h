#pragma once

#include "Command.h"

// `sorvane info`: an app's definition as read back from its launcher script, and its health.
class InfoCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("info"); }
    QString description() const override
    {
        return QStringLiteral("Show what an app is (read back from its launcher) and what may keep it from working.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
