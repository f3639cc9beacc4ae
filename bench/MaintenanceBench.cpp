// Maintenance costs on this machine:
//   AppInfo         reading one app back from its launcher script (a tabbed, routed app), in memory
//   LoadAppItems    the app list over 1,000 registered bundles (Info.plist and script each)
//   UpdateApps/100  regenerating 100 apps, with the engine script stubbed (it only links the engine)
// Run: build/default/bench/maintenance_bench (medians of the repetitions are printed).

#include "BenchHome.h"
#include "BenchMain.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/ProcessRunner.h"
#include "core/PropertyList.h"
#include "core/AppDefinition.h"
#include "core/UserDefaults.h"
#include "maintenance/AppScriptReader.h"
#include "maintenance/AppList.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUuid>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

using namespace Qt::Literals::StringLiterals;

void AppInfo(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    // The browser at its usual place, as most apps have it: the engine line names the browser.
    // (With an engine path of the user's own choosing the script is searched for browser names.)
    if (state.range(0) == 0)
        home.context().defaults().removeValue(u"chromiumPath"_s);
    const QStringList apps = createApps(home, home.folder(u"Apps"_s), 1);
    QFile file(apps.value(0) + u"/Contents/Resources/script"_s);
    if (!file.open(QIODevice::ReadOnly)) {
        state.SkipWithError("no app");
        return;
    }
    const QString script = QString::fromUtf8(file.readAll());
    for (auto _ : state) {
        const std::optional<QVariantMap> info = AppScriptReader::appInfo(u"App 0"_s, script);
        benchmark::DoNotOptimize(info);
    }
    state.SetItemsProcessed(state.iterations());
}

void LoadAppItems(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    const QStringList made = createApps(home, home.folder(u"Apps"_s), 1);
    const QString source = made.value(0);
    const QByteArray plist = [&] {
        QFile file(source + u"/Contents/Info.plist"_s);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();
    const QByteArray script = [&] {
        QFile file(source + u"/Contents/Resources/script"_s);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();
    // The other apps are copies of the one made: what the list reads of each is its Info.plist
    // and its script.
    QVariantMap records;
    for (int i = 0; i < state.range(0); ++i) {
        const QString bundle = home.folder(u"Many/App %1.app"_s.arg(i));
        QDir().mkpath(bundle + u"/Contents/Resources"_s);
        QFile info(bundle + u"/Contents/Info.plist"_s);
        QFile launcher(bundle + u"/Contents/Resources/script"_s);
        if (!info.open(QIODevice::WriteOnly) || !launcher.open(QIODevice::WriteOnly) || info.write(plist) < 0 ||
            launcher.write(script) < 0) {
            state.SkipWithError("bundles not written");
            return;
        }
        const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        records.insert(id, QVariantMap{{u"appID"_s, id}, {u"appPath"_s, bundle}, {u"lastActivity"_s, u""_s}});
    }
    if (!PropertyList::writeFile(home.context().supportFolder() + u"/tracker.plist"_s, records)) {
        state.SkipWithError("registry not written");
        return;
    }
    for (auto _ : state) {
        const QList<SNAppItem> items = AppList::loadAppItems(home.context());
        if (items.size() != state.range(0))
            state.SkipWithError("apps missing from the list");
    }
}

void UpdateApps(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    int run = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const QStringList apps = createApps(home, home.folder(u"Run %1"_s.arg(++run)), static_cast<int>(state.range(0)));
        state.ResumeTiming();
        for (const QString &app : apps) {
            if (!SNUpdaterHelper::updateApp(home.context(), app))
                state.SkipWithError("update failed");
        }
    }
}

} // namespace

BENCHMARK(AppInfo)->Arg(0)->Arg(1)->ArgName("customEnginePath")->Unit(benchmark::kMicrosecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(LoadAppItems)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(5)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(UpdateApps)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

SORVANE_BENCHMARK_MAIN()
