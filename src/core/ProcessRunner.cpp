#include "core/ProcessRunner.h"

#include <QProcess>

ProcessRunner::~ProcessRunner() = default;

ProcessRunner::Result ProcessRunner::run(const QString &program, const QStringList &arguments,
                                         const QString &workingDirectory, int timeoutMs)
{
    Result result;
    QProcess process;
    if (!workingDirectory.isEmpty())
        process.setWorkingDirectory(workingDirectory);
    process.start(program, arguments);
    if (!process.waitForStarted()) {
        result.standardError = process.errorString().toUtf8();
        return result;
    }
    result.started = true;
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        result.timedOut = true;
        process.kill();
        process.waitForFinished();
    }
    result.crashed = process.exitStatus() == QProcess::CrashExit;
    result.exitCode = process.exitCode();
    result.standardOutput = process.readAllStandardOutput();
    result.standardError = process.readAllStandardError();
    return result;
}
