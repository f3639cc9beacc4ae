#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <optional>

// Where a suggestion is listed. Raw values are the lower-case case names ("popular", "ai", ...),
// as the suggestions resource writes them; labels are what a view shows ("Popular", "AI", ...).
namespace AppCategory {
Q_NAMESPACE

enum class Category
{
    Popular,
    All,
    Workspaces,
    Ai,
    Communication,
    Productivity,
    Design,
    Development,
    Entertainment,
    Social,
    Finance,
    Education,
    Other,
};
Q_ENUM_NS(Category)

// Every category, in case order.
QList<Category> all();
QString rawValue(Category category);
QString label(Category category);
std::optional<Category> fromRawValue(const QString &text);
// The category of a row of the resource: "popular apps", "social media", or a category's raw
// value ("design", "ai", ...; not "all"), letter case aside.
std::optional<Category> fromRowName(const QString &rowName);

} // namespace AppCategory
