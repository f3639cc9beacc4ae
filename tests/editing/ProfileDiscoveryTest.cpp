#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"

#include "support/TestContext.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace {

QJsonObject json(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

// A user-data folder with these profile folders (each with its Preferences) and Local State.
QString userData(const TestContext &test, const QStringList &profiles, const QByteArray &localState)
{
    const QString folder = test.root() + u"/user-data"_s;
    for (const QString &profile : profiles)
        writeFile(folder + u'/' + profile + u"/Preferences"_s, "{}");
    if (!localState.isNull())
        writeFile(folder + u"/Local State"_s, localState);
    return folder;
}

} // namespace

TEST(SNProfileDiscovery, SettlesTheCurrentProfileFromLocalState)
{
    // clang-format off
    const struct { const char *name; QByteArray localState; QString current; QString expected; } rows[] = {
        {"last used", R"({"profile": {"last_used": "Profile 1"}})", {}, u"Profile 1"_s},
        {"first of the last active", R"({"profile": {"last_active_profiles": ["Profile 2", "Default"]}})", {}, u"Profile 2"_s},
        {"deleted profile replaced", R"({"profile": {"last_used": "Default"}})", u"Profile 9"_s, u"Default"_s},
        {"readable profile kept", R"({"profile": {"last_used": "Default"}})", u"Profile 1"_s, u"Profile 1"_s},
        {"hostile last used", R"({"profile": {"last_used": "../..", "last_active_profiles": ["Default"]}})", {}, u"Default"_s},
        {"hostile last active", R"({"profile": {"last_active_profiles": ["a/../../b"]}})", {}, {}},
        {"nothing to go by", R"({"profile": {"last_active_profiles": []}})", {}, {}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        SNProfileDiscovery discovery(userData(test, {u"Default"_s, u"Profile 1"_s, u"Profile 2"_s}, row.localState));
        discovery.setCurrentProfileKey(row.current);
        ASSERT_TRUE(discovery.getProfilesFromPath(discovery.localStatePath()));
        EXPECT_EQ(discovery.currentProfileKey(), row.expected);
    }
}

TEST(SNProfileDiscovery, LogsWhyItFoundNothing)
{
    // clang-format off
    // `linked` names a path below the user-data folder made a link to readable preferences outside.
    const struct { const char *name; QByteArray localState; QString key; QStringList lines; QString linked = {}; } rows[] = {
        {"no Local State", QByteArray(), {}, {u"Chrome profile not readable"_s, u"Could not read data from :%1/Local State"_s}},
        {"broken Local State", "{\"profile\": ", {}, {u"error:"_s}},
        {"no preferences", "{}", u"Profile 3"_s,
         {u"Chrome preferences not found at path: %1/Profile 3/Preferences"_s, u"could not read data from:%1/Profile 3/Preferences"_s}},
        {"linked preferences", "{}", u"Default"_s,
         {u"%1/Default/Preferences leads through a link and was not read"_s, u"could not read data from:%1/Default/Preferences"_s},
         u"Default/Preferences"_s},
        {"linked profile", "{}", u"Default"_s, {u"could not read data from:%1/Default/Preferences"_s}, u"Default"_s},
        {"linked Local State", {}, {}, {u"%1/Local State leads through a link and was not read"_s}, u"Local State"_s},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        TestContext test;
        const QString folder = userData(test, {u"Default"_s}, row.localState);
        if (!row.linked.isEmpty()) {
            const QString outside = test.root() + u"/outside/"_s + row.linked;
            writeFile(outside + (QFileInfo(folder + u'/' + row.linked).isDir() ? u"/Preferences"_s : QString()),
                      R"({"profile": {}, "extensions": {}})");
            QDir(folder + u'/' + row.linked).removeRecursively();
            QFile::remove(folder + u'/' + row.linked);
            ASSERT_TRUE(QFile::link(outside, folder + u'/' + row.linked));
        }
        SNProfileDiscovery discovery(folder);
        if (row.key.isEmpty()) {
            EXPECT_FALSE(discovery.getProfilesFromPath(discovery.localStatePath()));
        } else {
            discovery.setCurrentProfileKey(row.key);
            EXPECT_FALSE(discovery.getPreferenceJson());
        }
        for (const QString &line : row.lines) {
            const QString expected = line.contains(u"%1"_s) ? line.arg(folder) : line;
            EXPECT_TRUE(std::any_of(test.log().begin(), test.log().end(),
                                    [&](const QString &logged) { return logged.startsWith(expected); }))
                << expected.toStdString() << '\n' << test.log().join(u'\n').toStdString();
        }
    }
}

// Profiles come from the browser's own list, only with folders on disk, "Default" first and the
// rest in the browser's numbering; a key that would leave the folder is never listed.
TEST(SNProfileDiscovery, ListsTheProfilesThatExist)
{
    TestContext test;
    const QString folder =
        userData(test, {u"Default"_s, u"Profile 2"_s, u"Profile 10"_s, u"Guest"_s},
                 R"({"profile": {"info_cache": {"Profile 10": {"name": "Ten"}, "Default": {"name": "Person 1"},
                     "Profile 2": {"name": "Work"}, "Gone": {"name": "Deleted"}, "..": {"name": "Up"}},
                     "last_active_profiles": ["Guest"]}})");
    SNProfileDiscovery discovery(folder);
    QStringList listed;
    for (const ImportableProfile &profile : discovery.profiles())
        listed.append(profile.key + u'=' + profile.name);
    EXPECT_EQ(listed, (QStringList{u"Default=Person 1"_s, u"Guest=Guest"_s, u"Profile 2=Work"_s, u"Profile 10=Ten"_s}));
}

