#pragma once

#include "Command.h"

// `sorvane list`: the user's apps, as the app list shows them.
class ListCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("list"); }
    QString description() const override
    {
        return QStringLiteral("List the apps made by Sorvane, by name: in columns at a terminal, tab-separated when piped.");
    }

protected:
    int run(const QCommandLineParser &parser, Context &context) override;
};
