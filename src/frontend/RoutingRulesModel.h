#pragma once

#include "frontend/WizardRoutingRule.h"

#include <QAbstractListModel>
#include <QVariantList>

// The wizard's routing rules, top-down: the first rule whose pattern matches a link decides.
class RoutingRulesModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role
    {
        IdRole = Qt::UserRole + 1,
        PatternRole,
        ActionRole,
        IsRouteRole,
        DestinationRole,
        DestinationLabelRole,
        ChosenDestinationRole, // where the row sends links: "Stay in app" for an allow rule
    };
    Q_ENUM(Role)

    explicit RoutingRulesModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return static_cast<int>(m_rules.size()); }
    const QList<WizardRoutingRule> &rules() const { return m_rules; }
    void setRules(const QList<WizardRoutingRule> &rules);

    // The stored form, and the rows of stored rules (rules without a pattern are left out).
    QVariantList records() const;
    void setRecords(const QVariantList &records);

    Q_INVOKABLE void addRule(const QString &pattern, WizardRoutingRule::Action action,
                             const RoutingDestination &destination);
    // "Add several rules"; the number of rules added.
    Q_INVOKABLE int addSeveralRules(const QString &text, const RoutingDestination &destination);
    Q_INVOKABLE void removeRule(int row);
    Q_INVOKABLE void moveRule(int from, int to);
    Q_INVOKABLE void setPattern(int row, const QString &pattern);
    Q_INVOKABLE void setAction(int row, WizardRoutingRule::Action action);
    Q_INVOKABLE void setDestination(int row, const RoutingDestination &destination);
    // A picker's choice: staying in the app makes the row an allow rule, anything else a route.
    Q_INVOKABLE void sendTo(int row, const RoutingDestination &destination);

Q_SIGNALS:
    void countChanged();
    // Any change of the rules.
    void rulesChanged();

private:
    void changed(int row);

    QList<WizardRoutingRule> m_rules;
};
