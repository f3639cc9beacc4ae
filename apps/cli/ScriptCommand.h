#pragma once

#include "Command.h"

// `sorvane script`: prints the launcher script an app with these settings would get, with
// placeholder ids, this user's registry and this user's engine path.
class ScriptCommand final : public Command
{
public:
    // The registry id the printed script carries in place of a real app's.
    static const QString PlaceholderAppId;

    QString name() const override { return QStringLiteral("script"); }
    QString description() const override
    {
        return QStringLiteral("Print the launcher text that an app would get.");
    }

protected:
    void addOptions(QCommandLineParser &parser) override;
    QStringList repeatableOptions() const override { return {QStringLiteral("tab")}; }
    QList<QStringList> exclusiveOptions() const override;
    int run(const QCommandLineParser &parser, Context &context) override;
};
