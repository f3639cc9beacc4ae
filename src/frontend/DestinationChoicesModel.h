#pragma once

#include "frontend/RoutingDestination.h"

#include <QAbstractListModel>

class Context;

// The destinations a rule or the app's default can be sent to: the default browser, the app
// itself, each installed browser, and the user's other apps; the browsers and the apps each sorted
// by name (case-insensitive, in the user's locale). Bundles the user picks are added on request.
class DestinationChoicesModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)
public:
    enum Role { DestinationRole = Qt::UserRole + 1, LabelRole, KindRole };
    Q_ENUM(Role)

    explicit DestinationChoicesModel(Context &context, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_choices.size()); }
    const QList<RoutingDestination> &choices() const { return m_choices; }
    QString lastError() const { return m_lastError; }

    // Rebuilds the list; `excludedAppPath` (the app being edited) is not offered as a destination.
    Q_INVOKABLE void reload(const QString &excludedAppPath = {});
    Q_INVOKABLE RoutingDestination destinationAt(int row) const;
    // The row of a destination, added when it is not listed yet; -1 when it is none.
    Q_INVOKABLE int indexOf(const RoutingDestination &destination);
    // The destination a chosen application bundle stands for, added to the list; its row, or -1
    // with lastError set.
    Q_INVOKABLE int addBundle(const QString &bundlePath);

    // The destination of an installed browser of the catalogue, by its type number.
    static RoutingDestination browserDestination(int applicationType);

Q_SIGNALS:
    void countChanged();
    void lastErrorChanged();

private:
    Context &m_context;
    QList<RoutingDestination> m_choices;
    QString m_lastError;
};
