#include "frontend/HomescreenAppsModel.h"

#include "core/LetterIcon.h"

#include <QBuffer>
#include <QDateTime>
#include <QFileInfo>
#include <QUrl>
#include <QSet>

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
        return entry.iconImage.isNull() ? bundleIconUrl(entry.appPath) : iconUrl(entry.iconImage);
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
    case InitialRole:
        return LetterIcon::initial(entry.name);
    case InitialColorRole:
        return LetterIcon::colour(entry.name);
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
            {EntryRole, "entry"},
            {InitialRole, "initial"},
            {InitialColorRole, "initialColor"}};
}

bool HomescreenAppsModel::setEntries(const QList<HomescreenAppEntry> &entries)
{
    if (entries == m_entries)
        return false;
    const qsizetype before = m_entries.size();
    if (!updateInPlace(entries)) {
        beginResetModel();
        m_entries = entries;
        endResetModel();
    }
    if (before != m_entries.size())
        Q_EMIT countChanged();
    return true;
}

bool HomescreenAppsModel::updateInPlace(const QList<HomescreenAppEntry> &entries)
{
    const auto idsOf = [](const QList<HomescreenAppEntry> &list) {
        QSet<QString> ids;
        for (const HomescreenAppEntry &entry : list)
            ids.insert(entry.id);
        return ids;
    };
    const QSet<QString> shown = idsOf(m_entries);
    const QSet<QString> next = idsOf(entries);
    if (shown.size() != m_entries.size() || next.size() != entries.size())
        return false;
    // The apps in both lists must keep their order; then removals and insertions line them up.
    QStringList stayingShown;
    QStringList stayingNext;
    for (const HomescreenAppEntry &entry : m_entries) {
        if (next.contains(entry.id))
            stayingShown.append(entry.id);
    }
    for (const HomescreenAppEntry &entry : entries) {
        if (shown.contains(entry.id))
            stayingNext.append(entry.id);
    }
    if (stayingShown != stayingNext)
        return false;

    for (int row = count() - 1; row >= 0; --row) {
        if (next.contains(m_entries.at(row).id))
            continue;
        beginRemoveRows({}, row, row);
        m_entries.removeAt(row);
        endRemoveRows();
    }
    for (int row = 0; row < entries.size(); ++row) {
        if (!shown.contains(entries.at(row).id)) {
            beginInsertRows({}, row, row);
            m_entries.insert(row, entries.at(row));
            endInsertRows();
        } else if (!(m_entries.at(row) == entries.at(row))) {
            // The rows before this one already match, so this row is the same app.
            m_entries[row] = entries.at(row);
            Q_EMIT dataChanged(index(row), index(row));
        }
    }
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

const QString HomescreenAppsModel::AppIconProvider = u"appicon"_s;
const QString HomescreenAppsModel::BundleIconFile = u"/Contents/Resources/icon.icns"_s;

QString HomescreenAppsModel::bundleIconUrl(const QString &bundlePath)
{
    const QFileInfo icon(bundlePath + BundleIconFile);
    if (bundlePath.isEmpty() || !icon.isFile())
        return {};
    return u"image://"_s + AppIconProvider + u'/' + QString::fromLatin1(QUrl::toPercentEncoding(bundlePath)) +
           u"?v="_s + QString::number(icon.lastModified().toMSecsSinceEpoch()) + u'-' + QString::number(icon.size());
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
