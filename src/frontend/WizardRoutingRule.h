#pragma once

#include "frontend/RoutingDestination.h"

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// One row of the wizard's routing rules: a link pattern that either stays in the app or goes to
// a destination. Two rows are equal when identifier, pattern, action and destination are.
class WizardRoutingRule
{
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id)
    Q_PROPERTY(QString pattern MEMBER pattern)
    Q_PROPERTY(Action action MEMBER action)
    Q_PROPERTY(RoutingDestination destination MEMBER destination)

public:
    enum class Action { Allow, Route };
    Q_ENUM(Action)

    QString id;
    QString pattern;
    Action action = Action::Allow;
    // Kept while the row says "allow", so switching back to "route" restores the choice.
    RoutingDestination destination;

    // A new row with a fresh identifier.
    static WizardRoutingRule make(const QString &pattern, Action action, const RoutingDestination &destination);

    // A row from a stored rule, with the routing data's defaults: a missing identifier gets a
    // new one, any action but "route" is allow, and a route without a valid destination goes to
    // the default browser.
    static WizardRoutingRule fromRecord(const QVariantMap &record);
    // The stored rule: "id", "pattern", "action" and, for a route, "destination".
    QVariantMap toRecord() const;

    // "Add several rules": the text split at line breaks, commas and blanks, one rule per piece,
    // in the order given, each routed to the batch's destination.
    static QList<WizardRoutingRule> rulesFromPastedText(const QString &text, const RoutingDestination &destination);

    friend bool operator==(const WizardRoutingRule &, const WizardRoutingRule &) = default;
};

Q_DECLARE_METATYPE(WizardRoutingRule)
