#pragma once

#include "Command.h"

// `sorvane import`: creates the apps of a ".sorvane" file.
class ImportCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("import"); }
    QString description() const override { return QStringLiteral("Create the apps of a .sorvane file."); }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    QList<QStringList> exclusiveOptions() const override;
    int run(const QCommandLineParser &parser, Context &context) override;
};
