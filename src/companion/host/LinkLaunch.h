#pragma once

#include <QString>
#include <QStringList>

// A program and its arguments, started directly, never through a shell.
struct LinkLaunch
{
    QString program;
    QStringList arguments;

    bool operator==(const LinkLaunch &) const = default;
};

// Starts the programs that links are opened with. Tests derive from it to record the launches
// instead of starting anything.
class ProgramStarter
{
public:
    virtual ~ProgramStarter();

    // Starts the program detached, with its standard streams on the null device; false when it
    // could not be started.
    virtual bool start(const LinkLaunch &launch);
};
