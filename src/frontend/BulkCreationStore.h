#pragma once

#include "core/AppDefinition.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantList>

class JobProgress;

class Context;
class SNBulkAppsManager;

// The bulk list's creation: checks every row (the list's own checks, then the generator's) and
// makes one app per row with the shared settings (browser, incognito, register as browser), one
// row per turn of the event loop so that the view can show progress. Rows that were made leave
// the list; rows that failed stay for another try.
class BulkCreationStore final : public QObject
{
    Q_OBJECT
    Q_MOC_INCLUDE("editing/SNBulkAppsManager.h")
    Q_PROPERTY(SNBulkAppsManager *list READ list CONSTANT)
    Q_PROPERTY(int selectedBrowser READ selectedBrowser WRITE setSelectedBrowser NOTIFY sharedSettingsChanged)
    Q_PROPERTY(bool incognito READ incognito WRITE setIncognito NOTIFY sharedSettingsChanged)
    Q_PROPERTY(bool registerAsBrowser READ registerAsBrowser WRITE setRegisterAsBrowser NOTIFY sharedSettingsChanged)
    // Why the list cannot be created yet (names the first row at fault); empty when it can.
    Q_PROPERTY(QString validationMessage READ validationMessage NOTIFY validationChanged)
    Q_PROPERTY(bool isCreating READ isCreating NOTIFY creationStateChanged)
    Q_PROPERTY(double progress READ progress NOTIFY creationStateChanged)
    Q_PROPERTY(QString currentAppName READ currentAppName NOTIFY creationStateChanged)
    // What the last run did ("2 of 3 apps created."); empty before the first run.
    Q_PROPERTY(QString resultMessage READ resultMessage NOTIFY creationStateChanged)

public:
    BulkCreationStore(Context &context, SNBulkAppsManager &list, QObject *parent = nullptr);

    SNBulkAppsManager *list() const { return &m_list; }
    int selectedBrowser() const { return m_selectedBrowser; }
    bool incognito() const { return m_incognito; }
    bool registerAsBrowser() const { return m_registerAsBrowser; }
    QString validationMessage() const { return m_validationMessage; }
    bool isCreating() const { return m_isCreating; }
    double progress() const { return m_progress; }
    QString currentAppName() const { return m_currentAppName; }
    QString resultMessage() const { return m_resultMessage; }

    void setSelectedBrowser(int type);
    void setIncognito(bool on);
    void setRegisterAsBrowser(bool on);

    // The shared settings from the user's defaults: the first installed browser, the default
    // incognito and register-as-browser switches.
    Q_INVOKABLE void loadDefaults();
    // Starts making the apps; false (and nothing written) when a row is refused or a run is on.
    Q_INVOKABLE bool createAll();
    // The user's own icon for `row` from an image file; a refused image is shown as an error.
    Q_INVOKABLE bool chooseIcon(int row, const QUrl &fileUrl);
    // The destination folder of `row`, as a folder chooser gives it.
    Q_INVOKABLE bool chooseFolder(int row, const QUrl &folderUrl);

Q_SIGNALS:
    void sharedSettingsChanged();
    void validationChanged();
    void creationStateChanged();
    void finished(int made, int total);

private:
    // The rows as they will be made, or the first row's fault in `error`.
    QList<AppDefinition> checkedRows(QString *error) const;
    void revalidate();
    void finish(const QList<quint64> &madeSerials, qsizetype total);

    Context &m_context;
    SNBulkAppsManager &m_list;
    int m_selectedBrowser = 0;
    bool m_incognito = false;
    bool m_registerAsBrowser = false;
    QString m_validationMessage;
    bool m_isCreating = false;
    double m_progress = 0;
    QString m_currentAppName;
    QString m_resultMessage;
    // The run under way: the rows, their list serials, and the serials of those made.
    // The rows being made (by their serials) and the job that makes them.
    QList<quint64> m_queueSerials;
    JobProgress *m_work;
};
