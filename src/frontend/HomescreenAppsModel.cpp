#include "frontend/HomescreenAppsModel.h"

#include <QBuffer>

using namespace Qt::Literals::StringLiterals;

HomescreenAppsModel::HomescreenAppsModel(QObject *parent)
    : QAbstractListModel(parent)
{
}

int HomescreenAppsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant HomescreenAppsModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const HomescreenAppEntry &entry = m_entries.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return entry.name;
    case Qt::DecorationRole:
        return entry.iconImage;
    case IdRole:
        return entry.id;
    case IconUrlRole:
        return iconUrl(entry.iconImage);
    case AppPathRole:
        return entry.appPath;
    case AppTypeRole:
        return QVariant::fromValue(entry.appType);
    case IsTabbedRole:
        return entry.isTabbed();
    case BrowserTypeRole:
        return entry.browserType;
    case BrowserNameRole:
        return entry.browserName;
    case UrlsRole:
        return entry.urls;
    case RegisterAsBrowserRole:
        return entry.registerAsBrowser;
    case EnableIncognitoRole:
        return entry.enableIncognito;
    case EnableWhitelistingRole:
        return entry.enableWhitelisting;
    case DateRole:
        return entry.date;
    case EntryRole:
        return QVariant::fromValue(entry);
    default:
        return {};
    }
}

QHash<int, QByteArray> HomescreenAppsModel::roleNames() const
{
    return {{IdRole, "id"},
            {NameRole, "name"},
            {IconUrlRole, "iconUrl"},
            {AppPathRole, "appPath"},
            {AppTypeRole, "appType"},
            {IsTabbedRole, "isTabbed"},
            {BrowserTypeRole, "browserType"},
            {BrowserNameRole, "browserName"},
            {UrlsRole, "urls"},
            {RegisterAsBrowserRole, "registerAsBrowser"},
            {EnableIncognitoRole, "enableIncognito"},
            {EnableWhitelistingRole, "enableWhitelisting"},
            {DateRole, "date"},
            {EntryRole, "entry"}};
}

bool HomescreenAppsModel::setEntries(const QList<HomescreenAppEntry> &entries)
{
    if (entries == m_entries)
        return false;
    const qsizetype before = m_entries.size();
    beginResetModel();
    m_entries = entries;
    endResetModel();
    if (before != m_entries.size())
        Q_EMIT countChanged();
    return true;
}

int HomescreenAppsModel::rowOf(const QString &id) const
{
    for (qsizetype row = 0; row < m_entries.size(); ++row) {
        if (m_entries.at(row).id == id)
            return static_cast<int>(row);
    }
    return -1;
}

QString HomescreenAppsModel::iconUrl(const QImage &image)
{
    if (image.isNull())
        return {};
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return {};
    return u"data:image/png;base64,"_s + QString::fromLatin1(png.toBase64());
}
