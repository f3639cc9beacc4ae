#pragma once

#include "core/AppDefinition.h"
#include "core/SNImage.h"
#include "editing/SNBulkCell.h"

#include <QAbstractListModel>
#include <QList>
#include <QString>

#include <functional>

class Context;

// The bulk list: one app definition per row (name, address, icon, tabs, destination folder), made
// in one go with the editor's shared settings. Rows are validated together before anything is
// created, and each row proposes the site's icon when its address is edited.
class SNBulkAppsManager final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int appCount READ appCount NOTIFY appCountChanged)
    Q_PROPERTY(bool removeAllEnabled READ removeAllEnabled NOTIFY removeAllEnabledChanged)
public:
    enum Role {
        AppNameRole = Qt::UserRole + 1,
        AppURLRole,
        AppIconRole,
        CreationPathRole,
        TabbedAppRole,
        TabsRole, // list of addresses
        RowRole,
        TabsEnabledRole,
        IconBeingFetchedRole,
        HasManuallySelectedIconRole,
        LastIconURLRole,
        AppIconUrlRole, // the icon as a "data:image/png" URL, for a view without an image provider
    };
    Q_ENUM(Role)

    // Starts finding the icon of a site from its address as typed; `deliver` is to be called
    // once, on the model's thread, with the image (null when there is none) and the address with
    // the scheme that answered (empty when the site did not answer). Returns what stops that
    // search (or an empty function): the model calls it when the row goes away first.
    using IconDelivery = std::function<void(const SNImage &, const QString &answered)>;
    using FaviconSearch = std::function<std::function<void()>(const QString &address, IconDelivery deliver)>;

    static const QString NotSquareMessage;
    // Addresses shorter than this are refused by urlsAreValid.
    static constexpr qsizetype MinimumURLLength = 6;

    explicit SNBulkAppsManager(Context &context, QObject *parent = nullptr);
    ~SNBulkAppsManager() override;

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;
    QHash<int, QByteArray> roleNames() const override;

    void setFaviconSearch(FaviconSearch search) { m_faviconSearch = std::move(search); }

    // Empties the list and adds one empty row.
    Q_INVOKABLE void reset();
    Q_INVOKABLE void addAppAction();
    // Appends a row holding `app` (a list read from a file).
    void addApp(const AppDefinition &app);
    Q_INVOKABLE void removeAppAction(int tag);
    Q_INVOKABLE void removeSelectedAppsAction(const QList<int> &selectedRows);
    // Removes every row but the first, which keeps its values.
    Q_INVOKABLE void removeAllAppsAction();

    // Every address has at least MinimumURLLength characters (a missing one has none).
    Q_INVOKABLE bool urlsAreValid() const { return firstRowWithInvalidURL() < 0; }
    // Every name is given and holds no "/". Equal names pass: creation numbers them.
    Q_INVOKABLE bool appNamesAreValid() const { return firstRowWithInvalidName() < 0; }
    // The first row failing the check, or -1.
    int firstRowWithInvalidURL() const;
    int firstRowWithInvalidName() const;

    // A field of `row` was edited: with an address the row can take tabs, and a new address
    // starts a favicon search unless one is running or the user chose the icon.
    Q_INVOKABLE void fieldEditingEnded(int row);
    // The user's own icon for `row`; it must be square (else false with NotSquareMessage).
    bool chooseIcon(int row, const SNImage &icon, QString *error = nullptr);

    QList<AppDefinition> appsToCreate() const;
    int appCount() const { return static_cast<int>(m_cells.size()); }
    QList<SNImage> appIcons() const;
    bool removeAllEnabled() const { return m_cells.size() >= 2; }
    const SNBulkCell &cell(int row) const { return m_cells.at(row); }

    // "http://" before an address that names no scheme of its own.

Q_SIGNALS:
    void appCountChanged();
    void removeAllEnabledChanged();

private:
    void afterRemoval(bool wasRemoveAllEnabled);
    // Removes rows [first, last], stopping their icon searches.
    void removeRows(int first, int last);
    void renumber();
    void rowChanged(int row);
    void iconFound(quint64 serial, const QString &address, const SNImage &icon, const QString &answered);

    Context &m_context;
    QList<SNBulkCell> m_cells;
    quint64 m_nextSerial = 1;
    FaviconSearch m_faviconSearch;
};
