// Start-up costs of a generated app on this machine:
//   ScriptText        building one launcher script (pure function, no I/O)
//   CreateEngineBuilt createEngine.sh when the engine is already built (every start runs it)
//   WarmStart         the launch program until the engine it execs has finished, engine built
//   EngineDirect      the same engine (the recording fake, which exits at once) started directly
// WarmStart minus EngineDirect is what the launcher, the script and its tools add to a start.
// Run: build/default/bench/runtime_bench (medians of the repetitions are printed).

#include "core/Context.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "generation/LaunchProgramInstaller.h"
#include "generation/SNAppScriptHelper.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QThread>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

extern char **environ;

namespace {

using namespace Qt::Literals::StringLiterals;

const QString AppName = u"Bench Mail"_s;

SNScriptInputs scriptInputs(const QString &trackerFragment, const QString &engine)
{
    SNScriptInputs inputs;
    inputs.appName = AppName;
    inputs.appURL = u"https://mail.example.test/inbox"_s;
    inputs.typeKey = u"chromium"_s;
    inputs.trackerFragment = trackerFragment;
    inputs.engineBrowserPath = engine;
    inputs.targetIsMac = false;
    return inputs;
}

// One generated app in a temporary folder, its engine already built by a first start.
class BenchApp
{
public:
    BenchApp()
    {
        // SORVANE_BENCH_KEEP=1 keeps the app for a closer look (bash -x on its script).
        if (qEnvironmentVariableIsSet("SORVANE_BENCH_KEEP")) {
            m_root.setAutoRemove(false);
            std::fprintf(stderr, "bench app kept in %s\n", qPrintable(m_root.path()));
        }
        const QString home = m_root.path() + u"/home"_s;
        QDir().mkpath(home);
        qputenv("HOME", home.toUtf8());
        qputenv("SORVANE_HELPER_GRACE_MS", "0");
        qunsetenv("SORVANE_FAKE_ENGINE_RECORDS");
        qunsetenv("DISPLAY");
        m_context = std::make_unique<Context>(
            Context::Folders{home, home + u"/.local/share/Sorvane"_s, Context::locateResources()},
            std::make_unique<UserDefaults>(m_root.path() + u"/settings.ini"_s));
        m_bundle = m_root.path() + u"/Apps/"_s + AppName + u".app"_s;
        for (const char *folder : {"/Contents/MacOS", "/Contents/Resources", "/Contents/Profile"})
            QDir().mkpath(m_bundle + QLatin1String(folder));
        QString error;
        if (!LaunchProgramInstaller(*m_context).installInto(m_bundle, AppName, &error))
            qFatal("cannot install the launch program: %s", qPrintable(error));
        SNAppTracker tracker(*m_context);
        const QString appId = tracker.addAppTracker(m_bundle).value(u"appID"_s).toString();
        m_inputs = scriptInputs(tracker.shellUpdateCode(appId), QStringLiteral(SORVANE_FAKE_ENGINE));
        QFile script(resources() + u"/script"_s);
        if (!script.open(QIODevice::WriteOnly) || script.write(SNAppScriptHelper::scriptText(m_inputs).toUtf8()) < 0)
            qFatal("cannot write the script");
        script.close();
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QString resources() const { return m_bundle + u"/Contents/Resources"_s; }
    QString launchProgram() const { return m_bundle + u"/Contents/MacOS/"_s + AppName; }
    QString engine() const { return m_bundle + u"/Contents/MacOS/"_s + AppName + u" Engine"_s; }
    const SNScriptInputs &inputs() const { return m_inputs; }

    // The helper started by a start lives until it has seen the engine go; a start while it
    // lives would only find the app running.
    void waitForHelper() const
    {
        const QByteArray helper = (resources() + u"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper"_s).toUtf8();
        for (int i = 0; i < 200; ++i) {
            bool running = false;
            for (const QString &pid : QDir(u"/proc"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                QFile cmdline(u"/proc/"_s + pid + u"/cmdline"_s);
                if (pid.front().isDigit() && cmdline.open(QIODevice::ReadOnly) && cmdline.readAll().startsWith(helper))
                    running = true;
            }
            if (!running)
                return;
            QThread::msleep(10);
        }
        qFatal("the helper did not leave");
    }

private:
    QTemporaryDir m_root;
    std::unique_ptr<Context> m_context;
    QString m_bundle;
    SNScriptInputs m_inputs;
};

BenchApp &app()
{
    static BenchApp instance;
    return instance;
}

// Runs a program to its end without a shell; its output is discarded.
int run(const std::vector<std::string> &argv, const QString &workingFolder = {})
{
    std::vector<char *> pointers;
    for (const std::string &argument : argv)
        pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const std::string folder = workingFolder.toStdString();
    if (!folder.empty())
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (spawned != 0 || waitpid(pid, &status, 0) < 0)
        return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void ScriptText(benchmark::State &state)
{
    SNScriptInputs inputs = scriptInputs(SNAppTracker().shellUpdateCode(u"5F0C6B2E-8D4A-4C1B-9E7F-1A2B3C4D5E6F"_s),
                                         u"/usr/lib/chromium/chromium"_s);
    inputs.typeKey = u"brave"_s;
    inputs.needTab = true;
    inputs.tabsList = {u"https://a.example.test/"_s, u"https://b.example.test/"_s, u"https://c.example.test/"_s};
    inputs.shouldIncludeWLExt = true;
    inputs.forceDarkMode = true;
    for (auto _ : state)
        benchmark::DoNotOptimize(SNAppScriptHelper::scriptText(inputs));
}

void CreateEngineBuilt(benchmark::State &state)
{
    BenchApp &bench = app();
    const std::vector<std::string> argv{"/bin/sh", "./createEngine.sh", AppName.toStdString(),
                                        bench.resources().toStdString(), SORVANE_FAKE_ENGINE, "Chromium",
                                        "Chromium", "Chromium Framework.framework"};
    if (run(argv, bench.resources()) != 0 || !QFileInfo(bench.engine()).isSymLink()) {
        state.SkipWithError("createEngine.sh failed");
        return;
    }
    for (auto _ : state) {
        if (run(argv, bench.resources()) != 0)
            state.SkipWithError("createEngine.sh failed");
    }
}

void WarmStart(benchmark::State &state)
{
    BenchApp &bench = app();
    const std::vector<std::string> argv{bench.launchProgram().toStdString()};
    run(argv); // builds the engine
    bench.waitForHelper();
    for (auto _ : state) {
        if (run(argv) != 0)
            state.SkipWithError("the app did not start");
        state.PauseTiming();
        bench.waitForHelper();
        state.ResumeTiming();
    }
}

void EngineDirect(benchmark::State &state)
{
    BenchApp &bench = app();
    const std::vector<std::string> argv{bench.engine().toStdString(), "--args", "--user-data-dir=./../Profile",
                                        "--app=https://mail.example.test/inbox", "--no-default-browser-check"};
    for (auto _ : state) {
        if (run(argv, bench.resources()) != 0)
            state.SkipWithError("the engine did not start");
    }
}

} // namespace

BENCHMARK(ScriptText)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(CreateEngineBuilt)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(EngineDirect)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(WarmStart)->Unit(benchmark::kMillisecond)->Iterations(10)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
