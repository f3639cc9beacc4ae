#include "frontend/AppSuggestionsCatalogue.h"

#include "core/Logger.h"
#include "core/PropertyList.h"

#include <QRegularExpression>
#include <QUrl>
#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;
using AppCategory::Category;

namespace {

const QString UnknownName = u"Unknown App"_s;
const QString FallbackDescription = u"Web application"_s;

QString text(const QVariantMap &map, const QString &key)
{
    const QVariant value = map.value(key);
    return value.typeId() == QMetaType::QString ? value.toString().trimmed() : QString();
}

bool flag(const QVariantMap &map, const QString &key)
{
    const QVariant value = map.value(key);
    return value.typeId() == QMetaType::Bool && value.toBool();
}

// Icon keys and image names become file names in a view: plain names only, never a path.
QString imageName(const QVariantMap &map, const QString &key)
{
    static const QRegularExpression plain(u"^[A-Za-z0-9_][A-Za-z0-9._-]*$"_s);
    const QString name = text(map, key);
    return plain.match(name).hasMatch() ? name : QString();
}

// A stable key when the resource gives none: the name in lower case, words joined by "-".
QString idFor(const QString &given, const QString &name)
{
    if (!given.isEmpty())
        return given.toLower();
    static const QRegularExpression separators(u"[^a-z0-9]+"_s);
    QString derived = name.toLower().replace(separators, u"-"_s);
    while (derived.startsWith(u'-'))
        derived.remove(0, 1);
    while (derived.endsWith(u'-'))
        derived.chop(1);
    return derived;
}

QList<TabConfiguration> tabsOf(const QVariant &value)
{
    QList<TabConfiguration> tabs;
    for (const QVariant &entry : value.toList()) {
        const QVariantMap tab = entry.toMap();
        const QString url = text(tab, u"url"_s);
        if (AppSuggestionsCatalogue::isWebAddress(url))
            tabs.append({text(tab, u"name"_s), url});
    }
    return tabs;
}

std::optional<AppSuggestion> suggestionOf(const QVariantMap &item, std::optional<Category> rowCategory)
{
    AppSuggestion suggestion;
    suggestion.name = text(item, u"name"_s);
    if (suggestion.name.isEmpty())
        suggestion.name = UnknownName;
    suggestion.id = idFor(text(item, u"id"_s), suggestion.name);
    suggestion.tabs = tabsOf(item.value(u"tabs"_s));
    suggestion.url = text(item, u"url"_s);
    if (suggestion.url.isEmpty() && !suggestion.tabs.isEmpty())
        suggestion.url = suggestion.tabs.constFirst().url;
    if (suggestion.id.isEmpty() || !AppSuggestionsCatalogue::isWebAddress(suggestion.url))
        return std::nullopt;
    suggestion.iconName = imageName(item, u"iconName"_s);
    suggestion.description = text(item, u"description"_s);
    if (suggestion.description.isEmpty())
        suggestion.description = FallbackDescription;
    const auto category = AppCategory::fromRawValue(text(item, u"category"_s));
    // Popular and all are views over the others, never an item's own place.
    if (category && *category != Category::Popular && *category != Category::All)
        suggestion.category = *category;
    else if (rowCategory && *rowCategory != Category::Popular)
        suggestion.category = *rowCategory;
    suggestion.isPopular = flag(item, u"isPopular"_s) || rowCategory == Category::Popular;
    suggestion.incognito = flag(item, u"incognito"_s);
    suggestion.isTemplate = !suggestion.tabs.isEmpty();
    return suggestion;
}

void addOnce(QList<AppSuggestion> &list, const AppSuggestion &suggestion)
{
    for (AppSuggestion &known : list) {
        if (known.id == suggestion.id) {
            known.isPopular = known.isPopular || suggestion.isPopular;
            return;
        }
    }
    list.append(suggestion);
}

QList<AppSuggestion> suggestionsOfRows(const QVariant &rows)
{
    QList<AppSuggestion> suggestions;
    for (const QVariant &entry : rows.toList()) {
        const QVariantMap row = entry.toMap();
        const std::optional<Category> rowCategory = AppCategory::fromRowName(text(row, u"rowName"_s));
        for (const QVariant &item : row.value(u"items"_s).toList()) {
            if (const auto suggestion = suggestionOf(item.toMap(), rowCategory))
                addOnce(suggestions, *suggestion);
        }
    }
    return suggestions;
}

std::optional<AppTemplate> templateOf(const QVariantMap &entry)
{
    AppTemplate result;
    result.name = text(entry, u"name"_s);
    if (result.name.isEmpty())
        result.name = UnknownName;
    result.id = idFor(text(entry, u"id"_s), result.name);
    result.tabs = tabsOf(entry.value(u"tabs"_s));
    if (result.id.isEmpty() || result.tabs.isEmpty())
        return std::nullopt;
    result.description = text(entry, u"description"_s);
    if (result.description.isEmpty())
        result.description = FallbackDescription;
    result.iconName = imageName(entry, u"iconName"_s);
    const auto category = AppCategory::fromRawValue(text(entry, u"category"_s));
    if (category && *category != Category::Popular && *category != Category::All)
        result.category = *category;
    result.incognito = flag(entry, u"incognito"_s);
    return result;
}

AppSuggestion suggestionOfTemplate(const AppTemplate &appTemplate)
{
    AppSuggestion suggestion;
    suggestion.id = appTemplate.id;
    suggestion.name = appTemplate.name;
    suggestion.url = appTemplate.tabs.constFirst().url;
    suggestion.iconName = appTemplate.iconName;
    suggestion.category = appTemplate.category;
    suggestion.description = appTemplate.description;
    suggestion.tabs = appTemplate.tabs;
    suggestion.incognito = appTemplate.incognito;
    suggestion.isTemplate = true;
    return suggestion;
}

} // namespace

