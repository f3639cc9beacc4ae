#pragma once

#include "support/TestContext.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

struct CliRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

// A temporary home for the built `sorvane`: HOME and the XDG folders inside a TestContext.
class CliSandbox
{
public:
    CliSandbox();

    // Sorvane's settings file with these INI lines under [General].
    void writeSettings(const QString &lines) const;

    CliRun sorvane(const QStringList &arguments) const;
    // Any program, with no terminal: questions are answered Cancel.
    static CliRun run(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment);

    TestContext test;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};
