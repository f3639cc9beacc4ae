#include "frontend/CustomQuickSetupList.h"
#include "core/WebAddress.h"

#include "core/Clock.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/UserDefaults.h"

#include <QUrl>

using namespace Qt::Literals::StringLiterals;

const QString CustomQuickSetupList::StorageKey = u"CustomQuickSetups"_s;

namespace {

QStringList consideredAddresses(const QStringList &tabAddresses)
{
    QStringList addresses;
    for (const QString &address : tabAddresses) {
        const QString trimmed = address.trimmed();
        if (!trimmed.isEmpty())
            addresses.append(trimmed);
    }
    return addresses;
}

// First letter of each blank-separated word upper case, the rest lower case.
QString capitalizedWords(const QString &text)
{
    QStringList words = text.split(u' ');
    for (QString &word : words) {
        word = word.toLower();
        if (!word.isEmpty())
            word[0] = word[0].toUpper();
    }
    return words.join(u' ');
}

} // namespace

CustomQuickSetupList::CustomQuickSetupList(Context &context, QObject *parent)
    : QAbstractListModel(parent), m_context(context)
{
    load();
}

int CustomQuickSetupList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant CustomQuickSetupList::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CustomQuickSetup &setup = m_setups.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return setup.name;
    case IdRole:
        return setup.id;
    case IconRole:
        return setup.icon;
    case DescriptionRole:
        return setup.description;
    case UrlsRole:
        return setup.urls;
    case CreatedAtRole:
        return setup.createdAt;
    case LastUsedRole:
        return setup.lastUsedValue();
    default:
        return {};
    }
}

QHash<int, QByteArray> CustomQuickSetupList::roleNames() const
{
    return {{IdRole, "setupId"},       {NameRole, "name"},
            {IconRole, "icon"},        {DescriptionRole, "description"},
            {UrlsRole, "urls"},        {CreatedAtRole, "createdAt"},
            {LastUsedRole, "lastUsed"}};
}

QStringList CustomQuickSetupList::availableIcons()
{
    return {
        u"square.grid.2x2"_s, u"briefcase"_s,  u"bolt"_s, u"star"_s,      u"globe"_s, u"folder"_s,
        u"hammer"_s,          u"paintbrush"_s, u"book"_s, u"chart.bar"_s, u"cart"_s,  u"gamecontroller"_s};
}

QString CustomQuickSetupList::defaultIcon()
{
    return availableIcons().constFirst();
}

void CustomQuickSetupList::load()
{
    const QVariant stored = m_context.defaults().value(StorageKey);
    const auto decoded = stored.isValid() ? CustomQuickSetup::decodeList(stored.toByteArray()) : std::nullopt;
    const qsizetype before = m_setups.size();
    beginResetModel();
    m_setups = decoded.value_or(QList<CustomQuickSetup>());
    endResetModel();
    if (before != m_setups.size())
        Q_EMIT countChanged();
}

void CustomQuickSetupList::save()
{
    const std::optional<QByteArray> data = CustomQuickSetup::encodeList(m_setups);
    if (!data)
        return;
    m_context.defaults().setValue(StorageKey, *data);
    m_context.defaults().synchronize();
}

QUuid CustomQuickSetupList::saveCurrentAsSetup(const QString &name, const QString &icon,
                                               const QString &description, const QStringList &tabAddresses)
{
    if (name.trimmed().isEmpty()) {
        Logger::log(u"❌ Quick setup not saved: it needs a name"_s);
        return {};
    }
    if (!icon.isEmpty() && !availableIcons().contains(icon)) {
        Logger::log(u"❌ Quick setup not saved: unknown icon \"%1\""_s.arg(icon));
        return {};
    }
    CustomQuickSetup setup;
    setup.id = QUuid::createUuid();
    setup.name = name.trimmed();
    setup.icon = icon.isEmpty() ? defaultIcon() : icon;
    setup.description = description.trimmed();
    setup.urls = consideredAddresses(tabAddresses);
    setup.createdAt = m_context.clock().now();

    const int row = count();
    beginInsertRows({}, row, row);
    m_setups.append(setup);
    endInsertRows();
    Q_EMIT countChanged();
    save();
    return setup.id;
}

void CustomQuickSetupList::deleteSetup(const QUuid &id)
{
    for (int row = count() - 1; row >= 0; --row) {
        if (m_setups.at(row).id != id)
            continue;
        beginRemoveRows({}, row, row);
        m_setups.removeAt(row);
        endRemoveRows();
        Q_EMIT countChanged();
    }
    save();
}

QStringList CustomQuickSetupList::applySetup(const QUuid &id)
{
    for (int row = 0; row < count(); ++row) {
        CustomQuickSetup &setup = m_setups[row];
        if (setup.id != id)
            continue;
        setup.lastUsed = m_context.clock().now();
        Q_EMIT dataChanged(index(row), index(row), {LastUsedRole});
        save();
        return setup.urls;
    }
    return {};
}

QString CustomQuickSetupList::suggestedName(const QStringList &tabAddresses)
{
    const QStringList addresses = consideredAddresses(tabAddresses);
    if (addresses.isEmpty())
        return u"My Setup"_s;
    QStringList hosts;
    for (const QString &address : addresses) {
        const QUrl url(WebAddress::withScheme(address), QUrl::StrictMode);
        const QString host = url.host();
        if (!host.isEmpty())
            hosts.append(capitalizedWords(QString(host).remove(u"www."_s)));
    }
    if (hosts.size() > 3)
        return u"Multi-Site Setup"_s;
    // Addresses none of which names a host say nothing better than the empty case.
    if (hosts.isEmpty())
        return u"My Setup"_s;
    return hosts.join(u" + "_s) + u" Setup"_s;
}

QString CustomQuickSetupList::suggestedDescription(const QStringList &tabAddresses)
{
    const qsizetype count = consideredAddresses(tabAddresses).size();
    if (count == 0)
        return u"Custom tab configuration"_s;
    if (count == 1)
        return u"Single site configuration"_s;
    if (count <= 3)
        return u"%1 sites configuration"_s.arg(count);
    return u"Multi-site configuration with %1 tabs"_s.arg(count);
}
