#include "frontend/ChoiceListModel.h"

#include "frontend/ModelSignals.h"

ChoiceListModel::ChoiceListModel(QObject *parent)
    : QAbstractListModel(parent)
{
    ModelSignals::emitOnCountChange(this, &ChoiceListModel::countChanged);
}

int ChoiceListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant ChoiceListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Choice &choice = m_choices.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case NameRole:
        return choice.name;
    case KeyRole:
        return choice.key;
    case CheckedRole:
        return m_checked.contains(choice.key);
    default:
        return {};
    }
}

QHash<int, QByteArray> ChoiceListModel::roleNames() const
{
    return {{KeyRole, "key"}, {NameRole, "name"}, {CheckedRole, "checked"}};
}

void ChoiceListModel::setChoices(const QList<Choice> &choices)
{
    if (choices == m_choices)
        return;
    beginResetModel();
    m_choices = choices;
    endResetModel();
    setCheckedKeys(m_checked);
}

bool ChoiceListModel::contains(const QString &key) const
{
    return std::any_of(m_choices.cbegin(), m_choices.cend(), [&](const Choice &choice) { return choice.key == key; });
}

void ChoiceListModel::setCheckedKeys(const QSet<QString> &wanted)
{
    QSet<QString> keys;
    for (const QString &key : wanted) {
        if (contains(key))
            keys.insert(key);
    }
    if (keys == m_checked)
        return;
    m_checked = keys;
    if (count() > 0)
        Q_EMIT dataChanged(index(0), index(count() - 1), {CheckedRole});
    Q_EMIT checkedKeysChanged();
}

void ChoiceListModel::setChecked(const QString &key, bool checked)
{
    QSet<QString> keys = m_checked;
    if (checked && contains(key))
        keys.insert(key);
    else
        keys.remove(key);
    setCheckedKeys(keys);
}
