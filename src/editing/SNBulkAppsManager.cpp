#include "editing/SNBulkAppsManager.h"

#include "core/WebAddress.h"

#include "core/AppNameRule.h"
#include "core/Context.h"

#include <QBuffer>
#include <QPointer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

QString pngDataUrl(const QImage &image)
{
    QByteArray png;
    QBuffer buffer(&png);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {};
    return u"data:image/png;base64,"_s + QString::fromLatin1(png.toBase64());
}

} // namespace

const QString SNBulkAppsManager::NotSquareMessage = u"The image you provided is not square."_s;

SNBulkAppsManager::SNBulkAppsManager(Context &context, QObject *parent)
    : QAbstractListModel(parent), m_context(context)
{
}

SNBulkAppsManager::~SNBulkAppsManager()
{
    for (const SNBulkCell &cell : std::as_const(m_cells)) {
        if (cell.stopIconSearch)
            cell.stopIconSearch();
    }
}

void SNBulkAppsManager::removeRows(int first, int last)
{
    beginRemoveRows({}, first, last);
    for (int row = first; row <= last; ++row) {
        if (m_cells.at(row).stopIconSearch)
            m_cells.at(row).stopIconSearch();
    }
    m_cells.erase(m_cells.begin() + first, m_cells.begin() + last + 1);
    endRemoveRows();
}

int SNBulkAppsManager::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : appCount();
}

QVariant SNBulkAppsManager::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const SNBulkCell &cell = m_cells.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case AppNameRole:
        return cell.bulkApp.appName;
    case AppURLRole:
        return cell.bulkApp.appURL;
    case AppIconRole:
        return cell.bulkApp.appIcon.largestRepresentation();
    case CreationPathRole:
        return cell.bulkApp.applicationsPath;
    case TabbedAppRole:
        return cell.bulkApp.needTab;
    case TabsRole: {
        QStringList tabs;
        for (const TabAddress &tab : cell.bulkApp.tabsList)
            tabs.append(tab.tabUrlString);
        return tabs;
    }
    case RowRole:
        return cell.row;
    case TabsEnabledRole:
        return cell.tabsEnabled;
    case IconBeingFetchedRole:
        return cell.iconBeingFetched;
    case HasManuallySelectedIconRole:
        return cell.hasManuallySelectedIcon;
    case LastIconURLRole:
        return cell.lastIconURL;
    case AppIconUrlRole:
        return pngDataUrl(cell.bulkApp.appIcon.largestRepresentation());
    default:
        return {};
    }
}

bool SNBulkAppsManager::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return false;
    AppDefinition &app = m_cells[index.row()].bulkApp;
    switch (role) {
    case Qt::EditRole:
    case AppNameRole:
        app.appName = value.toString();
        break;
    case AppURLRole:
        app.appURL = value.toString();
        break;
    case CreationPathRole:
        app.applicationsPath = value.toString();
        break;
    case TabsRole:
        app.tabsList.clear();
        for (const QString &tab : value.toStringList())
            app.tabsList.append(TabAddress(tab));
        app.needTab = !app.tabsList.isEmpty();
        break;
    default:
        return false;
    }
    rowChanged(index.row());
    return true;
}

QHash<int, QByteArray> SNBulkAppsManager::roleNames() const
{
    return {{AppNameRole, "appName"},
            {AppURLRole, "appURL"},
            {AppIconRole, "appIcon"},
            {CreationPathRole, "creationPath"},
            {TabbedAppRole, "tabbedApp"},
            {TabsRole, "tabs"},
            {RowRole, "row"},
            {TabsEnabledRole, "tabsEnabled"},
            {IconBeingFetchedRole, "iconBeingFetched"},
            {HasManuallySelectedIconRole, "hasManuallySelectedIcon"},
            {LastIconURLRole, "lastIconURL"},
            {AppIconUrlRole, "appIconUrl"}};
}

void SNBulkAppsManager::reset()
{
    const bool wasEnabled = removeAllEnabled();
    if (appCount() > 0)
        removeRows(0, appCount() - 1);
    addAppAction();
    if (wasEnabled != removeAllEnabled())
        Q_EMIT removeAllEnabledChanged();
}

void SNBulkAppsManager::addAppAction()
{
    AppDefinition app;
    app.applicationsPath = m_context.applicationsFolder();
    addApp(app);
}

void SNBulkAppsManager::addApp(const AppDefinition &app)
{
    const bool wasEnabled = removeAllEnabled();
    const int row = appCount();
    beginInsertRows({}, row, row);
    SNBulkCell cell;
    cell.bulkApp = app;
    cell.row = row;
    cell.serial = m_nextSerial++;
    cell.tabsEnabled = !app.appURL.isEmpty();
    m_cells.append(cell);
    endInsertRows();
    Q_EMIT appCountChanged();
    if (wasEnabled != removeAllEnabled())
        Q_EMIT removeAllEnabledChanged();
}

void SNBulkAppsManager::removeAppAction(int tag)
{
    if (tag < 0 || tag >= appCount())
        return;
    const bool wasEnabled = removeAllEnabled();
    removeRows(tag, tag);
    afterRemoval(wasEnabled);
}

