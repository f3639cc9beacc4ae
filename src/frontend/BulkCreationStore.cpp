#include "frontend/BulkCreationStore.h"

#include "frontend/InstalledBrowsers.h"
#include "frontend/SettingsKeys.h"

#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "core/Prompter.h"
#include "core/UserDefaults.h"
#include "core/WebAddress.h"
#include "editing/SNBulkAppsManager.h"
#include "frontend/JobProgress.h"
#include "generation/CreateAppsJob.h"
#include "generation/DefinitionValidator.h"

#include <QDir>

using namespace Qt::Literals::StringLiterals;

namespace {

// A person types "mail.example.com"; the generator needs the scheme. An address that names a
// scheme of its own keeps it, so that the generator refuses one that is not the web's.
QString withScheme(const QString &address)
{
    return address.contains(u"://"_s) ? address.trimmed() : WebAddress::withScheme(address);
}

} // namespace

BulkCreationStore::BulkCreationStore(Context &context, SNBulkAppsManager &list, QObject *parent)
    : QObject(parent), m_context(context), m_list(list), m_work(new JobProgress(this))
{
    loadDefaults();
    connect(&m_list, &QAbstractItemModel::dataChanged, this, &BulkCreationStore::revalidate);
    connect(&m_list, &QAbstractItemModel::rowsInserted, this, &BulkCreationStore::revalidate);
    connect(&m_list, &QAbstractItemModel::rowsRemoved, this, &BulkCreationStore::revalidate);
    connect(&m_list, &QAbstractItemModel::modelReset, this, &BulkCreationStore::revalidate);
    revalidate();
}

void BulkCreationStore::setSelectedBrowser(int type)
{
    type = BrowserCatalogue::byNumber(type).number;
    if (type == m_selectedBrowser)
        return;
    m_selectedBrowser = type;
    Q_EMIT sharedSettingsChanged();
}

void BulkCreationStore::setIncognito(bool on)
{
    if (on == m_incognito)
        return;
    m_incognito = on;
    Q_EMIT sharedSettingsChanged();
}

void BulkCreationStore::setRegisterAsBrowser(bool on)
{
    if (on == m_registerAsBrowser)
        return;
    m_registerAsBrowser = on;
    Q_EMIT sharedSettingsChanged();
}

void BulkCreationStore::loadDefaults()
{
    const UserDefaults &defaults = m_context.defaults();
    const QList<int> installed = InstalledBrowsers::detect(defaults);
    m_selectedBrowser = installed.isEmpty() ? 0 : installed.constFirst();
    m_incognito = defaults.boolForKey(SettingsKeys::IncognitoMode);
    m_registerAsBrowser = defaults.boolForKey(SettingsKeys::RegisterAsBrowser);
    Q_EMIT sharedSettingsChanged();
}

QList<AppDefinition> BulkCreationStore::checkedRows(QString *error) const
{
    if (const int row = m_list.firstRowWithInvalidName(); row >= 0) {
        const QString &name = m_list.cell(row).bulkApp.appName;
        *error = AppNameRule::check(name) == AppNameRule::Verdict::TooLong
                     ? u"Row %1: the name is %2."_s.arg(row + 1).arg(AppNameRule::tooLongMessage(name))
                     : u"Row %1: give the app a name, without \"/\"."_s.arg(row + 1);
        return {};
    }
    if (const int row = m_list.firstRowWithInvalidURL(); row >= 0) {
        *error = u"Row %1: the address needs at least %2 characters."_s.arg(row + 1).arg(
            SNBulkAppsManager::MinimumURLLength);
        return {};
    }
    const DefinitionValidator validator(m_context, QDir::currentPath());
    QList<AppDefinition> rows = m_list.appsToCreate();
    for (qsizetype i = 0; i < rows.size(); ++i) {
        AppDefinition &app = rows[i];
        app.appURL = withScheme(app.appURL);
        for (TabAddress &tab : app.tabsList)
            tab.tabUrlString = withScheme(tab.tabUrlString);
        app.incognito = m_incognito;
        app.registerAsBrowser = m_registerAsBrowser;
        QString fault;
        if (!app.applicationsPath.isEmpty() && !QDir::isAbsolutePath(app.applicationsPath))
            fault = u"creationPath: the destination folder must be a full path"_s;
        else
            validator.validate(app, &fault);
        if (!fault.isEmpty()) {
            *error = u"Row %1: %2"_s.arg(i + 1).arg(fault);
            return {};
        }
    }
    return rows;
}

