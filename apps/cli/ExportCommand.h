#pragma once

#include "Command.h"

// `sorvane export`: writes the settings, addresses and icons of apps to a ".sorvane" file.
class ExportCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("export"); }
    QString description() const override
    {
        return QStringLiteral("Save apps' settings, addresses and icons to a .sorvane file (no data).");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return AnyNumber; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
