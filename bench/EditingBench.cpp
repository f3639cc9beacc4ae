// Editing costs on this machine:
//   LiveOnlyEdit      reading an app and changing its accent colour (no rebuild)
//   Rename            reading an app and renaming it (launcher rebuilt, bundle moved)
//   ExportApps/100    writing a set of 100 apps, icons included
//   ImportApps/100    creating the 100 apps of such a set, with the engine script stubbed
// Run: build/default/bench/editing_bench (medians of the repetitions are printed).

#include "BenchHome.h"

#include "core/Logger.h"
#include "editing/AppEditor.h"
#include "editing/SNExporter.h"
#include "editing/SNImporter.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

namespace {

using namespace Qt::Literals::StringLiterals;

// Loads the app at `bundle` and applies `change` to its definition.
bool edit(BenchHome &home, const QString &bundle, const std::function<void(SNBulkApp &)> &change, QString *path)
{
    AppEditor editor(home.context());
    const std::optional<SNEditorItem> original = editor.load(bundle, {}, nullptr);
    if (!original)
        return false;
    AppEditor::Change edited{*original, {}, false};
    change(edited.edited.appItem);
    if (!editor.save(*original, edited, nullptr))
        return false;
    *path = editor.result().path;
    return true;
}

void LiveOnlyEdit(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    QString bundle = createApps(home, home.folder(u"Apps"_s), 1).value(0);
    int round = 0;
    for (auto _ : state) {
        const QString colour = ++round % 2 ? u"1E90FF"_s : u"00AA00"_s;
        if (!edit(home, bundle, [&](SNBulkApp &app) { app.accentColor = colour; }, &bundle))
            state.SkipWithError("edit failed");
    }
}

void Rename(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    QString bundle = createApps(home, home.folder(u"Apps"_s), 1).value(0);
    int round = 0;
    for (auto _ : state) {
        const QString name = ++round % 2 ? u"Renamed App"_s : u"App 0"_s;
        if (!edit(home, bundle, [&](SNBulkApp &app) { app.appName = name; }, &bundle))
            state.SkipWithError("rename failed");
    }
}

void ExportApps(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    createApps(home, home.folder(u"Apps"_s), static_cast<int>(state.range(0)));
    SNExporter exporter(home.context());
    for (auto _ : state) {
        QString error;
        if (!SNExporter::save(exporter.exportConfig(exporter.rows()), home.folder(u"set"_s), &error))
            state.SkipWithError("export failed");
    }
}

void ImportApps(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    createApps(home, home.folder(u"Apps"_s), static_cast<int>(state.range(0)));
    SNExporter exporter(home.context());
    QString error;
    const std::optional<QString> file = SNExporter::save(exporter.exportConfig(exporter.rows()), home.folder(u"set"_s), &error);
    int run = 0;
    for (auto _ : state) {
        SNImporter importer(home.context(), {home.folder(u"Imported %1"_s.arg(++run)), false, false});
        if (!file || !importer.importConfig(*file, &error) || importer.outcomes().size() != state.range(0))
            state.SkipWithError("import failed");
    }
}

} // namespace

BENCHMARK(LiveOnlyEdit)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(Rename)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(ExportApps)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(ImportApps)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Logger::setSink(Logger::Sink::Silent);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
