#include "frontend/AppSuggestionsCatalogue.h"
#include "frontend/AppSuggestionsModel.h"
#include "frontend/AppSuggestionsStore.h"

#include "core/NotificationCenter.h"
#include "core/PropertyList.h"
#include "core/SNAppItem.h"
#include "core/SNAppTracker.h"
#include "core/UserDefaults.h"
#include "support/TestContext.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using AppCategory::Category;

namespace {

// A context whose generator resources are a folder of the test's own.
struct ResourcesContext
{
    TestContext test;
    std::unique_ptr<Context> context;

    ResourcesContext()
    {
        Context::Folders folders{test.home(), test.supportFolder(), test.root() + u"/resources"_s};
        context =
            std::make_unique<Context>(folders, std::make_unique<UserDefaults>(test.root() + u"/s.ini"_s));
    }
    QString resource() const { return context->resourcesFolder() + u"/AppSuggestions.plist"_s; }
};

QStringList ids(const QList<AppSuggestion> &suggestions)
{
    QStringList list;
    for (const AppSuggestion &suggestion : suggestions)
        list.append(suggestion.id);
    return list;
}

QVariantMap item(const QString &id, const QString &name, const QString &url, const QString &category)
{
    return {{u"id"_s, id},
            {u"name"_s, name},
            {u"url"_s, url},
            {u"category"_s, category},
            {u"iconName"_s, id.toLower()}};
}

// A small resource with the awkward cases of a hand-edited file.
QVariantMap smallCatalogue()
{
    QVariantMap noName = item(u"anon"_s, {}, u"https://anon.example/"_s, u"other"_s);
    noName.remove(u"name"_s);
    noName.insert(u"iconName"_s, u"../../secret"_s);
    const QVariantList tabs{QVariantMap{{u"name"_s, u"One"_s}, {u"url"_s, u"https://one.example/"_s}},
                            QVariantMap{{u"name"_s, u"Bad"_s}, {u"url"_s, u"file:///etc/passwd"_s}},
                            QVariantMap{{u"name"_s, u"Two"_s}, {u"url"_s, u"https://two.example/"_s}}};
    return {
        {u"IconMappings"_s, QVariantMap{{u"mail"_s, u"suggestion-mail"_s}, {u"chat"_s, u"/etc/passwd"_s}}},
        {u"Templates"_s,
         QVariantList{
             QVariantMap{
                 {u"id"_s, u"pair"_s}, {u"name"_s, u"Pair"_s}, {u"incognito"_s, true}, {u"tabs"_s, tabs}},
             QVariantMap{{u"id"_s, u"empty"_s},
                         {u"name"_s, u"Empty"_s},
                         {u"tabs"_s, QVariantList{QVariantMap{{u"url"_s, u"javascript:alert(1)"_s}}}}},
         }},
        {u"SuggestionsAll"_s,
         QVariantList{
             QVariantMap{{u"rowName"_s, u"popular apps"_s},
                         {u"items"_s, QVariantList{item(u"Mail"_s, u"Mail"_s, u"https://mail.example/"_s,
                                                        u"productivity"_s)}}},
             QVariantMap{{u"rowName"_s, u"productivity"_s},
                         {u"items"_s,
                          QVariantList{
                              item(u"mail"_s, u"Mail again"_s, u"https://mail.example/"_s, u"productivity"_s),
                              item(u"script"_s, u"Script"_s, u"javascript:alert(1)"_s, u"productivity"_s),
                              item(u"nohost"_s, u"No host"_s, u"https://"_s, u"productivity"_s)}}},
             QVariantMap{
                 {u"rowName"_s, u"social media"_s},
                 {u"items"_s,
                  QVariantList{item(u"chat"_s, u"Chat"_s, u"https://chat.example/"_s, u"bogus"_s), noName}}},
         }},
    };
}

} // namespace

