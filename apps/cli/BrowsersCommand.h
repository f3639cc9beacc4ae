#pragma once

#include "Command.h"

// `sorvane browsers`: the engine catalogue with each browser's resolved engine path, whether it is
// installed here, its version, and whether apps on it can route links.
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
