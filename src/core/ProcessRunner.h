#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Runs a program with arguments (never through a shell) and reports how it ended.
class ProcessRunner
{
public:
    struct Result
    {
        bool started = false;
        bool crashed = false;
        bool timedOut = false;
        int exitCode = -1;
        QByteArray standardOutput;
        QByteArray standardError;

        bool succeeded() const { return started && !crashed && !timedOut && exitCode == 0; }
    };

    virtual ~ProcessRunner();

    virtual Result run(const QString &program, const QStringList &arguments,
                       const QString &workingDirectory = {}, int timeoutMs = 120000);
};