TEST(SNExtensionDiscovery, OffersStoreExtensionsAndPrunesTheOnesNotChosen)
{
    const QString manifest = uR"("manifest": {"name": "%1"})"_s;
    const QString extensionA(32, u'a');
    const QString extensionB(32, u'b');
    const QString extensionC(32, u'c');
    const QString extensionD(32, u'd');
    const QString extensionE(32, u'e');
    // A and E are offered; B came with the browser, C has no manifest, D was not installed from the
    // store. The last is not an extension id: never offered, so never kept.
    const QJsonObject preferences = json(uR"({"extensions": {"settings": {
        "%1": {"from_webstore": true, "was_installed_by_default": false, %6},
        "%2": {"from_webstore": true, "was_installed_by_default": true, %7},
        "%3": {"from_webstore": true},
        "%4": {"from_webstore": false, %7},
        "%5": {"from_webstore": true, %8},
        "../../x": {"from_webstore": true, %7}}}, "homepage": "https://example.org/"})"_s
                                             .arg(extensionA, extensionB, extensionC, extensionD, extensionE,
                                                  manifest.arg(u"Alpha"_s), manifest.arg(u"Other"_s),
                                                  manifest.arg(u"Echo"_s)));
    QStringList offered;
    for (const ImportableExtension &extension : SNExtensionDiscovery::offerableExtensions(preferences))
        offered.append(extension.id + u'=' + extension.name);
    EXPECT_EQ(offered, (QStringList{extensionA + u"=Alpha"_s, extensionE + u"=Echo"_s}));

    // clang-format off
    const struct { const char *name; QStringList chosen; QStringList kept; } rows[] = {
        {"none chosen", {}, {extensionB, extensionC, extensionD}},
        {"one chosen", {extensionE}, {extensionB, extensionC, extensionD, extensionE}},
        {"hostile one chosen", {u"../../x"_s, extensionB}, {extensionB, extensionC, extensionD}},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        QJsonObject pruned = preferences;
        SNExtensionDiscovery::getExtensions(pruned, row.chosen);
        EXPECT_EQ(pruned[u"extensions"_s][u"settings"_s].toObject().keys(), row.kept);
        EXPECT_EQ(pruned[u"homepage"_s], preferences[u"homepage"_s]);
    }
}

// Browsers that protect their extension records keep them in "Secure Preferences".
TEST(SNProfileDiscovery, ReadsExtensionRecordsFromSecurePreferences)
{
    TestContext test;
    const QString folder = userData(test, {}, "{}");
    const QByteArray record = R"({"extensions": {"settings": {"kkkkkkkkkkkkkkkkkkkkkkkkkkkkkkkk": %1}}})";
    writeFile(folder + u"/Default/Preferences"_s, QByteArray(record).replace("%1", R"({"manifest": {"name": "Keeper"}})"));
    writeFile(folder + u"/Default/Secure Preferences"_s,
              QByteArray(record).replace("%1", R"({"from_webstore": true, "manifest": {"name": "Old"}})"));
    SNProfileDiscovery discovery(folder);
    discovery.setCurrentProfileKey(u"Default"_s);
    const QList<ImportableExtension> offered =
        SNExtensionDiscovery::offerableExtensions(discovery.getPreferenceJson().value_or(QJsonObject()));
    ASSERT_EQ(offered.size(), 1);
    EXPECT_EQ(offered.first().name, u"Keeper"_s);
}
