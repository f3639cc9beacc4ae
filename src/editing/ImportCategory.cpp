#include "editing/ImportCategory.h"

using namespace Qt::Literals::StringLiterals;

namespace ImportCategories {

QString rawValue(ImportCategory category)
{
    switch (category) {
    case ImportCategory::Bookmarks:
        return u"bookmarks"_s;
    case ImportCategory::Extensions:
        return u"extensions"_s;
    case ImportCategory::Settings:
        return u"settings"_s;
    case ImportCategory::History:
        return u"history"_s;
    case ImportCategory::Passwords:
        return u"passwords"_s;
    }
    return {};
}

std::optional<ImportCategory> fromRawValue(const QString &text)
{
    for (const ImportCategory category : all()) {
        if (rawValue(category) == text)
            return category;
    }
    return std::nullopt;
}

QList<ImportCategory> all()
{
    return {ImportCategory::Bookmarks, ImportCategory::Extensions, ImportCategory::Settings, ImportCategory::History,
            ImportCategory::Passwords};
}

QList<ImportCategory> defaults()
{
    return {ImportCategory::Bookmarks, ImportCategory::Extensions, ImportCategory::Settings};
}

QStringList rawValues(const QList<ImportCategory> &categories)
{
    QStringList names;
    for (const ImportCategory category : categories)
        names.append(rawValue(category));
    return names;
}

QList<ImportCategory> fromSavedList(const QStringList &names)
{
    QList<ImportCategory> categories;
    for (const QString &name : names) {
        const std::optional<ImportCategory> category = fromRawValue(name);
        if (category && !categories.contains(*category))
            categories.append(*category);
    }
    return categories.isEmpty() ? defaults() : categories;
}

} // namespace ImportCategories
