#pragma once

#include "Command.h"

// `sorvane edit`: changes an app in place (name, icon, addresses, options, engine); its data is
// kept.
class EditCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("edit"); }
    QString description() const override
    {
        return QStringLiteral("Change an app's name, icon, addresses, options or engine; its data is kept.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int positionalArguments() const override { return 1; }
    QStringList repeatableOptions() const override;
    QList<QStringList> exclusiveOptions() const override;
    int run(const QCommandLineParser &parser, Context &context) override;
};
