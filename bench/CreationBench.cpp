// Creation costs on this machine, no network:
//   CreateOne/N  one whole app with an N x N icon (folders, icon.icns, Info.plist, script,
//                companion files, launch program, helper, engine link, registry and configuration)
//   Bulk100      a bulk run of 100 such apps without icons
//   Cli/create   the whole `sorvane create` process, against Cli/version (`sorvane --version`):
//                what a command costs beyond starting the program
// Run: build/default/bench/creation_bench (medians of the repetitions are printed). The homes are
// made under TMPDIR: on a tmpfs the numbers are Sorvane's own work; on a disk they include the
// file system's (every file is synced, and a much-used ext4 can spend most of a creation finding
// free inodes).

#include "BenchHome.h"
#include "BenchMain.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/AppDefinition.h"
#include "core/UserDefaults.h"
#include "generation/CreateAppJob.h"
#include "generation/CreateAppsJob.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

using namespace Qt::Literals::StringLiterals;

AppDefinition app(const QString &name, const SNImage &icon = {})
{
    AppDefinition entry;
    entry.appName = name;
    entry.appURL = u"https://mail.example.org/inbox"_s;
    entry.isWhitelistingEnabled = true;
    entry.appIcon = icon;
    return entry;
}

// The example icon scaled to size x size, as a user's PNG of that size would arrive.
SNImage iconOfSize(const QString &folder, int size)
{
    const QString path = folder + u"/icon-%1.png"_s.arg(size);
    QImage(QStringLiteral(SORVANE_EXAMPLES "/example-icon.png"))
        .scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .save(path);
    return SNImage::fromFile(path);
}

void CreateOne(benchmark::State &state)
{
    BenchHome home;
    QDir().mkpath(home.folder(u"icons"_s));
    const SNImage icon = iconOfSize(home.folder(u"icons"_s), static_cast<int>(state.range(0)));
    int number = 0;
    for (auto _ : state) {
        CreateAppRequest request{app(u"Mail %1"_s.arg(++number), icon), {}, WhenNameTaken::Ask, {}};
        request.app.applicationType = 5; // chromium
        request.app.applicationsPath = home.folder(u"Apps"_s);
        CreateAppJob job(home.context(), request);
        if (!job.exec())
            state.SkipWithError("creation failed");
    }
}

void Bulk100(benchmark::State &state)
{
    BenchHome home;
    int run = 0;
    for (auto _ : state) {
        CreateAppsRequest request{{}, 5, home.folder(u"Run %1"_s.arg(++run)), WhenNameTaken::Ask, {}};
        for (int i = 0; i < 100; ++i)
            request.apps.append(app(u"App %1"_s.arg(i)));
        CreateAppsJob job(home.context(), request);
        if (!job.exec() || job.outcomes().size() != 100)
            state.SkipWithError("bulk creation failed");
    }
}

// The built command line in a home of its own; `create` makes a new app at every iteration.
void Cli(benchmark::State &state, bool create)
{
    QTemporaryDir root;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, root.path());
    environment.insert(u"XDG_CONFIG_HOME"_s, root.path() + u"/.config"_s);
    environment.insert(u"XDG_DATA_HOME"_s, root.path() + u"/.local/share"_s);
    environment.insert(u"XDG_STATE_HOME"_s, root.path() + u"/.local/state"_s);
    environment.insert(u"SORVANE_NO_ICON_SEARCH"_s, u"1"_s); // creation without the network
    QDir().mkpath(root.path() + u"/.config/ondrel"_s);
    QFile settings(root.path() + u"/.config/ondrel/Sorvane.conf"_s);
    if (!settings.open(QIODevice::WriteOnly) ||
        settings.write("[General]\nchromiumPath=" SORVANE_FAKE_ENGINE "\n") < 0) {
        state.SkipWithError("settings not written");
        return;
    }
    settings.close();
    int number = 0;
    for (auto _ : state) {
        const QStringList arguments =
            create ? QStringList{u"create"_s, u"--name"_s, u"Mail %1"_s.arg(++number), u"--url"_s,
                                 u"https://mail.example.org/"_s, u"--browser"_s, u"chromium"_s, u"--into"_s,
                                 root.path() + u"/Apps"_s, u"--quiet"_s}
                   : QStringList{u"--version"_s};
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(SORVANE_CLI), arguments);
        if (!process.waitForFinished(30000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
            state.SkipWithError(process.readAllStandardError().constData());
    }
}

} // namespace

BENCHMARK(CreateOne)->Arg(256)->Arg(1024)->Unit(benchmark::kMillisecond)->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK_CAPTURE(Cli, version, false)->Unit(benchmark::kMillisecond)->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK_CAPTURE(Cli, create, true)->Unit(benchmark::kMillisecond)->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(Bulk100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->ReportAggregatesOnly(true)->UseRealTime();

SORVANE_BENCHMARK_MAIN()
