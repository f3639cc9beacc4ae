#include "frontend/WizardRoutingRule.h"

#include "companion/SNRoutingConfig.h"
#include "core/Ids.h"

#include <QRegularExpression>

WizardRoutingRule WizardRoutingRule::make(const QString &pattern, Action action, const RoutingDestination &destination)
{
    WizardRoutingRule rule;
    rule.id = Ids::newRuleId();
    rule.pattern = pattern;
    rule.action = action;
    rule.destination = destination;
    return rule;
}

WizardRoutingRule WizardRoutingRule::fromRecord(const QVariantMap &record)
{
    WizardRoutingRule rule;
    const QVariant id = record.value(SNRoutingConfig::keyId());
    rule.id = id.typeId() == QMetaType::QString && !id.toString().isEmpty() ? id.toString() : Ids::newRuleId();
    rule.pattern = record.value(SNRoutingConfig::keyPattern()).toString().trimmed();
    const QVariant action = record.value(SNRoutingConfig::keyAction());
    rule.action = action.typeId() == QMetaType::QString && action.toString() == SNRoutingConfig::actionRoute()
                      ? Action::Route
                      : Action::Allow;
    if (rule.action == Action::Route)
        rule.destination = RoutingDestination::fromRecord(record.value(SNRoutingConfig::keyDestination()))
                               .value_or(RoutingDestination::defaultBrowser());
    return rule;
}

QVariantMap WizardRoutingRule::toRecord() const
{
    QVariantMap record{
        {SNRoutingConfig::keyId(), id},
        {SNRoutingConfig::keyPattern(), pattern.trimmed()},
        {SNRoutingConfig::keyAction(),
         action == Action::Route ? SNRoutingConfig::actionRoute() : SNRoutingConfig::actionAllow()},
    };
    if (action == Action::Route)
        record.insert(SNRoutingConfig::keyDestination(), destination.toRecord());
    return record;
}

QList<WizardRoutingRule> WizardRoutingRule::rulesFromPastedText(const QString &text,
                                                                const RoutingDestination &destination)
{
    static const QRegularExpression separators(QStringLiteral("[\\s,]+"));
    QList<WizardRoutingRule> rules;
    for (const QString &piece : text.split(separators, Qt::SkipEmptyParts))
        rules.append(make(piece, Action::Route, destination));
    return rules;
}
