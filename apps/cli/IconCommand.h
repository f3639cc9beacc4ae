#pragma once

#include "Command.h"

// `sorvane icon URL`: finds a site's icon as creation does, prints where it came from and its
// size, and writes it as PNG with --output.
class IconCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("icon"); }
    QString description() const override { return QStringLiteral("Find a site's icon."); }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