bool AppSuggestionsCatalogue::isWebAddress(const QString &url)
{
    const QUrl parsed(url, QUrl::StrictMode);
    return parsed.isValid() && (parsed.scheme() == u"https"_s || parsed.scheme() == u"http"_s) &&
           !parsed.host().isEmpty();
}

std::optional<AppSuggestionsCatalogue> AppSuggestionsCatalogue::read(const QString &path, QString *error)
{
    QString reason;
    const QVariant root = PropertyList::readFile(path, &reason);
    if (root.typeId() != QMetaType::QVariantMap) {
        if (error)
            *error = reason.isEmpty() ? u"not a dictionary"_s : reason;
        return std::nullopt;
    }
    const QVariantMap plist = root.toMap();

    AppSuggestionsCatalogue catalogue;
    const QVariantMap mappings = plist.value(u"IconMappings"_s).toMap();
    for (auto it = mappings.cbegin(); it != mappings.cend(); ++it) {
        const QString image = imageName(mappings, it.key());
        if (!image.isEmpty())
            catalogue.iconMappings.insert(it.key(), image);
    }
    const QVariantList templates = plist.value(u"Templates"_s).toList();
    for (const QVariant &entry : templates) {
        if (const auto appTemplate = templateOf(entry.toMap()))
            catalogue.templates.append(*appTemplate);
    }
    Logger::log(u"Loaded %1 templates from plist"_s.arg(catalogue.templates.size()));

    catalogue.suggestions = suggestionsOfRows(plist.value(u"SuggestionsAll"_s));
    for (const AppTemplate &appTemplate : std::as_const(catalogue.templates))
        addOnce(catalogue.suggestions, suggestionOfTemplate(appTemplate));
    if (catalogue.suggestions.isEmpty()) {
        if (error)
            *error = u"no suggestions"_s;
        return std::nullopt;
    }
    return catalogue;
}

QList<AppSuggestion> AppSuggestionsCatalogue::builtInSuggestions()
{
    const auto entry = [](const QString &id, const QString &name, const QString &url, Category category,
                          const QString &description) {
        AppSuggestion suggestion;
        suggestion.id = id;
        suggestion.name = name;
        suggestion.url = url;
        suggestion.iconName = id;
        suggestion.category = category;
        suggestion.description = description;
        return suggestion;
    };
    return {
        entry(u"chatgpt"_s, u"ChatGPT"_s, u"https://chatgpt.com/"_s, Category::Ai,
              u"Advanced AI assistant for conversation and tasks"_s),
        entry(u"gmail"_s, u"Gmail"_s, u"https://mail.google.com/"_s, Category::Productivity,
              u"Google's email service"_s),
        entry(u"slack"_s, u"Slack"_s, u"https://app.slack.com/"_s, Category::Communication,
              u"Team collaboration and messaging"_s),
        entry(u"notion"_s, u"Notion"_s, u"https://www.notion.so/"_s, Category::Productivity,
              u"All-in-one workspace for notes and collaboration"_s),
        entry(u"figma"_s, u"Figma"_s, u"https://www.figma.com/"_s, Category::Design,
              u"Collaborative design tool"_s),
        entry(u"github"_s, u"GitHub"_s, u"https://github.com/"_s, Category::Development,
              u"Code repository and collaboration platform"_s),
        entry(u"google-workspace"_s, u"Google Workspace"_s, u"https://workspace.google.com/dashboard"_s,
              Category::Productivity, u"Complete Google productivity suite"_s),
        entry(u"whatsapp"_s, u"WhatsApp"_s, u"https://web.whatsapp.com/"_s, Category::Communication,
              u"WhatsApp messaging for web"_s),
    };
}
