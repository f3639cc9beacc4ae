#pragma once

#include "editing/ImportBrowserDataJob.h"
#include "editing/ImportSummary.h"
#include "frontend/ChoiceListModel.h"

#include <QObject>
#include <QSet>
#include <QStringList>
#include <QVariantMap>

#include <optional>

class Context;
class WizardDraft;

// What a new app takes over from the user's browser (the one the draft runs on): whether it takes
// anything, from which profile, which kinds of data and which of the profile's extensions; and,
// once taken, what came over. The browser's profiles and extensions are read in the background.
class WizardImportChoices final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool importEnabled MEMBER m_importEnabled NOTIFY importEnabledChanged)
    Q_PROPERTY(ChoiceListModel *availableImportProfiles READ availableImportProfiles CONSTANT)
    Q_PROPERTY(QString selectedImportProfileKey READ selectedImportProfileKey WRITE setSelectedImportProfileKey NOTIFY selectedImportProfileKeyChanged)
    Q_PROPERTY(QStringList importCategories READ importCategories WRITE setImportCategories NOTIFY importCategoriesChanged)
    Q_PROPERTY(QStringList allImportCategories READ allImportCategories CONSTANT)
    Q_PROPERTY(bool isLoadingImportProfiles READ isLoadingImportProfiles NOTIFY importStateChanged)
    Q_PROPERTY(ChoiceListModel *availableImportExtensions READ availableImportExtensions CONSTANT)
    Q_PROPERTY(bool isLoadingImportExtensions READ isLoadingImportExtensions NOTIFY importStateChanged)
    Q_PROPERTY(QVariantMap lastImportSummary READ lastImportSummary NOTIFY importStateChanged)
    Q_PROPERTY(QStringList importMessages READ importMessages NOTIFY importStateChanged)

public:
    WizardImportChoices(Context &context, const WizardDraft &draft, QObject *parent = nullptr);

    // Whether to import, and which kinds, from the user's settings.
    void loadDefaults();
    // The import into the new app at `bundlePath`, as chosen.
    ImportBrowserDataRequest request(const QString &bundlePath) const;
    void setSummary(const ImportSummary &summary);

    bool importEnabled() const { return m_importEnabled; }
    ChoiceListModel *availableImportProfiles() const { return m_profiles; }
    QString selectedImportProfileKey() const { return m_selectedProfileKey; }
    void setSelectedImportProfileKey(const QString &key);
    QStringList importCategories() const { return m_categories; }
    // Keeps the known kinds, in their fixed order.
    void setImportCategories(const QStringList &categories);
    static QStringList allImportCategories();
    bool isLoadingImportProfiles() const { return m_isLoadingProfiles; }
    ChoiceListModel *availableImportExtensions() const { return m_extensions; }
    bool isLoadingImportExtensions() const { return m_isLoadingExtensions; }
    QVariantMap lastImportSummary() const;
    QStringList importMessages() const;

Q_SIGNALS:
    void importEnabledChanged();
    void selectedImportProfileKeyChanged();
    void importCategoriesChanged();
    void importStateChanged();

private:
    void loadProfiles();
    void loadExtensions();
    // The ticks of the extension list are kept for the next app (`usersExtension`).
    QSet<QString> rememberedExtensions() const;
    void rememberExtensionTicks();
    // The chosen browser's user-data folder, which profiles and data are taken from.
    QString sourceFolder() const;

    Context &m_context;
    const WizardDraft &m_draft;
    ChoiceListModel *m_profiles;
    ChoiceListModel *m_extensions;
    // Set while values come from settings rather than from the user.
    bool m_loading = false;

    bool m_importEnabled = false;
    QString m_selectedProfileKey;
    QStringList m_categories;
    bool m_isLoadingProfiles = false;
    bool m_isLoadingExtensions = false;
    bool m_showingExtensions = false; // a new list is being filled, not ticked by the user
    std::optional<ImportSummary> m_summary;
};
