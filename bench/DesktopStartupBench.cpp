// The desktop app's start, as a person sees it: from starting `sorvane-desktop` to its first
// painted frame of the home screen listing 100 apps (the list is read before the window is
// made, so that frame shows them). Whole-process timing: each iteration starts the program with
// a home of its own, waits for the "first frame" line of --report-first-frame and ends it.
// Offscreen unless DISPLAY names an X server (then the real xcb window is timed).
// Run: build/default/bench/desktop_startup_bench (medians of the repetitions are printed).

#include "BenchHome.h"
#include "BenchMain.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

namespace {

using namespace Qt::Literals::StringLiterals;

QProcessEnvironment desktopEnvironment(const QString &home, const QString &runtime)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, home);
    environment.insert(u"XDG_DATA_HOME"_s, home + u"/.local/share"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, home + u"/.config"_s);
    environment.insert(u"XDG_CACHE_HOME"_s, home + u"/.cache"_s);
    environment.insert(u"XDG_RUNTIME_DIR"_s, runtime);
    if (!environment.contains(u"DISPLAY"_s))
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    return environment;
}

void DesktopStartup(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    const int count = static_cast<int>(state.range(0));
    if (createApps(home, home.folder(u"Apps"_s), count).size() != count) {
        state.SkipWithError("apps not made");
        return;
    }
    const QString runtime = home.folder(u"runtime"_s);
    QDir().mkpath(runtime);
    QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    const QProcessEnvironment environment = desktopEnvironment(home.context().homeFolder(), runtime);

    for (auto _ : state) {
        QProcess desktop;
        desktop.setProcessEnvironment(environment);
        desktop.setProcessChannelMode(QProcess::SeparateChannels);
        desktop.setStandardErrorFile(QProcess::nullDevice());
        QElapsedTimer timer;
        timer.start();
        desktop.start(QStringLiteral(SORVANE_DESKTOP), {u"--report-first-frame"_s});
        bool painted = false;
        while (!painted && desktop.waitForReadyRead(10000)) {
            while (desktop.canReadLine()) {
                if (desktop.readLine().trimmed() == "first frame")
                    painted = true;
            }
        }
        const double seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
        desktop.kill();
        desktop.waitForFinished(5000);
        if (!painted) {
            state.SkipWithError("the home screen was never painted");
            return;
        }
        state.SetIterationTime(seconds);
    }
}

} // namespace

BENCHMARK(DesktopStartup)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(7)->ReportAggregatesOnly(true)->UseManualTime();

SORVANE_BENCHMARK_MAIN()
