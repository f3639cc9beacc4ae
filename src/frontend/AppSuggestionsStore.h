#pragma once

#include "frontend/AppCategory.h"
#include "frontend/AppSuggestion.h"
#include "frontend/AppTemplate.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

class AppSuggestionsModel;
class Context;
struct SNAppItem;

// The ready-made suggestions the wizard offers: "AppSuggestions.plist" from the generator's
// resources, or a small built-in list when that file cannot be read. `suggestions` lists the
// selected category (`all`, the first choice, lists every suggestion once).
//
// A suggestion is marked installed when one of the user's apps was made from it: an app of the
// same name (letter case aside), or one whose start address has the suggestion's host (letter
// case and a leading "www." aside). The marks follow the app list: they are renewed whenever it
// reloads ("AppItemsDidLoad") and when the wizard made or changed an app ("AppCreationCompleted").
class AppSuggestionsStore final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(AppSuggestionsModel *suggestions READ suggestions CONSTANT)
    Q_PROPERTY(AppCategory::Category selectedCategory READ selectedCategory WRITE setSelectedCategory NOTIFY
                   selectedCategoryChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    // A list of AppTemplate values.
    Q_PROPERTY(QVariantList templates READ templateValues NOTIFY templatesChanged)
    // Every category's label, in case order.
    Q_PROPERTY(QStringList categoryLabels READ categoryLabels CONSTANT)

public:
    static const QString ResourceName;

    // Loads the catalogue and the installed marks.
    explicit AppSuggestionsStore(Context &context, QObject *parent = nullptr);
    ~AppSuggestionsStore() override;

    AppSuggestionsModel *suggestions() const { return m_model; }
    AppCategory::Category selectedCategory() const { return m_selectedCategory; }
    void setSelectedCategory(AppCategory::Category category);
    bool isLoading() const { return m_isLoading; }
    QVariantList templateValues() const;
    QStringList categoryLabels() const;

    const QList<AppSuggestion> &allSuggestions() const { return m_allSuggestions; }
    const QList<AppTemplate> &templates() const { return m_templates; }
    // The suggestions of a category, in catalogue order.
    QList<AppSuggestion> suggestionsIn(AppCategory::Category category) const;

    Q_INVOKABLE void loadSuggestions();
    Q_INVOKABLE void refreshInstalledMarks();
    Q_INVOKABLE QString categoryLabel(AppCategory::Category category) const
    {
        return AppCategory::label(category);
    }
    // What choosing a suggestion puts into the wizard: appName, appURL, tabs (addresses),
    // isTabbedApp, incognito and iconName. Empty for an unknown id.
    Q_INVOKABLE QVariantMap wizardValues(const QString &suggestionId) const;

    // Whether `app` was made from `suggestion` (see the class comment).
    static bool isMadeFrom(const AppSuggestion &suggestion, const SNAppItem &app);

Q_SIGNALS:
    void selectedCategoryChanged();
    void isLoadingChanged();
    void templatesChanged();

private:
    void setLoading(bool loading);

    Context &m_context;
    AppSuggestionsModel *m_model;
    QList<AppSuggestion> m_allSuggestions;
    QList<AppTemplate> m_templates;
    AppCategory::Category m_selectedCategory = AppCategory::Category::All;
    bool m_isLoading = false;
};
