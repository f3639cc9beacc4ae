#pragma once

#include "core/SNAppItem.h"
#include "core/SNEditorItem.h"

#include <QAbstractListModel>
#include <QElapsedTimer>
#include <QList>
#include <QString>
#include <QVariantMap>

#include <optional>

class Context;

// The user's apps as a list model: built from the registry, each record checked against its
// bundle and read back from the bundle's launcher script. Reloads (on the main thread) whenever
// "AppUpdateNotification" is posted and posts "AppItemsDidLoad" after every change of the list.
class AppList final : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    enum Role {
        AppIdRole = Qt::UserRole + 1,
        PathRole,
        NameRole,
        UrlsRole,
        TypeRole,
        TypeIconRole,
        BrowserIconRole,
        BrowserNameRole,
        BrowserTypeRole,
    };
    Q_ENUM(Role)

    explicit AppList(Context &context, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;
    int count() const { return static_cast<int>(m_appItems.size()); }

    const QList<SNAppItem> &appItems() const { return m_appItems; }

    Q_INVOKABLE void loadRecentApps();
    Q_INVOKABLE void loadRecentAppsAsync();
    // Takes the row of `appId` out of the list (not the registry, not the bundle).
    Q_INVOKABLE void removeAppItem(const QString &appId);

    // The list, in the registry's order: one item per bundle path (the first record wins),
    // bundles that are gone or made by another creator left out; a bundle whose Info.plist cannot
    // be read at all is still listed.
    static QList<SNAppItem> loadAppItems(Context &context);
    // The launch program of a bundle: CFBundleExecutable when that file exists, else the first
    // "#!" file of Contents/MacOS, else its first entry; empty when there is none.
    static QString launcherBinaryNameForApp(const QString &bundlePath);
    // What the list shows of an app: appName, isTabbed ("Yes"/"No"), appURLs and browserType.
    static std::optional<QVariantMap> getAppData(const QString &bundlePath);
    // A row's app ready for editing: its stored definition overruled by its script.
    static SNEditorItem editorItem(Context &context, const SNAppItem &item);

Q_SIGNALS:
    void countChanged();

private:
    // The shortest time between two reloads asked for by registry changes (m_sinceReload: since
    // the last of them).
    static constexpr int ReloadDelayMs = 150;

    Context &m_context;
    bool m_reloadPending = false;
    QElapsedTimer m_sinceReload;
    QList<SNAppItem> m_appItems;
};
