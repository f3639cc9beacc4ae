#pragma once

#include "Command.h"

// `sorvane delete`: removes apps for good, after asking.
class DeleteCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("delete"); }
    QString description() const override
    {
        return QStringLiteral("Delete apps (by name, id or bundle path) with their data; asks first unless --yes.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return AnyNumber; }
    int run(const QCommandLineParser &parser, Context &context) override;
};