TEST(AppSuggestionsStore, AMissingOrUnreadableResourceGivesTheEightBuiltInSuggestions)
{
    // clang-format off
    const struct { const char *name; QByteArray content; } cases[] = {
        {"missing", {}},
        {"not a property list", "<html>nope</html>"},
        {"an array", R"(<?xml version="1.0"?><plist version="1.0"><array/></plist>)"},
        {"a dictionary without suggestions", R"(<?xml version="1.0"?><plist version="1.0"><dict/></plist>)"},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ResourcesContext env;
        if (!c.content.isEmpty())
            writeFile(env.resource(), c.content);
        AppSuggestionsStore store(*env.context);
        EXPECT_EQ(ids(store.allSuggestions()),
                  QStringList({u"chatgpt"_s, u"gmail"_s, u"slack"_s, u"notion"_s, u"figma"_s, u"github"_s,
                               u"google-workspace"_s, u"whatsapp"_s}));
        EXPECT_EQ(store.suggestions()->count(), 8);
        EXPECT_TRUE(env.test.log().contains(
            u"Failed to load AppSuggestions.plist, falling back to hardcoded suggestions"_s));
        for (const AppSuggestion &suggestion : store.allSuggestions())
            EXPECT_TRUE(AppSuggestionsCatalogue::isWebAddress(suggestion.url))
                << suggestion.url.toStdString();
    }
}

TEST(AppSuggestionsStore, ReadsRowsTemplatesAndAwkwardItems)
{
    ResourcesContext env;
    QDir().mkpath(env.context->resourcesFolder());
    ASSERT_TRUE(PropertyList::writeFile(env.resource(), smallCatalogue()));
    AppSuggestionsStore store(*env.context);

    // Mail is listed once and is popular; bad addresses are left out; the template joins the list.
    EXPECT_EQ(ids(store.allSuggestions()), QStringList({u"mail"_s, u"chat"_s, u"anon"_s, u"pair"_s}));
    const AppSuggestion &mail = store.allSuggestions().at(0);
    EXPECT_TRUE(mail.isPopular);
    EXPECT_EQ(mail.name, u"Mail"_s);
    EXPECT_EQ(mail.description, u"Web application"_s);
    EXPECT_EQ(store.allSuggestions().at(1).category, Category::Social); // unknown category: the row's
    EXPECT_EQ(store.allSuggestions().at(2).name, u"Unknown App"_s);
    EXPECT_TRUE(store.allSuggestions().at(2).iconName.isEmpty());
    const AppSuggestion &pair = store.allSuggestions().at(3);
    EXPECT_TRUE(pair.isTemplate);
    EXPECT_EQ(pair.category, Category::Workspaces);
    EXPECT_EQ(pair.tabUrls(), QStringList({u"https://one.example/"_s, u"https://two.example/"_s}));

    // clang-format off
    const struct { Category category; QStringList ids; } cases[] = {
        {Category::All, {u"mail"_s, u"chat"_s, u"anon"_s, u"pair"_s}},
        {Category::Popular, {u"mail"_s}},
        {Category::Productivity, {u"mail"_s}},
        {Category::Social, {u"chat"_s}},
        {Category::Other, {u"anon"_s}},
        {Category::Workspaces, {u"pair"_s}},
        {Category::Finance, {}},
    };
    // clang-format on
    QSignalSpy selected(&store, &AppSuggestionsStore::selectedCategoryChanged);
    for (const auto &c : cases) {
        SCOPED_TRACE(AppCategory::label(c.category).toStdString());
        store.setSelectedCategory(c.category);
        QStringList listed;
        for (int row = 0; row < store.suggestions()->rowCount(); ++row)
            listed.append(store.suggestions()->index(row).data(AppSuggestionsModel::IdRole).toString());
        EXPECT_EQ(listed, c.ids);
    }
    EXPECT_EQ(selected.count(), 6); // "all" was already selected

    const QVariantMap chosen = store.wizardValues(u"pair"_s);
    EXPECT_EQ(chosen.value(u"appName"_s), QVariant(u"Pair"_s));
    EXPECT_EQ(chosen.value(u"appURL"_s), QVariant(u"https://one.example/"_s));
    EXPECT_EQ(chosen.value(u"tabs"_s).toStringList().size(), 2);
    EXPECT_TRUE(chosen.value(u"isTabbedApp"_s).toBool());
    EXPECT_TRUE(chosen.value(u"incognito"_s).toBool());
    EXPECT_TRUE(store.wizardValues(u"nothing"_s).isEmpty());
}

