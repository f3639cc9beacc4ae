#pragma once

#include "Command.h"

// `sorvane desktop-entries`: the application-menu entries of the user's apps on Linux, checked
// against `sorvane list`, and with --sync put back in step with it.
class DesktopEntriesCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("desktop-entries"); }
    QString description() const override
    {
        return QStringLiteral("Check the apps' menu entries; --sync brings them in step and says what it changed.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int run(const QCommandLineParser &parser, Context &context) override;
};
