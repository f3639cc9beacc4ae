#include "frontend/HomescreenStore.h"

#include "frontend/AppCreationWizardStore.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Ids.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/Prompter.h"
#include "editing/SNExporter.h"
#include "editing/ImportAppSetJob.h"
#include "frontend/JobProgress.h"
#include "maintenance/DeleteAppJob.h"
#include "frontend/BundleLauncher.h"
#include "core/NotificationNames.h"
#include "frontend/HomescreenAppsModel.h"
#include "frontend/SNDeepLinkRouter.h"
#include "generation/AppConfigFile.h"
#include "maintenance/AppRemover.h"
#include "maintenance/AppList.h"

#include <QCollator>
#include <QLocale>
#include <QSet>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString NoAppLine = u"Deep link: no app with tracker id "_s;

// The app's switches live in its stored configuration, not in the registry's list row.
void readSwitches(const QString &supportFolder, HomescreenAppEntry &entry)
{
    const std::optional<AppDefinition> stored = AppConfigFile::read(AppConfigFile::path(supportFolder, entry.id));
    if (!stored)
        return;
    entry.registerAsBrowser = stored->registerAsBrowser;
    entry.enableIncognito = stored->incognito;
    entry.enableWhitelisting = stored->isWhitelistingEnabled;
}

} // namespace

HomescreenStore::HomescreenStore(Context &context, QObject *parent)
    : QObject(parent)
    , m_context(context)
    , m_appList(new AppList(context, this))
    , m_work(new JobProgress(this))
    , m_apps(new HomescreenAppsModel(this))
    , m_filteredApps(new HomescreenAppsModel(this))
{
    Logger::log(u"Successfully created SNRecentAppsManager instance"_s);
    installObservers();
    // The registry object has just read the list; take it rather than read it twice.
    takeManagerItems();
    const QString pending = SNDeepLinkRouter::pendingEditAppId();
    if (!pending.isEmpty()) {
        SNDeepLinkRouter::setPendingEditAppId({});
        openEditorForTrackerId(pending);
    }
}

HomescreenStore::~HomescreenStore() = default;

void HomescreenStore::installObservers()
{
    NotificationCenter &centre = m_context.notifications();
    // The registry object reloads itself on this one and then posts "AppItemsDidLoad".
    centre.addObserver(NotificationNames::AppUpdateNotification, this,
                       [this](const QVariantMap &) { setLoading(true); });
    centre.addObserver(NotificationNames::AppItemsDidLoad, this, [this](const QVariantMap &) {
        takeManagerItems();
        setLoading(false);
    });
    centre.addObserver(NotificationNames::SorvaneAppsUpdated, this,
                       [this](const QVariantMap &) { scheduleReload(); });
    centre.addObserver(NotificationNames::AppCreationCompleted, this,
                       [this](const QVariantMap &) { scheduleReload(); });
    centre.addObserver(SNDeepLinkRouter::openAppEditorNotification, this, [this](const QVariantMap &info) {
        const QString id = info.value(u"appId"_s).toString();
        if (SNDeepLinkRouter::pendingEditAppId() == id)
            SNDeepLinkRouter::setPendingEditAppId({});
        openEditorForTrackerId(id);
    });
}

void HomescreenStore::loadApps()
{
    setLoading(true);
    // Posts "AppItemsDidLoad", whose observer takes the new list and ends the loading.
    m_appList->loadRecentApps();
    setLoading(false);
}

void HomescreenStore::scheduleReload()
{
    if (m_reloadScheduled)
        return;
    m_reloadScheduled = true;
    setLoading(true);
    QTimer::singleShot(0, this, [this] {
        m_reloadScheduled = false;
        loadApps();
    });
}

void HomescreenStore::takeManagerItems()
{
    QList<HomescreenAppEntry> entries;
    entries.reserve(m_appList->appItems().size());
    for (const SNAppItem &item : m_appList->appItems()) {
        HomescreenAppEntry entry = HomescreenAppEntry::fromAppItem(item);
        readSwitches(m_context.supportFolder(), entry);
        entries.append(entry);
    }
    setAppEntries(entries);
}

