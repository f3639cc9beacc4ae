#include "frontend/RoutingRulesModel.h"

#include "frontend/ModelSignals.h"

RoutingRulesModel::RoutingRulesModel(QObject *parent)
    : QAbstractListModel(parent)
{
    ModelSignals::emitOnCountChange(this, &RoutingRulesModel::countChanged);
    ModelSignals::emitOnAnyChange(this, &RoutingRulesModel::rulesChanged);
}

int RoutingRulesModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant RoutingRulesModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const WizardRoutingRule &rule = m_rules.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
    case PatternRole:
        return rule.pattern;
    case IdRole:
        return rule.id;
    case ActionRole:
        return QVariant::fromValue(rule.action);
    case IsRouteRole:
        return rule.action == WizardRoutingRule::Action::Route;
    case DestinationRole:
        return QVariant::fromValue(rule.destination);
    case DestinationLabelRole:
        return rule.action == WizardRoutingRule::Action::Route ? rule.destination.label()
                                                               : RoutingDestination::inApp().label();
    case ChosenDestinationRole:
        return QVariant::fromValue(rule.action == WizardRoutingRule::Action::Route ? rule.destination
                                                                                   : RoutingDestination::inApp());
    default:
        return {};
    }
}

QHash<int, QByteArray> RoutingRulesModel::roleNames() const
{
    return {{IdRole, "ruleId"},           {PatternRole, "pattern"},         {ActionRole, "action"},
            {IsRouteRole, "isRoute"},     {DestinationRole, "destination"}, {DestinationLabelRole, "destinationLabel"},
            {ChosenDestinationRole, "chosenDestination"}};
}

void RoutingRulesModel::setRules(const QList<WizardRoutingRule> &rules)
{
    beginResetModel();
    m_rules = rules;
    endResetModel();
}

QVariantList RoutingRulesModel::records() const
{
    QVariantList records;
    for (const WizardRoutingRule &rule : m_rules) {
        if (!rule.pattern.trimmed().isEmpty())
            records.append(rule.toRecord());
    }
    return records;
}

void RoutingRulesModel::setRecords(const QVariantList &records)
{
    QList<WizardRoutingRule> rules;
    for (const QVariant &record : records) {
        const WizardRoutingRule rule = WizardRoutingRule::fromRecord(record.toMap());
        if (!rule.pattern.isEmpty())
            rules.append(rule);
    }
    setRules(rules);
}

void RoutingRulesModel::addRule(const QString &pattern, WizardRoutingRule::Action action,
                                const RoutingDestination &destination)
{
    beginInsertRows({}, count(), count());
    m_rules.append(WizardRoutingRule::make(pattern, action, destination));
    endInsertRows();
}

int RoutingRulesModel::addSeveralRules(const QString &text, const RoutingDestination &destination)
{
    const QList<WizardRoutingRule> added = WizardRoutingRule::rulesFromPastedText(text, destination);
    if (added.isEmpty())
        return 0;
    beginInsertRows({}, count(), count() + static_cast<int>(added.size()) - 1);
    m_rules.append(added);
    endInsertRows();
    return static_cast<int>(added.size());
}

void RoutingRulesModel::removeRule(int row)
{
    if (row < 0 || row >= count())
        return;
    beginRemoveRows({}, row, row);
    m_rules.removeAt(row);
    endRemoveRows();
}

void RoutingRulesModel::moveRule(int from, int to)
{
    if (from < 0 || from >= count() || to < 0 || to >= count() || from == to)
        return;
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
    m_rules.move(from, to);
    endMoveRows();
}

void RoutingRulesModel::setPattern(int row, const QString &pattern)
{
    if (row < 0 || row >= count() || m_rules.at(row).pattern == pattern)
        return;
    m_rules[row].pattern = pattern;
    changed(row);
}

void RoutingRulesModel::setAction(int row, WizardRoutingRule::Action action)
{
    if (row < 0 || row >= count() || m_rules.at(row).action == action)
        return;
    m_rules[row].action = action;
    changed(row);
}

void RoutingRulesModel::setDestination(int row, const RoutingDestination &destination)
{
    if (row < 0 || row >= count() || m_rules.at(row).destination == destination)
        return;
    m_rules[row].destination = destination;
    changed(row);
}

void RoutingRulesModel::sendTo(int row, const RoutingDestination &destination)
{
    if (destination.kind == RoutingDestination::Kind::InApp) {
        setAction(row, WizardRoutingRule::Action::Allow);
        return;
    }
    setDestination(row, destination);
    setAction(row, WizardRoutingRule::Action::Route);
}

void RoutingRulesModel::changed(int row)
{
    const QModelIndex at = index(row);
    Q_EMIT dataChanged(at, at);
}
