#pragma once

#include "frontend/RoutingDestination.h"

#include <QAbstractListModel>

class Context;

// The destinations a rule or the app's default can be sent to: the default browser, the app
// itself, each installed browser, and the user's other apps; the browsers and the apps each sorted
// by name (case-insensitive, in the user's locale).
class DestinationChoicesModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role { DestinationRole = Qt::UserRole + 1, LabelRole, KindRole };
    Q_ENUM(Role)

    explicit DestinationChoicesModel(Context &context, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_choices.size()); }
    const QList<RoutingDestination> &choices() const { return m_choices; }

    // Rebuilds the list; `excludedAppPath` (the app being edited) is not offered as a destination.
    Q_INVOKABLE void reload(const QString &excludedAppPath = {});
    Q_INVOKABLE RoutingDestination destinationAt(int row) const;
    // The row of a destination, added when it is not listed yet; -1 when it is none.
    Q_INVOKABLE int indexOf(const RoutingDestination &destination);

    // The destination of an installed browser of the catalogue, by its type number.
    static RoutingDestination browserDestination(int applicationType);

Q_SIGNALS:
    void countChanged();

private:
    Context &m_context;
    QList<RoutingDestination> m_choices;
};
