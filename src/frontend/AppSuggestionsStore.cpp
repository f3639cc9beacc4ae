#include "frontend/AppSuggestionsStore.h"
#include "core/WebAddress.h"

#include "core/Context.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/SNAppItem.h"
#include "frontend/AppSuggestionsCatalogue.h"
#include "frontend/AppSuggestionsModel.h"
#include "core/NotificationNames.h"
#include "maintenance/AppList.h"

#include <QDir>
#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;
using AppCategory::Category;

const QString AppSuggestionsStore::ResourceName = u"AppSuggestions.plist"_s;

namespace {

// The host of an address as typed or stored: a missing scheme means https; letter case and a
// leading "www." do not count.
QString normalisedHost(const QString &address)
{
    const QString trimmed = address.trimmed();
    if (trimmed.isEmpty())
        return {};
    const QUrl url(WebAddress::withScheme(trimmed));
    QString host = url.host().toLower();
    if (host.startsWith(u"www."_s))
        host.remove(0, 4);
    return host;
}

} // namespace

AppSuggestionsStore::AppSuggestionsStore(Context &context, QObject *parent)
    : QObject(parent), m_context(context), m_model(new AppSuggestionsModel(this))
{
    const auto renew = [this](const QVariantMap &) { refreshInstalledMarks(); };
    context.notifications().addObserver(NotificationNames::AppItemsDidLoad, this, renew);
    context.notifications().addObserver(NotificationNames::AppCreationCompleted, this, renew);
    loadSuggestions();
}

AppSuggestionsStore::~AppSuggestionsStore() = default;

void AppSuggestionsStore::setLoading(bool loading)
{
    if (m_isLoading == loading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void AppSuggestionsStore::loadSuggestions()
{
    setLoading(true);
    QString error;
    const auto catalogue =
        AppSuggestionsCatalogue::read(QDir(m_context.resourcesFolder()).filePath(ResourceName), &error);
    if (catalogue) {
        m_allSuggestions = catalogue->suggestions;
        m_templates = catalogue->templates;
    } else {
        Logger::log(u"Failed to load AppSuggestions.plist, falling back to hardcoded suggestions"_s);
        m_allSuggestions = AppSuggestionsCatalogue::builtInSuggestions();
        m_templates.clear();
    }
    Q_EMIT templatesChanged();
    refreshInstalledMarks();
    setLoading(false);
}

void AppSuggestionsStore::refreshInstalledMarks()
{
    const QList<SNAppItem> apps = AppList::loadAppItems(m_context);
    for (AppSuggestion &suggestion : m_allSuggestions) {
        suggestion.isInstalled = std::any_of(apps.cbegin(), apps.cend(),
                                             [&suggestion](const SNAppItem &app) { return isMadeFrom(suggestion, app); });
    }
    m_model->setSuggestions(suggestionsIn(m_selectedCategory));
}

bool AppSuggestionsStore::isMadeFrom(const AppSuggestion &suggestion, const SNAppItem &app)
{
    const QString name = app.name.trimmed().isEmpty() ? u"Unknown App"_s : app.name.trimmed();
    if (name.compare(suggestion.name, Qt::CaseInsensitive) == 0)
        return true;
    const QString host = normalisedHost(suggestion.url);
    if (host.isEmpty())
        return false;
    return std::any_of(app.urls.cbegin(), app.urls.cend(),
                       [&host](const QString &address) { return normalisedHost(address) == host; });
}

QList<AppSuggestion> AppSuggestionsStore::suggestionsIn(Category category) const
{
    if (category == Category::All)
        return m_allSuggestions;
    QList<AppSuggestion> selected;
    for (const AppSuggestion &suggestion : m_allSuggestions) {
        if (category == Category::Popular ? suggestion.isPopular : suggestion.category == category)
            selected.append(suggestion);
    }
    return selected;
}

void AppSuggestionsStore::setSelectedCategory(Category category)
{
    if (AppCategory::rawValue(category).isEmpty() || category == m_selectedCategory)
        return;
    m_selectedCategory = category;
    Q_EMIT selectedCategoryChanged();
    m_model->setSuggestions(suggestionsIn(category));
}

QVariantList AppSuggestionsStore::templateValues() const
{
    QVariantList list;
    for (const AppTemplate &appTemplate : m_templates)
        list.append(QVariant::fromValue(appTemplate));
    return list;
}

QStringList AppSuggestionsStore::categoryLabels() const
{
    QStringList labels;
    for (const Category category : AppCategory::all())
        labels.append(AppCategory::label(category));
    return labels;
}

QVariantMap AppSuggestionsStore::wizardValues(const QString &suggestionId) const
{
    for (const AppSuggestion &suggestion : m_allSuggestions) {
        if (suggestion.id != suggestionId)
            continue;
        const QStringList tabs = suggestion.tabUrls();
        return {
            {u"appName"_s, suggestion.name},
            {u"appURL"_s, suggestion.url},
            {u"tabs"_s, tabs},
            {u"isTabbedApp"_s, !tabs.isEmpty()},
            {u"incognito"_s, suggestion.incognito},
            {u"iconName"_s, suggestion.iconName},
        };
    }
    return {};
}
