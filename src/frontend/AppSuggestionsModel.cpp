#include "frontend/AppSuggestionsModel.h"

#include <algorithm>

AppSuggestionsModel::AppSuggestionsModel(QObject *parent) : QAbstractListModel(parent) {}

int AppSuggestionsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant AppSuggestionsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const AppSuggestion &suggestion = m_suggestions.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return suggestion.name;
    case IdRole:
        return suggestion.id;
    case UrlRole:
        return suggestion.url;
    case IconNameRole:
        return suggestion.iconName;
    case CategoryRole:
        return QVariant::fromValue(suggestion.category);
    case DescriptionRole:
        return suggestion.description;
    case TabsRole:
        return suggestion.tabValues();
    case IsPopularRole:
        return suggestion.isPopular;
    case IncognitoRole:
        return suggestion.incognito;
    case IsTemplateRole:
        return suggestion.isTemplate;
    case IsInstalledRole:
        return suggestion.isInstalled;
    default:
        return {};
    }
}

QHash<int, QByteArray> AppSuggestionsModel::roleNames() const
{
    return {{IdRole, "suggestionId"},
            {NameRole, "name"},
            {UrlRole, "url"},
            {IconNameRole, "iconName"},
            {CategoryRole, "category"},
            {DescriptionRole, "description"},
            {TabsRole, "tabs"},
            {IsPopularRole, "isPopular"},
            {IncognitoRole, "incognito"},
            {IsTemplateRole, "isTemplate"},
            {IsInstalledRole, "isInstalled"}};
}

void AppSuggestionsModel::setSuggestions(const QList<AppSuggestion> &suggestions)
{
    // A new app only moves the installed marks: change those rows in place, so that the views
    // keep their delegates instead of building every one again on the window's thread.
    const auto sameButMark = [](AppSuggestion shown, const AppSuggestion &next) {
        shown.isInstalled = next.isInstalled;
        return shown == next;
    };
    if (suggestions.size() == m_suggestions.size() &&
        std::equal(m_suggestions.cbegin(), m_suggestions.cend(), suggestions.cbegin(), sameButMark)) {
        for (qsizetype row = 0; row < suggestions.size(); ++row) {
            if (m_suggestions.at(row).isInstalled == suggestions.at(row).isInstalled)
                continue;
            m_suggestions[row].isInstalled = suggestions.at(row).isInstalled;
            const QModelIndex changed = index(int(row));
            Q_EMIT dataChanged(changed, changed, {IsInstalledRole});
        }
        return;
    }
    const qsizetype before = m_suggestions.size();
    beginResetModel();
    m_suggestions = suggestions;
    endResetModel();
    if (before != m_suggestions.size())
        Q_EMIT countChanged();
}
