#include "companion/host/LinkLaunch.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

using namespace Qt::Literals::StringLiterals;

namespace {

// The host inherits the engine's environment, with what the engine and the launch program set for
// this app alone. A program started for a link gets the environment the app itself started with:
// without Chromium's "disabled:" stand-in for a missing session bus (an engine started with it
// rewrites its own command line to the browser's path, and the other app's running checks miss
// it), and without this app's stand-ins for macOS tools first on PATH.
QProcessEnvironment linkEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (environment.value(u"DBUS_SESSION_BUS_ADDRESS"_s) == u"disabled:"_s)
        environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_s);
    const QString compat = QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/compat"_s);
    QStringList path = environment.value(u"PATH"_s).split(u':');
    path.removeIf([&](const QString &folder) { return QDir::cleanPath(folder) == compat; });
    environment.insert(u"PATH"_s, path.join(u':'));
    return environment;
}

} // namespace

ProgramStarter::~ProgramStarter() = default;

// Detached and without a shell. The host's standard input and output are the browser's message
// pipe, so the started program must not inherit them.
bool ProgramStarter::start(const LinkLaunch &launch)
{
    QProcess process;
    process.setProgram(launch.program);
    process.setArguments(launch.arguments);
    process.setProcessEnvironment(linkEnvironment());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}
