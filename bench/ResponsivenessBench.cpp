// How long the desktop app's window thread goes without handling events while an operation runs
// the way the window starts it (through its store, as a background job). Each figure is the
// longest gap between two ticks of a 1 ms timer on that thread, from the click to the job's end:
//   Creation              one app with a 1024 px icon
//   EngineSwitch/200      an app whose profile holds 200 MB moved to another engine, its profile
//                         kept as the backup
//   ImportAppSet/20       an app set of 20 apps
//   Delete/200            an app whose profile holds 200 MB
// Run: build/default/bench/responsiveness_bench (the medians of the repetitions are printed;
// TMPDIR decides the file system).

#include "BenchHome.h"
#include "BenchMain.h"
#include "support/GapRecorder.h"
#include "support/IncompressibleProfile.h"

#include "core/Prompter.h"
#include "core/SNAppTracker.h"
#include "core/SNImage.h"
#include "editing/AppEditor.h"
#include "editing/EditAppJob.h"
#include "editing/SNExporter.h"
#include "frontend/HomescreenStore.h"
#include "frontend/JobProgress.h"
#include "generation/CreateAppJob.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QTimer>
#include <QUrl>

#include <chrono>

namespace {

using namespace Qt::Literals::StringLiterals;

// Answers every question with its first button (Delete, Replace, ...).
class FirstChoice final : public Prompter
{
public:
    int ask(const QString &, const QString &, const QStringList &) override { return 0; }
    void showError(const QString &) override {}
};

// Handles this thread's events until `done` says so; false after a minute.
template<typename Done>
bool spinUntil(Done done)
{
    QElapsedTimer waited;
    waited.start();
    while (!done()) {
        if (waited.hasExpired(60000))
            return false;
        QEventLoop().processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

QString onlyId(BenchHome &home)
{
    const QMap<QString, RegistryRecord> records = SNAppTracker(home.context()).records();
    return records.isEmpty() ? QString() : records.firstKey();
}

void Creation(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    QImage icon(1024, 1024, QImage::Format_ARGB32);
    icon.fill(Qt::darkCyan);
    FirstChoice prompter;
    int made = 0;
    for (auto _ : state) {
        AppDefinition app;
        app.appName = u"Mail %1"_s.arg(made++);
        app.appURL = u"https://mail.example.org/"_s;
        app.applicationType = 5; // chromium
        app.applicationsPath = home.folder(u"Apps"_s);
        app.appIcon = SNImage({icon});
        JobProgress work;
        bool ended = false;
        GapRecorder gaps;
        work.run<CreateAppJob>(std::make_unique<CreateAppJob>(home.context(), CreateAppRequest{app, {}, WhenNameTaken::Number, {}}),
                               &prompter, [&ended](CreateAppJob &job) { ended = job.succeeded(); });
        if (!spinUntil([&] { return !work.running(); }) || !ended) {
            state.SkipWithError("the creation failed");
            return;
        }
        state.SetIterationTime(double(gaps.longestNanoseconds()) / 1e9);
    }
}

void EngineSwitch(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    home.context().defaults().setValue(u"bravePath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
    const QString bundle = createApps(home, home.folder(u"Apps"_s), 1).value(0);
    if (bundle.isEmpty() || !fillProfile(bundle + u"/Contents/Profile"_s, int(state.range(0)))) {
        state.SkipWithError("the app could not be made");
        return;
    }
    const QString id = onlyId(home);
    FirstChoice prompter;
    const QStringList engines{u"brave"_s, u"chromium"_s};
    int turn = 0;
    for (auto _ : state) {
        QString error;
        const std::optional<SNEditorItem> original = AppEditor(home.context()).load(bundle, id, &error);
        if (!original) {
            state.SkipWithError("the app could not be read");
            return;
        }
        AppEditor::Change change{*original, {}, true};
        change.edited.browser = engines.at(turn++ % 2);
        JobProgress work;
        bool ended = false;
        GapRecorder gaps;
        work.run<EditAppJob>(std::make_unique<EditAppJob>(home.context(), *original, change), &prompter,
                             [&ended](EditAppJob &job) { ended = job.succeeded(); });
        if (!spinUntil([&] { return !work.running(); }) || !ended) {
            state.SkipWithError("the engine switch failed");
            return;
        }
        state.SetIterationTime(double(gaps.longestNanoseconds()) / 1e9);
    }
}

void ImportAppSet(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    home.context().setPrompter(std::make_unique<FirstChoice>());
    createApps(home, home.folder(u"Apps"_s), int(state.range(0)));
    SNExporter exporter(home.context());
    QString error;
    const std::optional<QString> file = SNExporter::save(exporter.exportConfig(exporter.rows()), home.folder(u"set"_s), &error);
    if (!file) {
        state.SkipWithError("the app set could not be written");
        return;
    }
    HomescreenStore store(home.context());
    int round = 0;
    for (auto _ : state) {
        // Each round into a folder of its own, so that nothing is replaced.
        state.PauseTiming();
        home.context().defaults().setValue(u"applicationsPath"_s, home.folder(u"Imported %1"_s.arg(round++)));
        state.ResumeTiming();
        int imported = -1;
        const QMetaObject::Connection seen =
            QObject::connect(&store, &HomescreenStore::appSetImported, [&imported](int count) { imported = count; });
        GapRecorder gaps;
        const bool started = store.importAppSet(QUrl::fromLocalFile(*file));
        if (!started || !spinUntil([&] { return imported >= 0 && !store.work()->running(); }) ||
            imported != state.range(0)) {
            state.SkipWithError("the import failed");
            return;
        }
        state.SetIterationTime(double(gaps.longestNanoseconds()) / 1e9);
        QObject::disconnect(seen);
    }
}

void Delete(benchmark::State &state)
{
    BenchHome home;
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    home.context().setPrompter(std::make_unique<FirstChoice>());
    HomescreenStore store(home.context());
    for (auto _ : state) {
        state.PauseTiming();
        const QString bundle = createApps(home, home.folder(u"Apps"_s), 1).value(0);
        const bool filled = !bundle.isEmpty() && fillProfile(bundle + u"/Contents/Profile"_s, int(state.range(0)));
        store.loadApps();
        state.ResumeTiming();
        if (!filled) {
            state.SkipWithError("the app could not be made");
            return;
        }
        bool deleted = false;
        const QMetaObject::Connection seen = QObject::connect(&store, &HomescreenStore::appDeleted, [&deleted] { deleted = true; });
        GapRecorder gaps;
        if (!store.deleteApp(onlyId(home)) || !spinUntil([&] { return !store.work()->running(); }) || !deleted) {
            state.SkipWithError("the delete failed");
            return;
        }
        state.SetIterationTime(double(gaps.longestNanoseconds()) / 1e9);
        QObject::disconnect(seen);
    }
}

} // namespace

BENCHMARK(Creation)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5)->Repetitions(3)->ReportAggregatesOnly();
BENCHMARK(EngineSwitch)->Arg(200)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2)->Repetitions(3)->ReportAggregatesOnly();
BENCHMARK(ImportAppSet)->Arg(20)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->ReportAggregatesOnly();
BENCHMARK(Delete)->Arg(200)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->ReportAggregatesOnly();

SORVANE_BENCHMARK_MAIN();
