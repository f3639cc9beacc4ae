#pragma once

#include "Command.h"

// `sorvane open-url URL`: hands a "sorvane:" URL to the running desktop app, as a second start
// of the app does.
class OpenUrlCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("open-url"); }
    QString description() const override { return QStringLiteral("Hand a sorvane:// URL to the running Sorvane."); }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
