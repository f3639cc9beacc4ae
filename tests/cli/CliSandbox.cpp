#include "CliSandbox.h"


using namespace Qt::Literals::StringLiterals;

CliSandbox::CliSandbox()
{
    environment.insert(u"HOME"_s, test.home());
    environment.insert(u"XDG_DATA_HOME"_s, test.home() + u"/.local/share"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, test.home() + u"/.config"_s);
    // Apps made without --icon would look for their site's icon; tests stay off the network.
    environment.insert(u"SORVANE_NO_ICON_SEARCH"_s, u"1"_s);
}

void CliSandbox::writeSettings(const QString &lines) const
{
    writeFile(test.home() + u"/.config/ondrel/Sorvane.conf"_s, u"[General]\n"_s.append(lines).toUtf8());
}

CliRun CliSandbox::sorvane(const QStringList &arguments) const
{
    return run(QStringLiteral(SORVANE_CLI), arguments, environment);
}

CliRun CliSandbox::run(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
{
    return runProgram(program, arguments, environment);
}