void SNBulkAppsManager::removeSelectedAppsAction(const QList<int> &selectedRows)
{
    QList<int> rows = selectedRows;
    std::sort(rows.begin(), rows.end(), std::greater<>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    const bool wasEnabled = removeAllEnabled();
    bool removed = false;
    // From the highest index down, so the indexes still to come keep their rows.
    for (const int row : std::as_const(rows)) {
        if (row < 0 || row >= appCount())
            continue;
        removeRows(row, row);
        removed = true;
    }
    if (removed)
        afterRemoval(wasEnabled);
}

void SNBulkAppsManager::removeAllAppsAction()
{
    if (appCount() < 2)
        return;
    const bool wasEnabled = removeAllEnabled();
    removeRows(1, appCount() - 1);
    afterRemoval(wasEnabled);
}

void SNBulkAppsManager::afterRemoval(bool wasRemoveAllEnabled)
{
    renumber();
    Q_EMIT appCountChanged();
    if (wasRemoveAllEnabled != removeAllEnabled())
        Q_EMIT removeAllEnabledChanged();
}

void SNBulkAppsManager::renumber()
{
    for (int i = 0; i < appCount(); ++i) {
        if (m_cells[i].row != i) {
            m_cells[i].row = i;
            Q_EMIT dataChanged(index(i), index(i), {RowRole});
        }
    }
}

void SNBulkAppsManager::rowChanged(int row)
{
    Q_EMIT dataChanged(index(row), index(row));
}

int SNBulkAppsManager::firstRowWithInvalidURL() const
{
    for (int i = 0; i < appCount(); ++i) {
        if (m_cells.at(i).bulkApp.appURL.size() < MinimumURLLength)
            return i;
    }
    return -1;
}

int SNBulkAppsManager::firstRowWithInvalidName() const
{
    for (int i = 0; i < appCount(); ++i) {
        if (!AppNameRule::isAcceptable(m_cells.at(i).bulkApp.appName))
            return i;
    }
    return -1;
}

void SNBulkAppsManager::fieldEditingEnded(int row)
{
    if (row < 0 || row >= appCount())
        return;
    SNBulkCell &cell = m_cells[row];
    if (cell.bulkApp.appURL.isEmpty()) {
        cell.tabsEnabled = false;
        rowChanged(row);
        return;
    }
    cell.tabsEnabled = true;
    const QString address = cell.bulkApp.appURL.trimmed();
    if (cell.bulkApp.appURL.size() >= 2 && address != cell.lastIconURL && !cell.iconBeingFetched &&
        !cell.hasManuallySelectedIcon && m_faviconSearch) {
        cell.iconBeingFetched = true;
        cell.lastIconURL = address;
        const quint64 serial = cell.serial;
        QPointer<SNBulkAppsManager> manager(this);
        rowChanged(row);
        std::function<void()> stop =
            m_faviconSearch(address, [manager, serial, address](const SNImage &icon, const QString &answered) {
                if (manager)
                    manager->iconFound(serial, address, icon, answered);
            });
        // The search may have answered at once, and the row be gone already.
        const auto running = std::find_if(m_cells.begin(), m_cells.end(),
                                          [serial](const SNBulkCell &candidate) { return candidate.serial == serial; });
        if (running != m_cells.end() && running->iconBeingFetched)
            running->stopIconSearch = std::move(stop);
        return;
    }
    rowChanged(row);
}

void SNBulkAppsManager::iconFound(quint64 serial, const QString &address, const SNImage &icon,
                                  const QString &answered)
{
    // The row may have been removed, or given an icon by hand, while the search ran.
    const auto cell = std::find_if(m_cells.begin(), m_cells.end(),
                                   [serial](const SNBulkCell &candidate) { return candidate.serial == serial; });
    if (cell == m_cells.end() || !cell->iconBeingFetched || cell->lastIconURL != address)
        return;
    cell->iconBeingFetched = false;
    cell->stopIconSearch = nullptr;
    if (!cell->hasManuallySelectedIcon)
        cell->bulkApp.appIcon = icon; // nothing found clears the proposal
    // A typed address without a scheme takes the one its site answered on, so that the row shows
    // the address the app will be saved with.
    if (!answered.isEmpty() && !WebAddress::hasScheme(cell->bulkApp.appURL.trimmed())) {
        cell->bulkApp.appURL = answered;
        cell->lastIconURL = answered;
    }
    rowChanged(static_cast<int>(cell - m_cells.begin()));
}

bool SNBulkAppsManager::chooseIcon(int row, const SNImage &icon, QString *error)
{
    if (row < 0 || row >= appCount() || icon.isNull())
        return false;
    const QSize size = icon.largestPixelSize();
    if (size.width() != size.height()) {
        if (error)
            *error = NotSquareMessage;
        return false;
    }
    m_cells[row].bulkApp.appIcon = icon;
    m_cells[row].hasManuallySelectedIcon = true;
    rowChanged(row);
    return true;
}

QList<AppDefinition> SNBulkAppsManager::appsToCreate() const
{
    QList<AppDefinition> apps;
    apps.reserve(m_cells.size());
    for (const SNBulkCell &cell : m_cells)
        apps.append(cell.bulkApp);
    return apps;
}

QList<SNImage> SNBulkAppsManager::appIcons() const
{
    QList<SNImage> icons;
    for (const SNBulkCell &cell : m_cells)
        icons.append(cell.bulkApp.appIcon);
    return icons;
}
