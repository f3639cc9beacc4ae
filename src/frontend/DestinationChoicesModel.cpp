#include "frontend/DestinationChoicesModel.h"

#include "frontend/ModelSignals.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "frontend/InstalledBrowsers.h"
#include "maintenance/AppList.h"

#include <QCollator>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

void sortByName(QList<RoutingDestination> &list)
{
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(list.begin(), list.end(), [&](const RoutingDestination &a, const RoutingDestination &b) {
        return collator.compare(a.label(), b.label()) < 0;
    });
}

} // namespace

DestinationChoicesModel::DestinationChoicesModel(Context &context, QObject *parent)
    : QAbstractListModel(parent), m_context(context)
{
    ModelSignals::emitOnCountChange(this, &DestinationChoicesModel::countChanged);
    reload();
}

int DestinationChoicesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant DestinationChoicesModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const RoutingDestination &destination = m_choices.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case LabelRole:
        return destination.label();
    case DestinationRole:
        return QVariant::fromValue(destination);
    case KindRole:
        return QVariant::fromValue(destination.kind);
    default:
        return {};
    }
}

QHash<int, QByteArray> DestinationChoicesModel::roleNames() const
{
    return {{DestinationRole, "destination"}, {LabelRole, "label"}, {KindRole, "kind"}};
}

RoutingDestination DestinationChoicesModel::browserDestination(int applicationType)
{
    const BrowserInfo &browser = BrowserCatalogue::byNumber(applicationType);
    // The catalogue answers Google Chrome's identifier for these two; a destination must name
    // the browser itself.
    QString bundleId = browser.browserBundleID;
    if (browser.number == BrowserCatalogue::Vivaldi)
        bundleId = u"com.vivaldi.Vivaldi"_s;
    else if (browser.number == BrowserCatalogue::Helium)
        bundleId = u"net.imput.helium"_s;
    return RoutingDestination::browser(bundleId, browser.browserName);
}

void DestinationChoicesModel::reload(const QString &excludedAppPath)
{
    QList<RoutingDestination> browsers;
    for (int type : InstalledBrowsers::detect(m_context.defaults()))
        browsers.append(browserDestination(type));
    sortByName(browsers);

    QList<RoutingDestination> apps;
    const QString excluded = excludedAppPath.isEmpty() ? QString() : QFileInfo(excludedAppPath).absoluteFilePath();
    for (const SNAppItem &item : AppList::loadAppItems(m_context)) {
        if (QFileInfo(item.path).absoluteFilePath() != excluded)
            apps.append(RoutingDestination::sorvaneApp(item.path, item.name, item.appId));
    }
    sortByName(apps);

    beginResetModel();
    m_choices = {RoutingDestination::defaultBrowser(), RoutingDestination::inApp()};
    m_choices.append(browsers);
    m_choices.append(apps);
    endResetModel();
}

RoutingDestination DestinationChoicesModel::destinationAt(int row) const
{
    return row >= 0 && row < count() ? m_choices.at(row) : RoutingDestination::defaultBrowser();
}

int DestinationChoicesModel::indexOf(const RoutingDestination &destination)
{
    for (int row = 0; row < count(); ++row) {
        const RoutingDestination &choice = m_choices.at(row);
        const bool same = choice.kind == destination.kind &&
                          (destination.kind == RoutingDestination::Kind::Browser ? choice.bundleId == destination.bundleId
                           : destination.kind == RoutingDestination::Kind::SorvaneApp ? choice.path == destination.path
                                                                                      : true);
        if (same)
            return row;
    }
    beginInsertRows({}, count(), count());
    m_choices.append(destination);
    endInsertRows();
    return count() - 1;
}
