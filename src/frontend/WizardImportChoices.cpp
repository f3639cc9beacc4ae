#include "frontend/WizardImportChoices.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Context.h"
#include "core/UserDefaults.h"
#include "editing/ImportCategory.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"
#include "frontend/SettingsKeys.h"
#include "frontend/WizardDraft.h"

#include <QPointer>
#include <QThreadPool>

#include <functional>

namespace {

using Choices = QList<ChoiceListModel::Choice>;

// Runs `work` on the shared pool and hands its result to `deliver` on the owner's thread, unless
// the owner has gone meanwhile.
void inBackground(QObject *owner, std::function<Choices()> work, std::function<void(const Choices &)> deliver)
{
    QPointer<QObject> guard(owner);
    QThreadPool::globalInstance()->start([guard, work = std::move(work), deliver = std::move(deliver)] {
        Choices result = work();
        if (!guard)
            return;
        QMetaObject::invokeMethod(
            guard.data(),
            [guard, deliver, result = std::move(result)] {
                if (guard)
                    deliver(result);
            },
            Qt::QueuedConnection);
    });
}

} // namespace

WizardImportChoices::WizardImportChoices(Context &context, const WizardDraft &draft, QObject *parent)
    : QObject(parent),
      m_context(context),
      m_draft(draft),
      m_profiles(new ChoiceListModel(this)),
      m_extensions(new ChoiceListModel(this)),
      m_categories(ImportCategories::rawValues(ImportCategories::defaults()))
{
    connect(this, &WizardImportChoices::importEnabledChanged, this, [this] {
        if (!m_loading && m_importEnabled)
            loadProfiles();
    });
    connect(&draft, &WizardDraft::selectedBrowserChanged, this, [this] {
        if (m_importEnabled)
            loadProfiles();
    });
    connect(this, &WizardImportChoices::selectedImportProfileKeyChanged, this, &WizardImportChoices::loadExtensions);
    connect(m_extensions, &ChoiceListModel::checkedKeysChanged, this, &WizardImportChoices::rememberExtensionTicks);
}

QSet<QString> WizardImportChoices::rememberedExtensions() const
{
    const QStringList ids = m_context.defaults().value(SettingsKeys::UsersExtensions).toStringList();
    return {ids.cbegin(), ids.cend()};
}

void WizardImportChoices::rememberExtensionTicks()
{
    if (m_showingExtensions)
        return;
    // The ticks of the extensions on the list now; those of other profiles stay as they were.
    QSet<QString> remembered = rememberedExtensions();
    const QSet<QString> checked = m_extensions->checkedKeys();
    for (const ChoiceListModel::Choice &choice : m_extensions->choices()) {
        if (checked.contains(choice.key))
            remembered.insert(choice.key);
        else
            remembered.remove(choice.key);
    }
    QStringList ids(remembered.cbegin(), remembered.cend());
    ids.sort();
    m_context.defaults().setValue(SettingsKeys::UsersExtensions, ids);
}

void WizardImportChoices::loadDefaults()
{
    m_loading = true;
    UserDefaults &defaults = m_context.defaults();
    const bool enabled = defaults.boolForKey(SettingsKeys::ImportEnabled);
    if (enabled != m_importEnabled) {
        m_importEnabled = enabled;
        Q_EMIT importEnabledChanged();
    }
    if (defaults.hasPersistentValue(SettingsKeys::ImportCategories))
        setImportCategories(ImportCategories::rawValues(
            ImportCategories::fromSavedList(defaults.value(SettingsKeys::ImportCategories).toStringList())));
    m_loading = false;
    // Import on by default: the profiles are listed as when the user turns it on.
    if (m_importEnabled)
        loadProfiles();
}

QStringList WizardImportChoices::allImportCategories()
{
    return ImportCategories::rawValues(ImportCategories::all());
}

void WizardImportChoices::setImportCategories(const QStringList &categories)
{
    QStringList known;
    for (const QString &name : allImportCategories()) {
        if (categories.contains(name))
            known.append(name);
    }
    if (known == m_categories)
        return;
    m_categories = known;
    Q_EMIT importCategoriesChanged();
}

void WizardImportChoices::setSelectedImportProfileKey(const QString &key)
{
    if (key == m_selectedProfileKey)
        return;
    m_selectedProfileKey = key;
    Q_EMIT selectedImportProfileKeyChanged();
}

QVariantMap WizardImportChoices::lastImportSummary() const
{
    return m_summary ? m_summary->toVariantMap() : QVariantMap();
}

QStringList WizardImportChoices::importMessages() const
{
    return m_summary ? m_summary->messages() : QStringList();
}

void WizardImportChoices::setSummary(const ImportSummary &summary)
{
    m_summary = summary;
    Q_EMIT importStateChanged();
}

QString WizardImportChoices::sourceFolder() const
{
    return BrowserLocator::installedUserDataFolder(BrowserCatalogue::byNumber(m_draft.selectedBrowser()),
                                                   m_context.homeFolder(), m_context.defaults());
}

void WizardImportChoices::loadProfiles()
{
    // The scan holds only plain values: it may outlive this object and its context.
    const QString userData = sourceFolder();
    m_isLoadingProfiles = true;
    Q_EMIT importStateChanged();
    inBackground(
        this,
        [userData] {
            Choices choices;
            for (const ImportableProfile &profile : SNProfileDiscovery(userData).profiles())
                choices.append({profile.key, profile.name});
            return choices;
        },
        [this](const Choices &choices) {
            m_profiles->setChoices(choices);
            m_isLoadingProfiles = false;
            Q_EMIT importStateChanged();
            if (!m_profiles->contains(m_selectedProfileKey))
                setSelectedImportProfileKey(choices.isEmpty() ? QString() : choices.first().key);
        });
}

void WizardImportChoices::loadExtensions()
{
    if (m_selectedProfileKey.isEmpty()) {
        m_extensions->setChoices({});
        return;
    }
    const QString userData = sourceFolder();
    const QString profileKey = m_selectedProfileKey;
    m_isLoadingExtensions = true;
    Q_EMIT importStateChanged();
    inBackground(
        this,
        [userData, profileKey] {
            Choices choices;
            const std::optional<QJsonObject> preferences = SNProfileDiscovery(userData).preferencesOf(profileKey);
            if (preferences) {
                for (const ImportableExtension &extension : SNExtensionDiscovery::offerableExtensions(*preferences))
                    choices.append({extension.id, extension.name});
            }
            return choices;
        },
        [this, profileKey](const Choices &choices) {
            if (profileKey != m_selectedProfileKey)
                return; // a later choice has its own scan
            // A new list starts with the extensions the user ticked before, wherever they were.
            m_showingExtensions = true;
            m_extensions->setChoices(choices);
            m_extensions->setCheckedKeys(rememberedExtensions());
            m_showingExtensions = false;
            m_isLoadingExtensions = false;
            Q_EMIT importStateChanged();
        });
}

ImportBrowserDataRequest WizardImportChoices::request(const QString &bundlePath) const
{
    ImportBrowserDataRequest request;
    request.userDataFolder = sourceFolder();
    request.profileKey = m_selectedProfileKey;
    request.bundlePath = bundlePath;
    for (const QString &name : m_categories) {
        if (const std::optional<ImportCategory> category = ImportCategories::fromRawValue(name))
            request.categories.append(*category);
    }
    const QSet<QString> chosen = m_extensions->checkedKeys();
    for (const ChoiceListModel::Choice &choice : m_extensions->choices()) {
        if (chosen.contains(choice.key))
            request.extensions.append({choice.key, choice.name});
    }
    return request;
}