void HomescreenStore::setAppEntries(const QList<HomescreenAppEntry> &entries)
{
    if (m_apps->setEntries(entries)) {
        const QLocale locale;
        m_searchKeys.clear();
        m_searchKeys.reserve(entries.size());
        for (const HomescreenAppEntry &entry : entries) {
            QStringList keys{locale.toLower(entry.name)};
            for (const QString &url : entry.urls)
                keys.append(locale.toLower(url));
            m_searchKeys.append(keys);
        }
        Q_EMIT appsChanged();
    }
    applySearchFilterSort();
}

void HomescreenStore::applySearchFilterSort()
{
    const QList<HomescreenAppEntry> &all = m_apps->entries();
    const QString needle = QLocale().toLower(m_searchText);
    QList<HomescreenAppEntry> kept;
    for (qsizetype i = 0; i < all.size(); ++i) {
        const HomescreenAppEntry &entry = all.at(i);
        if ((m_selectedFilter == AppFilter::Standard && entry.isTabbed()) ||
            (m_selectedFilter == AppFilter::Tabbed && !entry.isTabbed()))
            continue;
        // The name first, then the addresses.
        const QStringList &keys = m_searchKeys.at(i);
        if (!needle.isEmpty() &&
            std::none_of(keys.cbegin(), keys.cend(), [&](const QString &key) { return key.contains(needle); }))
            continue;
        kept.append(entry);
    }

    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    collator.setNumericMode(true); // "App 2" before "App 10", as a file manager sorts
    const auto byName = [&](const HomescreenAppEntry &a, const HomescreenAppEntry &b) {
        const int order = collator.compare(a.name, b.name);
        return order != 0 ? order < 0 : a.id < b.id;
    };
    const auto byDate = [&](const HomescreenAppEntry &a, const HomescreenAppEntry &b) {
        return a.date != b.date ? a.date < b.date : byName(a, b);
    };
    const bool descending = m_sortDirection == SortDirection::Descending;
    const bool onDate = m_sortOrder == AppSortOrder::Date;
    std::sort(kept.begin(), kept.end(), [&](const HomescreenAppEntry &a, const HomescreenAppEntry &b) {
        const HomescreenAppEntry &first = descending ? b : a;
        const HomescreenAppEntry &second = descending ? a : b;
        return onDate ? byDate(first, second) : byName(first, second);
    });
    if (m_filteredApps->setEntries(kept))
        Q_EMIT filteredAppsChanged();
}

void HomescreenStore::setSearchText(const QString &text)
{
    if (text == m_searchText)
        return;
    m_searchText = text;
    Q_EMIT searchTextChanged();
    applySearchFilterSort();
}

void HomescreenStore::setSelectedFilter(AppFilter filter)
{
    if (filter == m_selectedFilter)
        return;
    m_selectedFilter = filter;
    Q_EMIT selectedFilterChanged();
    applySearchFilterSort();
}

void HomescreenStore::setSortOrder(AppSortOrder order)
{
    if (order == m_sortOrder)
        return;
    m_sortOrder = order;
    Q_EMIT sortOrderChanged();
    applySearchFilterSort();
}

void HomescreenStore::setSortDirection(SortDirection direction)
{
    if (direction == m_sortDirection)
        return;
    m_sortDirection = direction;
    Q_EMIT sortDirectionChanged();
    applySearchFilterSort();
}

void HomescreenStore::setLoading(bool loading)
{
    if (loading == m_isLoading)
        return;
    m_isLoading = loading;
    Q_EMIT isLoadingChanged();
}

void HomescreenStore::setShowingAppCreation(bool showing)
{
    if (showing == m_showingAppCreation)
        return;
    m_showingAppCreation = showing;
    Q_EMIT showingAppCreationChanged();
    updateWizard();
}

