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
