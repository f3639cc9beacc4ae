#include "companion/host/LinkLaunch.h"

#include <QProcess>

ProgramStarter::~ProgramStarter() = default;

// Detached and without a shell. The host's standard input and output are the browser's message
// pipe, so the started program must not inherit them.
bool ProgramStarter::start(const LinkLaunch &launch)
{
    QProcess process;
    process.setProgram(launch.program);
    process.setArguments(launch.arguments);
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}
