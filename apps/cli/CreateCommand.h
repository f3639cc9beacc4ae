#pragma once

#include "Command.h"

// `sorvane create`: makes one app from the definition given by the options.
class CreateCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("create"); }
    QString description() const override { return QStringLiteral("Create an app."); }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int run(const QCommandLineParser &parser, Context &context) override;
    QStringList repeatableOptions() const override;
    QList<QStringList> exclusiveOptions() const override;
};
