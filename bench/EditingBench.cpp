// Editing costs on this machine:
//   LiveOnlyEdit      reading an app and changing its accent colour (no rebuild)
//   Rename            reading an app and renaming it (launcher rebuilt, bundle moved)
//   ExportApps/100    writing a set of 100 apps, icons included
//   ImportApps/100    creating the 100 apps of such a set, with the engine script stubbed
// Run: build/default/bench/editing_bench (medians of the repetitions are printed).

#include "BenchHome.h"
#include "BenchMain.h"

#include "editing/AppEditor.h"
#include "editing/SNExporter.h"
#include "editing/ImportAppSetJob.h"


namespace {

using namespace Qt::Literals::StringLiterals;

// Edits one app over and over, each round applying `change` to its definition with the round's
// parity (so that every round really changes something): what a user's edit costs, reading
// included.
void EditRounds(benchmark::State &state, const std::function<void(AppDefinition &, bool odd)> &change)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    QString bundle = createApps(home, home.folder(u"Apps"_s), 1).value(0);
    bool odd = false;
    for (auto _ : state) {
        AppEditor editor(home.context());
        const std::optional<SNEditorItem> original = editor.load(bundle, {}, nullptr);
        if (!original) {
            state.SkipWithError("app not readable");
            return;
        }
        AppEditor::Change edited{*original, {}, false};
        change(edited.edited.appItem, odd = !odd);
        if (!editor.save(*original, edited, nullptr))
            state.SkipWithError("edit failed");
        bundle = editor.result().path;
    }
}

void LiveOnlyEdit(benchmark::State &state)
{
    EditRounds(state, [](AppDefinition &app, bool odd) { app.accentColor = odd ? u"1E90FF"_s : u"00AA00"_s; });
}

void Rename(benchmark::State &state)
{
    EditRounds(state, [](AppDefinition &app, bool odd) { app.appName = odd ? u"Renamed App"_s : u"App 0"_s; });
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
        if (!file) {
            state.SkipWithError("export failed");
            break;
        }
        ImportAppSetJob importer(home.context(), *file, {home.folder(u"Imported %1"_s.arg(++run)), false, false});
        if (!importer.exec() || importer.outcomes().size() != state.range(0))
            state.SkipWithError("import failed");
    }
}

} // namespace

BENCHMARK(LiveOnlyEdit)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(Rename)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(ExportApps)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(ImportApps)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

SORVANE_BENCHMARK_MAIN()
