#include "frontend/AppCategory.h"

using namespace Qt::Literals::StringLiterals;

namespace AppCategory {

namespace {

struct Names
{
    Category category;
    QString raw;
    QString label;
};

const QList<Names> &names()
{
    static const QList<Names> table{
        {Category::Popular, u"popular"_s, u"Popular"_s},
        {Category::All, u"all"_s, u"All"_s},
        {Category::Workspaces, u"workspaces"_s, u"Workspaces"_s},
        {Category::Ai, u"ai"_s, u"AI"_s},
        {Category::Communication, u"communication"_s, u"Communication"_s},
        {Category::Productivity, u"productivity"_s, u"Productivity"_s},
        {Category::Design, u"design"_s, u"Design"_s},
        {Category::Development, u"development"_s, u"Development"_s},
        {Category::Entertainment, u"entertainment"_s, u"Entertainment"_s},
        {Category::Social, u"social"_s, u"Social"_s},
        {Category::Finance, u"finance"_s, u"Finance"_s},
        {Category::Education, u"education"_s, u"Education"_s},
        {Category::Other, u"other"_s, u"Other"_s},
    };
    return table;
}

} // namespace

QList<Category> all()
{
    QList<Category> categories;
    for (const Names &entry : names())
        categories.append(entry.category);
    return categories;
}

QString rawValue(Category category)
{
    for (const Names &entry : names()) {
        if (entry.category == category)
            return entry.raw;
    }
    return {};
}

QString label(Category category)
{
    for (const Names &entry : names()) {
        if (entry.category == category)
            return entry.label;
    }
    return {};
}

std::optional<Category> fromRawValue(const QString &text)
{
    for (const Names &entry : names()) {
        if (entry.raw == text)
            return entry.category;
    }
    return std::nullopt;
}

std::optional<Category> fromRowName(const QString &rowName)
{
    const QString name = rowName.trimmed().toLower();
    if (name == u"popular apps"_s)
        return Category::Popular;
    if (name == u"social media"_s)
        return Category::Social;
    // Any other category's own name works too, so a row of AI tools can be "ai".
    const std::optional<Category> named = fromRawValue(name);
    if (named && *named != Category::All)
        return named;
    return std::nullopt;
}

} // namespace AppCategory
