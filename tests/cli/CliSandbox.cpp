#include "CliSandbox.h"

#include <QProcess>

#include <memory>
#include <vector>


using namespace Qt::Literals::StringLiterals;

CliSandbox::CliSandbox()
{
    environment.insert(u"HOME"_s, test.home());
    environment.insert(u"XDG_DATA_HOME"_s, test.home() + u"/.local/share"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, test.home() + u"/.config"_s);
    environment.insert(u"XDG_STATE_HOME"_s, test.home() + u"/.local/state"_s);
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

QList<CliRun> CliSandbox::sorvaneEach(const QList<QStringList> &runs) const
{
    // Starting a process is mostly waiting for its libraries to load, so a few run side by side.
    constexpr qsizetype AtOnce = 8;
    QList<CliRun> outcomes;
    for (qsizetype first = 0; first < runs.size(); first += AtOnce) {
        std::vector<std::unique_ptr<QProcess>> processes;
        for (qsizetype i = first; i < std::min(first + AtOnce, runs.size()); ++i) {
            auto &process = processes.emplace_back(std::make_unique<QProcess>());
            process->setProcessEnvironment(environment);
            process->start(QStringLiteral(SORVANE_CLI), runs.at(i));
            process->closeWriteChannel();
        }
        for (const auto &process : processes) {
            if (!process->waitForFinished(60000))
                process->kill();
            outcomes.append({process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1,
                             process->readAllStandardOutput(), process->readAllStandardError()});
        }
    }
    return outcomes;
}

CliRun CliSandbox::run(const QString &program, const QStringList &arguments, const QProcessEnvironment &environment)
{
    return runProgram(program, arguments, environment);
}
