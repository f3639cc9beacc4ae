#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QSet>
#include <QString>

// A list of things picked by key, shown by name: the wizard's import profiles and the
// extensions of the chosen profile. Keeps which keys are checked.
class ChoiceListModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    struct Choice
    {
        QString key;
        QString name;
        friend bool operator==(const Choice &, const Choice &) = default;
    };
    enum Role { KeyRole = Qt::UserRole + 1, NameRole, CheckedRole };
    Q_ENUM(Role)

    explicit ChoiceListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_choices.size()); }

    const QList<Choice> &choices() const { return m_choices; }
    // Replaces the list; checked keys that are no longer listed are dropped.
    void setChoices(const QList<Choice> &choices);
    Q_INVOKABLE bool contains(const QString &key) const;

    QSet<QString> checkedKeys() const { return m_checked; }
    // Checks the listed ones of `keys`.
    void setCheckedKeys(const QSet<QString> &keys);
    Q_INVOKABLE void setChecked(const QString &key, bool checked);

Q_SIGNALS:
    void countChanged();
    void checkedKeysChanged();

private:
    QList<Choice> m_choices;
    QSet<QString> m_checked;
};
