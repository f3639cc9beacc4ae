#pragma once

#include "frontend/HomescreenAppEntry.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

class AppCreationWizardStore;
class Context;
class HomescreenAppsModel;
class JobProgress;
class AppList;

// The home screen: the user's apps, searched, filtered and sorted, and the actions on them (new,
// edit, duplicate, delete, launch, import, export, edit through a deep link). Lives as long as
// its window; state changes on the main thread only.
class HomescreenStore final : public QObject
{
    Q_OBJECT
    Q_PROPERTY(HomescreenAppsModel *apps READ apps NOTIFY appsChanged)
    Q_PROPERTY(HomescreenAppsModel *filteredApps READ filteredApps NOTIFY filteredAppsChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(AppFilter selectedFilter READ selectedFilter WRITE setSelectedFilter NOTIFY selectedFilterChanged)
    Q_PROPERTY(AppSortOrder sortOrder READ sortOrder WRITE setSortOrder NOTIFY sortOrderChanged)
    Q_PROPERTY(SortDirection sortDirection READ sortDirection WRITE setSortDirection NOTIFY sortDirectionChanged)
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY isLoadingChanged)
    Q_PROPERTY(bool showingAppCreation READ showingAppCreation WRITE setShowingAppCreation NOTIFY
                   showingAppCreationChanged)
    Q_PROPERTY(bool showingAppEdit READ showingAppEdit WRITE setShowingAppEdit NOTIFY showingAppEditChanged)
    Q_PROPERTY(HomescreenAppEntry editingApp READ editingApp NOTIFY editingAppChanged)
    // The wizard while it is open: for a new app, or on `editingApp` (an edit, or a duplicate
    // that has no bundle yet). Made when the wizard opens, dropped when it closes.
    Q_PROPERTY(AppCreationWizardStore *wizard READ wizard NOTIFY wizardChanged)
    Q_PROPERTY(bool showingImportSheet READ showingImportSheet WRITE setShowingImportSheet NOTIFY
                   showingImportSheetChanged)
    // What the app-set file dialogs propose and say: "folder" (URL of the Documents folder),
    // "fileName", "nameFilter", "saveTitle", "saveMessage", "exportedMessage" ("%1" = count),
    // "exporterTitle", "invalidMessage".
    Q_PROPERTY(QVariantMap appSetDialog READ appSetDialog CONSTANT)
    Q_MOC_INCLUDE("frontend/JobProgress.h")
    // The import or deletion under way, if any.
    Q_PROPERTY(JobProgress *work READ work CONSTANT)
    Q_PROPERTY(bool showingExtensionDownload READ showingExtensionDownload WRITE setShowingExtensionDownload
                   NOTIFY showingExtensionDownloadChanged)

public:
    // The key names are the labels a view shows.
    enum class AppFilter { All, Standard, Tabbed };
    Q_ENUM(AppFilter)
    enum class AppSortOrder { Name, Date };
    Q_ENUM(AppSortOrder)
    enum class SortDirection { Ascending, Descending };
    Q_ENUM(SortDirection)

    explicit HomescreenStore(Context &context, QObject *parent = nullptr);
    ~HomescreenStore() override;

    HomescreenAppsModel *apps() const { return m_apps; }
    HomescreenAppsModel *filteredApps() const { return m_filteredApps; }
    QString searchText() const { return m_searchText; }
    AppFilter selectedFilter() const { return m_selectedFilter; }
    AppSortOrder sortOrder() const { return m_sortOrder; }
    SortDirection sortDirection() const { return m_sortDirection; }
    bool isLoading() const { return m_isLoading; }
    bool showingAppCreation() const { return m_showingAppCreation; }
    bool showingAppEdit() const { return m_showingAppEdit; }
    HomescreenAppEntry editingApp() const { return m_editingApp; }
    AppCreationWizardStore *wizard() const { return m_wizard; }
    bool showingImportSheet() const { return m_showingImportSheet; }
    bool showingExtensionDownload() const { return m_showingExtensionDownload; }
    QVariantMap appSetDialog() const;

