// Browser profile discovery on this machine, over a user-data folder of 20 profiles whose
// preferences hold 40 extension records each (about 70 KB, as a profile in daily use):
//   ListProfiles/20                the profiles a new app can start from (Local State, folders)
//   ListProfilesWithExtensions/20  the same with each profile's offerable extensions, as
//                                  `sorvane profiles` prints them
// Run: build/default/bench/profiles_bench (medians of the repetitions are printed).

#include "BenchMain.h"
#include "core/Logger.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

using namespace Qt::Literals::StringLiterals;

void write(const QString &path, const QJsonObject &object)
{
    QDir().mkpath(path.left(path.lastIndexOf(u'/')));
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// Made as the browser makes them: the hexadecimal digits of a hash, written with a to p.
QString extensionId(int profile, int extension)
{
    const QByteArray hex =
        QCryptographicHash::hash(QByteArray::number(profile * 100 + extension), QCryptographicHash::Md5).toHex();
    QString id;
    for (const char digit : hex)
        id.append(QChar(u'a' + QByteArray(1, digit).toInt(nullptr, 16)));
    return id;
}

// A user-data folder with `count` profiles.
void makeUserData(const QString &folder, int count)
{
    QJsonObject infoCache;
    for (int p = 0; p < count; ++p) {
        const QString key = p == 0 ? u"Default"_s : u"Profile %1"_s.arg(p);
        infoCache.insert(key, QJsonObject{{u"name"_s, u"Person %1"_s.arg(p)}, {u"avatar_icon"_s, u"chrome://theme/IDR_PROFILE_AVATAR_26"_s}});
        QJsonObject settings;
        for (int e = 0; e < 40; ++e) {
            settings.insert(extensionId(p, e),
                            QJsonObject{{u"from_webstore"_s, e % 4 != 0},
                                        {u"was_installed_by_default"_s, e % 10 == 1},
                                        {u"manifest"_s, QJsonObject{{u"name"_s, u"Extension %1"_s.arg(e)},
                                                                    {u"description"_s, QString(1500, u'd')},
                                                                    {u"version"_s, u"1.2.3"_s}}}});
        }
        write(folder + u'/' + key + u"/Preferences"_s,
              QJsonObject{{u"extensions"_s, QJsonObject{{u"settings"_s, settings}}},
                          {u"homepage"_s, u"https://example.org/"_s}});
    }
    write(folder + u"/Local State"_s,
          QJsonObject{{u"profile"_s, QJsonObject{{u"info_cache"_s, infoCache},
                                                {u"last_used"_s, u"Default"_s},
                                                {u"last_active_profiles"_s, QJsonArray{u"Default"_s}}}}});
}

void ListProfiles(benchmark::State &state)
{
    QTemporaryDir root;
    makeUserData(root.path(), static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SNProfileDiscovery discovery(root.path());
        benchmark::DoNotOptimize(discovery.profiles());
    }
}

void ListProfilesWithExtensions(benchmark::State &state)
{
    QTemporaryDir root;
    makeUserData(root.path(), static_cast<int>(state.range(0)));
    for (auto _ : state) {
        SNProfileDiscovery discovery(root.path());
        qsizetype offered = 0;
        for (const ImportableProfile &profile : discovery.profiles())
            offered += SNExtensionDiscovery::offerableExtensions(discovery.preferencesOf(profile.key).value_or(QJsonObject())).size();
        if (offered == 0)
            state.SkipWithError("no extensions offered");
        benchmark::DoNotOptimize(offered);
    }
}

} // namespace

BENCHMARK(ListProfiles)->Arg(20)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();
BENCHMARK(ListProfilesWithExtensions)->Arg(20)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

SORVANE_BENCHMARK_MAIN()
