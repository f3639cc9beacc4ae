#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <QUuid>

// One tab of a tabbed app in the wizard: an identity that survives moves and edits, and its
// address as typed.
struct TabItem
{
    QUuid id = QUuid::createUuid();
    QString url;
};

// The wizard's tabs, in tab order. Only tabs whose address is not blank reach the app.
class TabsModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role { IdRole = Qt::UserRole + 1, UrlRole };
    Q_ENUM(Role)

    explicit TabsModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return static_cast<int>(m_tabs.size()); }
    const QList<TabItem> &tabs() const { return m_tabs; }

    Q_INVOKABLE void addTab(const QString &url = {});
    Q_INVOKABLE void removeTab(int row);
    // Moves the tab at `from` so that it ends up at `to`.
    Q_INVOKABLE void moveTab(int from, int to);
    Q_INVOKABLE void setUrl(int row, const QString &url);
    // Replaces every tab by one new tab per address.
    Q_INVOKABLE void setUrls(const QStringList &urls);

    // Every address as typed, and the addresses of the tabs that count (trimmed, not blank).
    Q_INVOKABLE QStringList urls() const;
    Q_INVOKABLE QStringList validUrls() const;

Q_SIGNALS:
    void countChanged();
    // Any change of the list or of an address.
    void tabsChanged();

private:
    QList<TabItem> m_tabs;
};