void BulkCreationStore::revalidate()
{
    if (m_isCreating)
        return;
    QString error;
    checkedRows(&error);
    if (error == m_validationMessage)
        return;
    m_validationMessage = error;
    Q_EMIT validationChanged();
}

bool BulkCreationStore::createAll()
{
    if (m_isCreating)
        return false;
    QString error;
    const QList<AppDefinition> rows = checkedRows(&error);
    if (!error.isEmpty() || rows.isEmpty()) {
        m_validationMessage = error;
        Q_EMIT validationChanged();
        return false;
    }
    m_queueSerials.clear();
    for (int row = 0; row < m_list.appCount(); ++row)
        m_queueSerials.append(m_list.cell(row).serial);
    auto job = std::make_unique<CreateAppsJob>(
        m_context, CreateAppsRequest{rows, m_selectedBrowser, {}, WhenNameTaken::Ask, QDir::currentPath()});
    // Told on this thread as each app is done; the outcomes are read once the job has ended.
    connect(job.get(), &CreateAppsJob::progressChanged, this, [this](double fraction, const QString &made) {
        m_progress = fraction;
        m_currentAppName = made;
        Q_EMIT creationStateChanged();
    });
    const qsizetype total = rows.size();
    const bool started = m_work->run<CreateAppsJob>(std::move(job), &m_context.prompter(), [this, total](CreateAppsJob &done) {
        QList<quint64> made;
        QStringList failures;
        for (qsizetype i = 0; i < done.outcomes().size(); ++i) {
            const CreateAppsJob::Outcome &outcome = done.outcomes().at(i);
            if (outcome.created)
                made.append(m_queueSerials.at(i));
            else
                failures.append(u"%1: %2"_s.arg(outcome.app.appName, outcome.error));
        }
        finish(made, total);
        if (!failures.isEmpty())
            m_context.prompter().showError(failures.join(u'\n'));
    });
    if (!started)
        return false;
    m_isCreating = true;
    m_progress = 0;
    m_currentAppName = rows.constFirst().appName;
    m_resultMessage.clear();
    Q_EMIT creationStateChanged();
    return true;
}

void BulkCreationStore::finish(const QList<quint64> &madeSerials, qsizetype total)
{
    const int made = static_cast<int>(madeSerials.size());
    QList<int> madeRows;
    for (int row = 0; row < m_list.appCount(); ++row) {
        if (madeSerials.contains(m_list.cell(row).serial))
            madeRows.append(row);
    }
    m_isCreating = false;
    m_currentAppName.clear();
    m_resultMessage = u"%1 of %2 apps created."_s.arg(made).arg(total);
    m_queueSerials.clear();
    m_list.removeSelectedAppsAction(madeRows);
    if (m_list.appCount() == 0)
        m_list.reset();
    revalidate();
    Q_EMIT creationStateChanged();
    if (made > 0)
        m_context.notifications().post(NotificationNames::AppCreationCompleted);
    Q_EMIT finished(made, static_cast<int>(total));
}

bool BulkCreationStore::chooseIcon(int row, const QUrl &fileUrl)
{
    QString error;
    const SNImage icon = fileUrl.isLocalFile() ? SNImage::fromFile(fileUrl.toLocalFile(), &error) : SNImage();
    if (icon.isNull() || !m_list.chooseIcon(row, icon, &error)) {
        if (!error.isEmpty())
            m_context.prompter().showError(error);
        return false;
    }
    return true;
}

bool BulkCreationStore::chooseFolder(int row, const QUrl &folderUrl)
{
    if (!folderUrl.isLocalFile() || row < 0 || row >= m_list.appCount())
        return false;
    return m_list.setData(m_list.index(row), folderUrl.toLocalFile(), SNBulkAppsManager::CreationPathRole);
}
