#pragma once

#include "frontend/CustomQuickSetup.h"

#include <QAbstractListModel>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

class Context;

// The user's quick setups, kept as one JSON array under the user default "CustomQuickSetups".
// Every change is saved at once. Missing or undecodable data reads as no setups; a list that
// cannot be encoded is not written, so the stored one stays.
//
// Icons are symbol names that the view turns into pictures: availableIcons() is what the save
// sheet offers, defaultIcon() its first choice.
class CustomQuickSetupList final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(QStringList availableIcons READ availableIcons CONSTANT)
    Q_PROPERTY(QString defaultIcon READ defaultIcon CONSTANT)
public:
    enum Role
    {
        IdRole = Qt::UserRole + 1,
        NameRole,
        IconRole,
        DescriptionRole,
        UrlsRole,
        CreatedAtRole,
        LastUsedRole,
    };
    Q_ENUM(Role)

    static const QString StorageKey;

    explicit CustomQuickSetupList(Context &context, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_setups.size()); }

    static QStringList availableIcons();
    static QString defaultIcon();

    Q_INVOKABLE void load();
    void save();

    // Appends a setup of the given tab addresses (trimmed, empty ones left out) and saves. An
    // empty icon means the default one. A name that is empty after trimming, or an icon that is
    // not offered, is refused with a log line: a null id and nothing changed.
    Q_INVOKABLE QUuid saveCurrentAsSetup(const QString &name, const QString &icon, const QString &description,
                                         const QStringList &tabAddresses);
    // Removes every setup with this id and saves.
    Q_INVOKABLE void deleteSetup(const QUuid &id);
    // The addresses that become the wizard's tabs; the stored setup is stamped as used now.
    // Empty for an unknown id.
    Q_INVOKABLE QStringList applySetup(const QUuid &id);

    // What the save sheet proposes for the given tab addresses.
    static QString suggestedName(const QStringList &tabAddresses);
    static QString suggestedDescription(const QStringList &tabAddresses);
    Q_INVOKABLE QString nameSuggestion(const QStringList &tabAddresses) const
    {
        return suggestedName(tabAddresses);
    }
    Q_INVOKABLE QString descriptionSuggestion(const QStringList &tabAddresses) const
    {
        return suggestedDescription(tabAddresses);
    }

    const QList<CustomQuickSetup> &setups() const { return m_setups; }

Q_SIGNALS:
    void countChanged();

private:
    Context &m_context;
    QList<CustomQuickSetup> m_setups;
};