void HomescreenStore::setShowingAppEdit(bool showing)
{
    if (showing == m_showingAppEdit)
        return;
    m_showingAppEdit = showing;
    Q_EMIT showingAppEditChanged();
    updateWizard();
}

void HomescreenStore::updateWizard()
{
    const QString subject = m_showingAppEdit ? m_editingApp.id : m_showingAppCreation ? u"new"_s : QString();
    if (subject == m_wizardSubject && (m_wizard != nullptr) == !subject.isEmpty())
        return;
    if (m_wizard)
        m_wizard->deleteLater();
    m_wizard = nullptr;
    m_wizardSubject = subject;
    if (m_showingAppEdit)
        m_wizard = new AppCreationWizardStore(m_context, m_editingApp, this);
    else if (m_showingAppCreation)
        m_wizard = new AppCreationWizardStore(m_context, this);
    Q_EMIT wizardChanged();
}

void HomescreenStore::setShowingImportSheet(bool showing)
{
    if (showing == m_showingImportSheet)
        return;
    m_showingImportSheet = showing;
    Q_EMIT showingImportSheetChanged();
}

void HomescreenStore::setShowingExtensionDownload(bool showing)
{
    if (showing == m_showingExtensionDownload)
        return;
    m_showingExtensionDownload = showing;
    Q_EMIT showingExtensionDownloadChanged();
}

void HomescreenStore::setEditingApp(const HomescreenAppEntry &entry)
{
    if (entry == m_editingApp)
        return;
    m_editingApp = entry;
    Q_EMIT editingAppChanged();
    updateWizard();
}

const HomescreenAppEntry *HomescreenStore::entryWithId(const QString &id) const
{
    const int row = id.isEmpty() ? -1 : m_apps->rowOf(id);
    return row < 0 ? nullptr : &m_apps->entries().at(row);
}

void HomescreenStore::newApp()
{
    setShowingAppCreation(true);
}

bool HomescreenStore::editApp(const QString &id)
{
    const HomescreenAppEntry *entry = entryWithId(id);
    if (!entry)
        return false;
    setEditingApp(*entry);
    setShowingAppEdit(true);
    return true;
}

QString HomescreenStore::firstFreeName(const QString &name) const
{
    QSet<QString> taken;
    for (const HomescreenAppEntry &entry : m_apps->entries())
        taken.insert(entry.name);
    if (!taken.contains(name))
        return name;
    for (qsizetype number = 2;; ++number) {
        const QString candidate = u"%1 %2"_s.arg(name).arg(number);
        if (!taken.contains(candidate))
            return candidate;
    }
}

bool HomescreenStore::duplicateApp(const QString &id)
{
    const HomescreenAppEntry *source = entryWithId(id);
    if (!source)
        return false;
    HomescreenAppEntry copy = *source;
    copy.id = Ids::newRegistryId();
    copy.copiedFromId = source->id;
    copy.name = firstFreeName(source->name);
    // The copy has no bundle until the wizard creates one.
    copy.appPath.clear();
    copy.date = {};
    setEditingApp(copy);
    setShowingAppEdit(true);
    return true;
}

bool HomescreenStore::deleteApp(const QString &id)
{
    const HomescreenAppEntry *found = entryWithId(id);
    if (!found)
        return false;
    const HomescreenAppEntry entry = *found;
    const int answer = m_context.prompter().ask(AppRemover::confirmationMessage(entry.name),
                                                AppRemover::ConfirmationInformativeText,
                                                AppRemover::ConfirmationButtons);
    if (answer != 0)
        return false;

    auto job = std::make_unique<DeleteAppJob>(m_context, entry.id, entry.appPath);
    const bool started = m_work->run<DeleteAppJob>(std::move(job), &m_context.prompter(), [this](DeleteAppJob &done) {
        if (!done.succeeded()) {
            loadApps();
            m_context.prompter().ask(u"Failed to delete app"_s, done.errorText(), {u"OK"_s});
            return;
        }
        m_appList->removeAppItem(done.appId());
        Q_EMIT appDeleted(done.appId());
    }, {tr("Deleting %1…").arg(entry.name)});
    if (!started)
        return false;
    // The registry record goes with the bundle: a bundle that stays keeps its record, so the
    // reload after a failure shows it again.
    QList<HomescreenAppEntry> rest = m_apps->entries();
    rest.removeIf([&](const HomescreenAppEntry &candidate) { return candidate.id == id; });
    setAppEntries(rest);
    return true;
}

