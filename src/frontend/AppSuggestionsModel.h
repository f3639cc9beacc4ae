#pragma once

#include "frontend/AppSuggestion.h"

#include <QAbstractListModel>
#include <QList>

// The suggestions a view lists: those of the chosen category.
class AppSuggestionsModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role
    {
        IdRole = Qt::UserRole + 1,
        NameRole,
        UrlRole,
        IconNameRole,
        CategoryRole,
        DescriptionRole,
        TabsRole,
        IsPopularRole,
        IncognitoRole,
        IsTemplateRole,
        IsInstalledRole,
    };
    Q_ENUM(Role)

    explicit AppSuggestionsModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_suggestions.size()); }

    const QList<AppSuggestion> &suggestions() const { return m_suggestions; }
    void setSuggestions(const QList<AppSuggestion> &suggestions);

Q_SIGNALS:
    void countChanged();

private:
    QList<AppSuggestion> m_suggestions;
};
