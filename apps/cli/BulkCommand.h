#pragma once

#include "Command.h"

// `sorvane bulk FILE`: makes every app of a JSON array of app definitions; a bad entry fails
// alone and the others are still made.
class BulkCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("bulk"); }
    QString description() const override { return QStringLiteral("Create the apps listed in a JSON file."); }

protected:
    void addOptions(QCommandLineParser &parser) override;
    int run(const QCommandLineParser &parser, Context &context) override;
    int positionalArguments() const override { return 1; }
    QList<QStringList> exclusiveOptions() const override;
};