TEST(AppSuggestionsStore, AnAppIsMadeFromASuggestionOfTheSameNameOrHost)
{
    AppSuggestion gmail;
    gmail.name = u"Gmail"_s;
    gmail.url = u"https://mail.google.com/"_s;
    const auto app = [](const QString &name, const QStringList &urls) {
        SNAppItem item;
        item.name = name;
        item.urls = urls;
        return item;
    };
    // clang-format off
    const struct { const char *name; SNAppItem app; bool madeFrom; } cases[] = {
        {"same name, other letter case", app(u"gmail"_s, {u"https://elsewhere.example/"_s}), true},
        {"same host without a scheme", app(u"Mail"_s, {u"mail.google.com/mail/u/0"_s}), true},
        {"same host, upper case and www", app(u"Mail"_s, {u"HTTPS://WWW.MAIL.GOOGLE.COM"_s}), true},
        {"host among the tabs", app(u"Work"_s, {u"https://calendar.google.com/"_s, u"https://mail.google.com/"_s}), true},
        {"a sibling host", app(u"Docs"_s, {u"https://docs.google.com/"_s}), false},
        {"the host only in the path", app(u"Proxy"_s, {u"https://proxy.example/mail.google.com"_s}), false},
        {"no name, no address", app({}, {}), false},
    };
    // clang-format on
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(AppSuggestionsStore::isMadeFrom(gmail, c.app), c.madeFrom);
    }
}

TEST(AppSuggestionsStore, InstalledMarksFollowTheUsersApps)
{
    ResourcesContext env;
    QDir().mkpath(env.context->resourcesFolder());
    const QVariantList items{item(u"example"_s, u"Example"_s, u"https://www.example.com/start"_s, u"other"_s),
                             item(u"new"_s, u"New Site"_s, u"https://new.example.com/"_s, u"other"_s)};
    ASSERT_TRUE(PropertyList::writeFile(
        env.resource(), QVariantMap{{u"SuggestionsAll"_s, QVariantList{QVariantMap{{u"items"_s, items}}}}}));
    AppSuggestionsStore store(*env.context);
    ASSERT_EQ(store.allSuggestions().size(), 2);
    EXPECT_FALSE(store.allSuggestions().at(0).isInstalled);

    // An app on example.com appears in the registry, and the app list says it reloaded.
    const QString bundle = env.test.root() + u"/apps/Site.app"_s;
    writeFile(bundle + u"/Contents/Resources/script"_s,
              readAll(fixturePath(u"scripts/chrome-single-window.golden"_s)));
    ASSERT_TRUE(SNAppTracker(*env.context).updateAppTracker(u"5D7E4B1C-0000-4000-8000-000000000001"_s, bundle));
    // Only the marked row changes: the views keep every delegate.
    QSignalSpy reset(store.suggestions(), &QAbstractItemModel::modelReset);
    QSignalSpy changed(store.suggestions(), &QAbstractItemModel::dataChanged);
    env.context->notifications().post(u"AppItemsDidLoad"_s);

    EXPECT_EQ(reset.count(), 0);
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(0).toModelIndex().row(), 0);
    EXPECT_TRUE(store.allSuggestions().at(0).isInstalled);
    EXPECT_FALSE(store.allSuggestions().at(1).isInstalled);
    EXPECT_TRUE(store.suggestions()->index(0).data(AppSuggestionsModel::IsInstalledRole).toBool());
}

// The shipped resource is a property list another reader takes too, and ours drops none of its
// entries: a mistyped entry would silently vanish from the list.
TEST(AppSuggestionsStore, TheShippedCatalogueLoadsWhole)
{
    const QString path = Context::locateResources() + u"/AppSuggestions.plist"_s;
    const QJsonObject plist = QJsonDocument::fromJson(plistAsJsonFromPython(path)).object();
    ASSERT_FALSE(plist.isEmpty()) << "plistlib could not read " << path.toStdString();
    QSet<QString> shipped;
    for (const QJsonValue &row : plist.value(u"SuggestionsAll"_s).toArray())
        for (const QJsonValue &entry : row[u"items"_s].toArray())
            shipped.insert(entry[u"id"_s].toString());
    QMap<QString, qsizetype> shippedTabs, readTabs;
    for (const QJsonValue &entry : plist.value(u"Templates"_s).toArray()) {
        shipped.insert(entry[u"id"_s].toString());
        shippedTabs.insert(entry[u"id"_s].toString(), entry[u"tabs"_s].toArray().size());
    }

    TestContext test;
    AppSuggestionsStore store(test.context());
    const QStringList read = ids(store.allSuggestions());
    EXPECT_EQ(read.size(), shipped.size());
    EXPECT_EQ(QSet<QString>(read.cbegin(), read.cend()), shipped);
    for (const AppTemplate &appTemplate : store.templates())
        readTabs.insert(appTemplate.id, appTemplate.tabs.size());
    EXPECT_EQ(readTabs, shippedTabs);
    EXPECT_FALSE(
        test.log().contains(u"Failed to load AppSuggestions.plist, falling back to hardcoded suggestions"_s));
}
