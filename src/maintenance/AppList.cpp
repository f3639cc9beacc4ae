#include "maintenance/AppList.h"

#include "core/Context.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "maintenance/SNUpdaterHelper.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QTimer>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

AppList::AppList(Context &context, QObject *parent)
    : QAbstractListModel(parent), m_context(context)
{
    context.notifications().addObserver(NotificationNames::AppUpdateNotification, this, [this](const QVariantMap &) {
        loadRecentAppsAsync();
    });
    loadRecentApps();
}

int AppList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant AppList::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const SNAppItem &item = m_appItems.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return item.name;
    case Qt::DecorationRole:
        return item.appIcon;
    case AppIdRole:
        return item.appId;
    case PathRole:
        return item.path;
    case UrlsRole:
        return item.urls;
    case TypeRole:
        return item.type;
    case TypeIconRole:
        return item.typeIcon;
    case BrowserIconRole:
        return item.browserIcon;
    case BrowserNameRole:
        return item.browserName;
    case BrowserTypeRole:
        return item.browserType;
    default:
        return {};
    }
}

QHash<int, QByteArray> AppList::roleNames() const
{
    return {{AppIdRole, "appId"},         {PathRole, "path"},           {NameRole, "name"},
            {UrlsRole, "urls"},           {TypeRole, "type"},           {TypeIconRole, "typeIcon"},
            {BrowserIconRole, "browserIcon"}, {BrowserNameRole, "browserName"}, {BrowserTypeRole, "browserType"}};
}

void AppList::loadRecentApps()
{
    const qsizetype before = m_appItems.size();
    beginResetModel();
    m_appItems = loadAppItems(m_context);
    endResetModel();
    if (before != m_appItems.size())
        Q_EMIT countChanged();
    m_context.notifications().post(NotificationNames::AppItemsDidLoad);
}

void AppList::loadRecentAppsAsync()
{
    // A job changes the registry once per app. The first change is read at once; the changes
    // that arrive while a reload waits join it, and reloads come at most every ReloadDelayMs, so
    // that an import of many apps reads the list a few times, not once per app.
    if (m_reloadPending)
        return;
    m_reloadPending = true;
    const qint64 wait = m_sinceReload.isValid() ? ReloadDelayMs - m_sinceReload.elapsed() : 0;
    QTimer::singleShot(std::max<qint64>(wait, 0), this, [this] {
        m_reloadPending = false;
        loadRecentApps();
        m_sinceReload.start();
    });
}

void AppList::removeAppItem(const QString &appId)
{
    for (qsizetype row = 0; row < m_appItems.size(); ++row) {
        if (m_appItems.at(row).appId != appId)
            continue;
        beginRemoveRows({}, static_cast<int>(row), static_cast<int>(row));
        m_appItems.removeAt(row);
        endRemoveRows();
        Q_EMIT countChanged();
        m_context.notifications().post(NotificationNames::AppItemsDidLoad);
        return;
    }
}

QList<SNAppItem> AppList::loadAppItems(Context &context)
{
    const QVariantMap records = SNAppTracker(context).getTracker();
    const QString creator = context.bundleIdentifier();
    QSet<QString> seen;
    QList<SNAppItem> items;
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        if (it.value().typeId() != QMetaType::QVariantMap)
            continue;
        const QVariant pathValue = it.value().toMap().value(u"appPath"_s);
        if (pathValue.typeId() != QMetaType::QString)
            continue;
        const QString path = pathValue.toString();
        if (seen.contains(path))
            continue;
        seen.insert(path);
        if (!QFileInfo::exists(path))
            continue;
        // Deliberately asymmetric: a readable Info.plist must name this creator, an unreadable
        // one does not hide the app.
        const QVariant plist = PropertyList::readFile(path + u"/Contents/Info.plist"_s);
        if (plist.isValid()) {
            const QVariant creatorId = plist.toMap().value(u"SorvaneCreatorID"_s);
            if (creatorId.typeId() != QMetaType::QString || creatorId.toString() != creator)
                continue;
        }
        const std::optional<QVariantMap> app = getAppData(path);
        if (!app || app->value(u"appName"_s).typeId() != QMetaType::QString)
            continue;

        SNAppItem item;
        item.path = path;
        item.appId = it.key();
        item.name = app->value(u"appName"_s).toString();
        const bool standard = app->value(u"isTabbed"_s).toString() == u"No"_s;
        item.type = standard ? u"Standard app"_s : u"Tabbed app"_s;
        item.typeIcon = standard ? u"app_type_standard_icon"_s : u"app_type_tabbed_icon"_s;
        item.browserType = app->value(u"browserType"_s).toString();
        if (item.browserType.isEmpty())
            item.browserType = u"chrome"_s;
        item.browserIcon = item.browserType == u"chrome"_s ? u"Chrome"_s : item.browserType;
        item.browserName = SNAppItem::displayNameForBrowserType(item.browserType);
        item.urls = app->value(u"appURLs"_s).toStringList();
        items.append(item);
    }
    return items;
}

QString AppList::launcherBinaryNameForApp(const QString &bundlePath)
{
    const QString folder = bundlePath + u"/Contents/MacOS"_s;
    const QString named = PropertyList::readFile(bundlePath + u"/Contents/Info.plist"_s)
                              .toMap()
                              .value(u"CFBundleExecutable"_s)
                              .toString();
    if (!named.isEmpty() && !named.contains(u'/') && QFileInfo(folder + u'/' + named).isFile())
        return named;
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    for (const QFileInfo &entry : entries) {
        QFile file(entry.filePath());
        if (!entry.isDir() && file.open(QIODevice::ReadOnly) && file.read(2) == "#!")
            return entry.fileName();
    }
    return entries.isEmpty() ? QString() : entries.constFirst().fileName();
}

std::optional<QVariantMap> AppList::getAppData(const QString &bundlePath)
{
    const std::optional<QVariantMap> info = SNUpdaterHelper::appInfo(bundlePath);
    if (!info)
        return std::nullopt;
    QVariantMap data;
    data.insert(u"appName"_s, info->value(u"appName"_s));
    if (info->contains(u"isTabs"_s))
        data.insert(u"isTabbed"_s, info->value(u"isTabs"_s).toBool() ? u"Yes"_s : u"No"_s);
    QStringList urls = info->value(u"tabs"_s).toStringList();
    const QString start = info->value(u"appURL"_s).toString();
    if ((!info->value(u"isTabs"_s).toBool() || urls.isEmpty()) && !start.isEmpty())
        urls = {start};
    data.insert(u"appURLs"_s, urls);
    if (info->contains(u"browserType"_s))
        data.insert(u"browserType"_s, info->value(u"browserType"_s));
    return data;
}

SNEditorItem AppList::editorItem(Context &context, const SNAppItem &item)
{
    QVariantMap info = SNUpdaterHelper::appInfo(item.path).value_or(QVariantMap{});
    if (info.value(u"appID"_s).toString().isEmpty())
        info.insert(u"appID"_s, item.appId);
    AppDefinition definition = SNUpdaterHelper::definitionForApp(context, item.name, info);
    definition.applicationsPath = QFileInfo(item.path).absolutePath();
    return SNEditorItem::initWithAppItem(item, definition);
}