bool HomescreenStore::launchApp(const QString &id)
{
    const HomescreenAppEntry *entry = entryWithId(id);
    return entry && BundleLauncher::launch(entry->appPath);
}

bool HomescreenStore::importAppSet(const QUrl &fileUrl)
{
    if (!fileUrl.isLocalFile()) {
        m_context.prompter().showError(SNExporter::InvalidFileMessage);
        return false;
    }
    auto job = std::make_unique<ImportAppSetJob>(m_context, fileUrl.toLocalFile(), ImportAppSetJob::Options{});
    return m_work->run<ImportAppSetJob>(std::move(job), &m_context.prompter(), [this](ImportAppSetJob &done) {
        if (!done.fileRead()) {
            m_context.prompter().showError(done.errorText());
            return;
        }
        setShowingImportSheet(false);
        const QList<ImportAppSetJob::Outcome> &outcomes = done.outcomes();
        const int made = static_cast<int>(std::count_if(outcomes.cbegin(), outcomes.cend(),
                                                        [](const ImportAppSetJob::Outcome &o) { return o.made; }));
        // The registry changed while the job ran; the list is read again once it is complete.
        if (made > 0)
            scheduleReload();
        Q_EMIT appSetImported(made);
    }, {tr("Importing apps…"), true});
}

int HomescreenStore::exportApps(const QStringList &ids, const QUrl &fileUrl)
{
    if (!fileUrl.isLocalFile()) {
        m_context.prompter().showError(SNExporter::InvalidFileMessage);
        return -1;
    }
    SNExporter exporter(m_context);
    const QList<SNExporter::ExportRow> offered = exporter.rows();
    QList<SNExporter::ExportRow> chosen;
    for (const QString &id : ids) {
        const auto row = std::find_if(offered.cbegin(), offered.cend(),
                                      [&](const SNExporter::ExportRow &candidate) { return candidate.appID == id; });
        if (row != offered.cend())
            chosen.append(*row);
    }
    QString error;
    if (chosen.isEmpty() || !SNExporter::save(exporter.exportConfig(chosen), fileUrl.toLocalFile(), &error)) {
        m_context.prompter().showError(SNExporter::InvalidFileMessage +
                                       (error.isEmpty() ? QString() : u": "_s + error));
        return -1;
    }
    return static_cast<int>(chosen.size());
}

QVariantMap HomescreenStore::appSetDialog() const
{
    const QString extension = SNExporter::FileExtension;
    return {
        {u"folder"_s, QUrl::fromLocalFile(m_context.homeFolder() + u'/' + SNExporter::DialogFolder)},
        {u"fileName"_s, SNExporter::DefaultFileName},
        {u"nameFilter"_s, u"Sorvane app sets (*%1)"_s.arg(extension)},
        {u"saveTitle"_s, SNExporter::SaveDialogTitle},
        {u"saveMessage"_s, SNExporter::SaveDialogMessage},
        {u"exportedMessage"_s, SNExporter::ExportedMessage},
        {u"exporterTitle"_s, SNExporter::ExporterTitle},
        {u"invalidMessage"_s, SNExporter::InvalidFileMessage},
    };
}

bool HomescreenStore::openEditorForTrackerId(const QString &id)
{
    if (editApp(id))
        return true;
    Logger::log(NoAppLine + id);
    return false;
}