    void setSearchText(const QString &text);
    void setSelectedFilter(AppFilter filter);
    void setSortOrder(AppSortOrder order);
    void setSortDirection(SortDirection direction);
    void setShowingAppCreation(bool showing);
    void setShowingAppEdit(bool showing);
    void setShowingImportSheet(bool showing);
    void setShowingExtensionDownload(bool showing);

    // Reads the list again from the registry, then searches, filters and sorts it.
    Q_INVOKABLE void loadApps();
    Q_INVOKABLE void newApp();
    Q_INVOKABLE bool editApp(const QString &id);
    // Opens the wizard on a copy named with the first free name; nothing is copied on disk.
    Q_INVOKABLE bool duplicateApp(const QString &id);
    // Asks first; true when the deletion started (the app leaves the list at once and comes back
    // with an alert if it could not be deleted). appDeleted() tells when it is gone.
    Q_INVOKABLE bool deleteApp(const QString &id);
    Q_INVOKABLE bool launchApp(const QString &id);
    // Starts creating the apps of a ".sorvane" file in the background; false when it cannot start.
    // appSetImported() tells how many were made; a refused file gets an alert instead.
    Q_INVOKABLE bool importAppSet(const QUrl &fileUrl);
    // Writes the chosen apps to a ".sorvane" file; how many were written, -1 on failure.
    Q_INVOKABLE int exportApps(const QStringList &ids, const QUrl &fileUrl);
    // Opens the editor for the app with that registry id, if it is listed.
    Q_INVOKABLE bool openEditorForTrackerId(const QString &id);
    // `name` when no listed app has it, else `name` followed by 2, 3, ... whichever is free first.
    Q_INVOKABLE QString firstFreeName(const QString &name) const;

    AppList &appList() const { return *m_appList; }

    JobProgress *work() const { return m_work; }

Q_SIGNALS:
    void appSetImported(int made);
    void appDeleted(const QString &id);
    void appsChanged();
    void filteredAppsChanged();
    void searchTextChanged();
    void selectedFilterChanged();
    void sortOrderChanged();
    void sortDirectionChanged();
    void isLoadingChanged();
    void showingAppCreationChanged();
    void showingAppEditChanged();
    void editingAppChanged();
    void wizardChanged();
    void showingImportSheetChanged();
    void showingExtensionDownloadChanged();

private:
    void installObservers();
    // Rebuilds the entries from the registry list the manager holds.
    void takeManagerItems();
    void setAppEntries(const QList<HomescreenAppEntry> &entries);
    void applySearchFilterSort();
    void scheduleReload();
    void setLoading(bool loading);
    void setEditingApp(const HomescreenAppEntry &entry);
    // Opens, replaces or drops the wizard to match what is showing.
    void updateWizard();
    const HomescreenAppEntry *entryWithId(const QString &id) const;

    Context &m_context;
    AppList *m_appList;
    JobProgress *m_work;
    HomescreenAppsModel *m_apps;
    HomescreenAppsModel *m_filteredApps;
    QString m_searchText;
    AppFilter m_selectedFilter = AppFilter::All;
    AppSortOrder m_sortOrder = AppSortOrder::Name;
    SortDirection m_sortDirection = SortDirection::Ascending;
    bool m_isLoading = false;
    bool m_showingAppCreation = false;
    bool m_showingAppEdit = false;
    HomescreenAppEntry m_editingApp;
    AppCreationWizardStore *m_wizard = nullptr;
    QString m_wizardSubject; // "new", or the id of the entry it edits
    bool m_showingImportSheet = false;
    bool m_showingExtensionDownload = false;
    bool m_reloadScheduled = false;
    // Per entry of `apps`, in the same order: its name and addresses folded for search.
    QList<QStringList> m_searchKeys;
};
