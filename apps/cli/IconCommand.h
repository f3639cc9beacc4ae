#pragma once

#include "Command.h"

#include <chrono>

// `sorvane icon URL`: finds a site's icon as creation does, within a total time-out, prints where it
// came from and its size, and writes it as PNG with --output.
class IconCommand final : public Command
{
public:
    // The whole search's bound: a site that keeps sending (or never answers) is given up on.
    static constexpr std::chrono::seconds DefaultTimeout{10};
    static constexpr std::chrono::seconds MinimumTimeout{1};
    static constexpr std::chrono::seconds MaximumTimeout{120};

    QString name() const override { return QStringLiteral("icon"); }
    QString description() const override { return QStringLiteral("Find a site's icon."); }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
