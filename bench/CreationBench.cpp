// Creation costs on this machine, no network:
//   CreateOne   one whole app with an icon (folders, icon.icns, Info.plist, script, companion
//               files, launch program, helper, engine link, registry and configuration)
//   Bulk100     a bulk run of 100 such apps without icons
// Run: build/default/bench/creation_bench (medians of the repetitions are printed).

#include "core/Context.h"
#include "core/Logger.h"
#include "core/SNBulkApp.h"
#include "core/UserDefaults.h"
#include "generation/ApplicationManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

using namespace Qt::Literals::StringLiterals;

// A context over a temporary home whose chromium engine is the fake engine.
class BenchHome
{
public:
    BenchHome()
    {
        const QString home = m_root.path() + u"/home"_s;
        QDir().mkpath(home);
        m_context = std::make_unique<Context>(
            Context::Folders{home, home + u"/.local/share/Sorvane"_s, Context::locateResources()},
            std::make_unique<UserDefaults>(m_root.path() + u"/settings.ini"_s));
        m_context->defaults().setValue(u"chromiumPath"_s, QStringLiteral(SORVANE_FAKE_ENGINE));
        Context::setShared(m_context.get());
    }

    Context &context() { return *m_context; }
    QString folder(const QString &name) const { return m_root.path() + u'/' + name; }

private:
    QTemporaryDir m_root;
    std::unique_ptr<Context> m_context;
};

SNBulkApp app(const QString &name, bool withIcon)
{
    SNBulkApp entry;
    entry.appName = name;
    entry.appURL = u"https://mail.example.org/inbox"_s;
    entry.whitelistingEnabled = true;
    if (withIcon)
        entry.appIcon = SNImage::fromFile(QStringLiteral(SORVANE_EXAMPLES "/example-icon.png"));
    return entry;
}

void CreateOne(benchmark::State &state)
{
    BenchHome home;
    ApplicationManager manager(home.context());
    manager.definition().applicationType = 5; // chromium
    manager.definition().applicationsPath = home.folder(u"Apps"_s);
    int number = 0;
    for (auto _ : state) {
        manager.bulkApps = {app(u"Mail %1"_s.arg(++number), true)};
        bool made = false;
        manager.create(false, [&](bool result) { made = result; });
        if (!made)
            state.SkipWithError("creation failed");
    }
}

void Bulk100(benchmark::State &state)
{
    BenchHome home;
    int run = 0;
    for (auto _ : state) {
        ApplicationManager manager(home.context());
        manager.definition().applicationType = 5;
        manager.definition().applicationsPath = home.folder(u"Run %1"_s.arg(++run));
        for (int i = 0; i < 100; ++i)
            manager.bulkApps.append(app(u"App %1"_s.arg(i), false));
        bool made = false;
        manager.create(false, [&](bool result) { made = result; });
        if (!made || manager.bulkInstalledApps.size() != 100)
            state.SkipWithError("bulk creation failed");
    }
}

} // namespace

BENCHMARK(CreateOne)->Unit(benchmark::kMillisecond)->Iterations(20)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(Bulk100)->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)->ReportAggregatesOnly(true)->UseRealTime();

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    Logger::setSink(Logger::Sink::Silent);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
