#pragma once

#include "frontend/AppSuggestion.h"
#include "frontend/AppTemplate.h"

#include <QList>
#include <QMap>
#include <QString>

#include <optional>

// The suggestions resource read into values. The file is a property-list dictionary:
//   "IconMappings"   icon key -> image name
//   "Templates"      template dictionaries (see AppTemplate)
//   "SuggestionsAll" rows {"rowName", "items"}: the full catalogue
//   "SuggestionsLess" rows of the same form for a compact view; no view shows it, so it is not read
// An item carries "id", "name", "url", "iconName", "category" (a raw AppCategory value),
// "description" and optionally "isPopular", "incognito" and "tabs". An item without a category
// takes its row's; every item of the "popular apps" row is popular. An item whose address is not
// an http(s) address with a host is left out, as is a template without such a tab. Items are kept
// once per id, the first time they appear; a later popular appearance still marks them popular.
// Templates are listed among the suggestions as well, marked `isTemplate`. Icon keys and image
// names that are not plain names (letters, digits, ".", "_", "-") are dropped.
struct AppSuggestionsCatalogue
{
    QList<AppSuggestion> suggestions;
    QList<AppTemplate> templates;
    QMap<QString, QString> iconMappings;

    // Empty, with the reason, when the file cannot be read, is not a dictionary or lists no
    // suggestion at all.
    static std::optional<AppSuggestionsCatalogue> read(const QString &path, QString *error = nullptr);
    // Stands in when the resource cannot be read.
    static QList<AppSuggestion> builtInSuggestions();
    // True for an http or https address with a host.
    static bool isWebAddress(const QString &url);
};
