#pragma once

#include "frontend/HomescreenAppEntry.h"

#include <QAbstractListModel>
#include <QList>

// A list of home-screen entries as a view shows it: one row per app, a role per entry field. The
// icon is offered twice: as the image itself (Qt::DecorationRole) and as a "data:image/png" URL
// (`iconUrl`) that an Image element can show without an image provider.
class HomescreenAppsModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        NameRole,
        IconUrlRole,
        AppPathRole,
        AppTypeRole,
        IsTabbedRole,
        BrowserTypeRole,
        BrowserNameRole,
        UrlsRole,
        RegisterAsBrowserRole,
        EnableIncognitoRole,
        EnableWhitelistingRole,
        DateRole,
        EntryRole, // the whole entry, as a HomescreenAppEntry value
        // What a view shows for an app without an icon (LetterIcon): its initial, on its colour.
        InitialRole,
        InitialColorRole,
    };
    Q_ENUM(Role)

    explicit HomescreenAppsModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    int count() const { return static_cast<int>(m_entries.size()); }
    const QList<HomescreenAppEntry> &entries() const { return m_entries; }
    // Replaces the rows; false (and no signal) when the list is the same. An app added, removed
    // or changed arrives as that row's insertion, removal or change, so that views keep the
    // delegates of the other rows; only a new order resets the model.
    bool setEntries(const QList<HomescreenAppEntry> &entries);

    Q_INVOKABLE HomescreenAppEntry entryAt(int row) const { return m_entries.value(row); }
    Q_INVOKABLE int rowOf(const QString &id) const;

    // The image as a PNG data URL; empty for no image.
    static QString iconUrl(const QImage &image);
    // The address of a bundle's own icon for the desktop app's image provider of that name
    // (AppIconImageProvider); it changes when the icon does. Empty when the bundle has none.
    static QString bundleIconUrl(const QString &bundlePath);
    static const QString AppIconProvider; // "appicon"
    static const QString BundleIconFile;  // "/Contents/Resources/icon.icns"

Q_SIGNALS:
    void countChanged();

private:
    bool updateInPlace(const QList<HomescreenAppEntry> &entries);

    QList<HomescreenAppEntry> m_entries;
};
