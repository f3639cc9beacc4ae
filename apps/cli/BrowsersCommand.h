#pragma once

#include "Command.h"

// `sorvane browsers`: the engine catalogue with each browser's resolved engine path and whether
// it is installed here.
class BrowsersCommand final : public Command
{
public:
    QString name() const override { return QStringLiteral("browsers"); }
    QString description() const override
    {
        return QStringLiteral("List the browsers that can serve as an app's engine.");
    }

protected:
    int run(const QCommandLineParser &parser, Context &context) override;
};
