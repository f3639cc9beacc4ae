// Home-screen costs on this machine, over 1,000 registered apps:
//   HomescreenLoad/1000    opening the home screen: the app list (each bundle's Info.plist and
//                          script, each app's stored switches), then the first sort by name
//   HomescreenSearch/1000  one search-box change and one filter change over the loaded list
// Run: build/default/bench/homescreen_bench (medians of the repetitions are printed).

#include "BenchHome.h"
#include "BenchMain.h"

#include "core/PropertyList.h"
#include "frontend/HomescreenAppsModel.h"
#include "frontend/HomescreenStore.h"
#include "generation/AppConfigFile.h"

#include <QFile>
#include <QUuid>

namespace {

using namespace Qt::Literals::StringLiterals;

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeAll(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

// `count` apps registered in `home`: copies of one made app, each under its own name (so that
// sorting has work to do), with its own stored configuration.
bool registerApps(BenchHome &home, int count)
{
    home.context().setProcessRunner(std::make_unique<StubbedEngineScript>());
    const QString made = createApps(home, home.folder(u"Apps"_s), 1).value(0);
    QVariantMap records = PropertyList::readFile(home.context().supportFolder() + u"/tracker.plist"_s).toMap();
    if (made.isEmpty() || records.size() != 1)
        return false;
    const QString madeId = records.firstKey();
    const QByteArray plist = readAll(made + u"/Contents/Info.plist"_s);
    const QByteArray script = readAll(made + u"/Contents/Resources/script"_s);
    const QByteArray config = readAll(AppConfigFile::path(home.context().supportFolder(), madeId));
    records.clear();
    for (int i = 0; i < count; ++i) {
        // Numbers spread so that neither the registry's order nor the names' are already sorted.
        const QByteArray name = "App " + QByteArray::number((i * 7919) % count);
        const QString bundle = home.folder(u"Many/"_s + QString::fromUtf8(name) + u".app"_s);
        const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        if (!QDir().mkpath(bundle + u"/Contents/Resources"_s) ||
            !writeAll(bundle + u"/Contents/Info.plist"_s, plist) ||
            !writeAll(bundle + u"/Contents/Resources/script"_s, QByteArray(script).replace("App 0", name)) ||
            !writeAll(AppConfigFile::path(home.context().supportFolder(), id), config))
            return false;
        records.insert(id, QVariantMap{{u"appID"_s, id}, {u"appPath"_s, bundle}, {u"lastActivity"_s, u""_s}});
    }
    return PropertyList::writeFile(home.context().supportFolder() + u"/tracker.plist"_s, records);
}

void HomescreenLoad(benchmark::State &state)
{
    BenchHome home;
    if (!registerApps(home, static_cast<int>(state.range(0)))) {
        state.SkipWithError("apps not registered");
        return;
    }
    for (auto _ : state) {
        HomescreenStore store(home.context());
        if (store.filteredApps()->count() != state.range(0))
            state.SkipWithError("apps missing from the list");
    }
}

void HomescreenSearch(benchmark::State &state)
{
    BenchHome home;
    if (!registerApps(home, static_cast<int>(state.range(0)))) {
        state.SkipWithError("apps not registered");
        return;
    }
    HomescreenStore store(home.context());
    bool odd = false;
    for (auto _ : state) {
        odd = !odd;
        store.setSearchText(odd ? u"app 1"_s : u"CAL.example"_s);
        store.setSelectedFilter(odd ? HomescreenStore::AppFilter::Tabbed : HomescreenStore::AppFilter::All);
        benchmark::DoNotOptimize(store.filteredApps()->count());
    }
}

} // namespace

BENCHMARK(HomescreenLoad)->Arg(1000)->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(HomescreenSearch)->Arg(1000)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

SORVANE_BENCHMARK_MAIN()
