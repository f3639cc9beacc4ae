#include "frontend/TabsModel.h"

#include "frontend/ModelSignals.h"

TabsModel::TabsModel(QObject *parent)
    : QAbstractListModel(parent)
{
    ModelSignals::emitOnCountChange(this, &TabsModel::countChanged);
    ModelSignals::emitOnAnyChange(this, &TabsModel::tabsChanged);
}

int TabsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant TabsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const TabItem &tab = m_tabs.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case UrlRole:
        return tab.url;
    case IdRole:
        return tab.id.toString(QUuid::WithoutBraces);
    default:
        return {};
    }
}

bool TabsModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid) ||
        (role != Qt::EditRole && role != UrlRole))
        return false;
    setUrl(index.row(), value.toString());
    return true;
}

Qt::ItemFlags TabsModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemIsEditable;
}

QHash<int, QByteArray> TabsModel::roleNames() const
{
    return {{IdRole, "tabId"}, {UrlRole, "url"}};
}

void TabsModel::addTab(const QString &url)
{
    beginInsertRows({}, count(), count());
    m_tabs.append(TabItem{QUuid::createUuid(), url});
    endInsertRows();
}

void TabsModel::removeTab(int row)
{
    if (row < 0 || row >= count())
        return;
    beginRemoveRows({}, row, row);
    m_tabs.removeAt(row);
    endRemoveRows();
}

void TabsModel::moveTab(int from, int to)
{
    if (from < 0 || from >= count() || to < 0 || to >= count() || from == to)
        return;
    // The model API names the row the moved one is put before.
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
    m_tabs.move(from, to);
    endMoveRows();
}

void TabsModel::setUrl(int row, const QString &url)
{
    if (row < 0 || row >= count() || m_tabs.at(row).url == url)
        return;
    m_tabs[row].url = url;
    const QModelIndex changed = index(row);
    Q_EMIT dataChanged(changed, changed, {UrlRole, Qt::DisplayRole});
}

void TabsModel::setUrls(const QStringList &urls)
{
    beginResetModel();
    m_tabs.clear();
    for (const QString &url : urls)
        m_tabs.append(TabItem{QUuid::createUuid(), url});
    endResetModel();
}

QStringList TabsModel::urls() const
{
    QStringList result;
    for (const TabItem &tab : m_tabs)
        result.append(tab.url);
    return result;
}

QStringList TabsModel::validUrls() const
{
    QStringList result;
    for (const TabItem &tab : m_tabs) {
        const QString trimmed = tab.url.trimmed();
        if (!trimmed.isEmpty())
            result.append(trimmed);
    }
    return result;
}
