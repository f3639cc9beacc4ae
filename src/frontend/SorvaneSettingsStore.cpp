#include "frontend/SorvaneSettingsStore.h"

#include "frontend/InstalledBrowsers.h"
#include "frontend/SettingsKeys.h"

#include "core/AtomicWriter.h"
#include "core/BrowserCatalogue.h"
#include "core/Constants.h"
#include "core/Context.h"
#include "core/EngineSwitches.h"
#include "core/Logger.h"
#include "core/NotificationCenter.h"
#include "core/Platform.h"
#include "core/UserDefaults.h"
#include "editing/ImportCategory.h"
#include "core/NotificationNames.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

// Known category names in their given order, each once.
QStringList knownCategories(const QStringList &names)
{
    QStringList known;
    for (const QString &name : names) {
        if (ImportCategories::fromRawValue(name) && !known.contains(name))
            known.append(name);
    }
    return known;
}

// A path the user chose: empty, or absolute without control characters (it ends up in scripts
// and file names).
bool acceptablePath(const QString &path, bool allowEmpty)
{
    if (path.isEmpty())
        return allowEmpty;
    if (!path.startsWith(u'/'))
        return false;
    return std::none_of(path.cbegin(), path.cend(),
                        [](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; });
}

bool knownBrowser(int browserType)
{
    return browserType >= BrowserCatalogue::Chrome && browserType <= BrowserCatalogue::Helium;
}

} // namespace

SorvaneSettingsStore::SorvaneSettingsStore(Context &context, QObject *parent)
    : SorvaneSettingsStore(context, platformBrowserDefaults(), parent)
{
}

SorvaneSettingsStore::SorvaneSettingsStore(Context &context, const QMap<QString, QString> &browserDefaults,
                                           QObject *parent)
    : QObject(parent), m_context(context), m_browserDefaults(browserDefaults)
{
    m_defaultSaveLocation = Platform::defaultApplicationsFolder(context.homeFolder());
    m_defaultImportCategories = ImportCategories::rawValues(ImportCategories::defaults());
    loadSettings();
    refreshInstalledBrowsers();
    m_observing = true;
}

SorvaneSettingsStore::~SorvaneSettingsStore() = default;

void SorvaneSettingsStore::registerStartupDefaults(UserDefaults &defaults, const QString &homeFolder)
{
    QVariantMap registered{
        {SettingsKeys::ApplicationsPath, Platform::defaultApplicationsFolder(homeFolder)},
        {SettingsKeys::HasLaunched, u"NO"_s},
        {SettingsKeys::AutomaticUpdates, true},
    };
    for (const int type : {BrowserCatalogue::Chrome, BrowserCatalogue::Vivaldi, BrowserCatalogue::Helium}) {
        const BrowserInfo &browser = BrowserCatalogue::byNumber(type);
        registered.insert(browser.settingsKey, BrowserCatalogue::defaultEnginePath(browser));
    }
    defaults.registerDefaults(registered);
}

bool SorvaneSettingsStore::discardOlderGenerationOnce(UserDefaults &defaults)
{
    if (defaults.boolForKey(SettingsKeys::HasLaunched))
        return false;
    defaults.synchronize();
    const QString file = defaults.fileName();
    QFile old(file);
    if (old.exists()) {
        const QString kept = file + u".before-first-launch"_s;
        QString error;
        if (!old.open(QIODevice::ReadOnly) || !AtomicWriter::write(kept, old.readAll(), &error)) {
            // Without the copy the old settings stay: better a stale setting than a lost one.
            Logger::log(u"The settings of an older Sorvane were kept: %1 could not be copied to %2 (%3)"_s.arg(
                file, kept, error.isEmpty() ? old.errorString() : error));
            return false;
        }
    }
    defaults.removePersistentDomain();
    defaults.setValue(SettingsKeys::HasLaunched, true);
    defaults.synchronize();
    return true;
}

QMap<QString, QString> SorvaneSettingsStore::platformBrowserDefaults()
{
    QMap<QString, QString> locations;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        locations.insert(pathKey(browser.number), InstalledBrowsers::defaultPath(browser.number));
    }
    return locations;
}

QString SorvaneSettingsStore::pathKey(int browserType)
{
    return knownBrowser(browserType) ? BrowserCatalogue::typeKeyForNumber(browserType) + u"Path"_s
                                     : QString();
}

QStringList SorvaneSettingsStore::importCategoryValues() const
{
    return ImportCategories::rawValues(ImportCategories::all());
}

QStringList SorvaneSettingsStore::iconShapeValues() const
{
    return IconShape::rawValues();
}

bool SorvaneSettingsStore::chooseBrowserPath(int browserType, const QUrl &file)
{
    return file.isLocalFile() && setBrowserPath(browserType, file.toLocalFile());
}

bool SorvaneSettingsStore::chooseSaveLocation(const QUrl &folder)
{
    if (!folder.isLocalFile())
        return false;
    setDefaultSaveLocation(folder.toLocalFile());
    return m_defaultSaveLocation == folder.toLocalFile();
}

QList<int> SorvaneSettingsStore::browserTypes() const
{
    QList<int> types;
    for (const BrowserInfo &browser : BrowserCatalogue::all())
        types.append(browser.number);
    return types;
}

QString SorvaneSettingsStore::browserName(int browserType) const
{
    return knownBrowser(browserType) ? BrowserCatalogue::byNumber(browserType).browserName : QString();
}

template <typename T>
void SorvaneSettingsStore::assign(T &field, const T &value, void (SorvaneSettingsStore::*changed)())
{
    if (field == value)
        return;
    field = value;
    Q_EMIT(this->*changed)();
    autoSave();
}

void SorvaneSettingsStore::setDefaultSaveLocation(const QString &path)
{
    if (!acceptablePath(path, false)) {
        Logger::log(u"❌ Applications folder not changed: \"%1\" is not an absolute path"_s.arg(path));
        return;
    }
    assign(m_defaultSaveLocation, path, &SorvaneSettingsStore::defaultSaveLocationChanged);
}

void SorvaneSettingsStore::setDefaultRegisterAsBrowser(bool on)
{
    assign(m_defaultRegisterAsBrowser, on, &SorvaneSettingsStore::defaultRegisterAsBrowserChanged);
}

void SorvaneSettingsStore::setDefaultIncognitoMode(bool on)
{
    assign(m_defaultIncognitoMode, on, &SorvaneSettingsStore::defaultIncognitoModeChanged);
}

void SorvaneSettingsStore::setDefaultTabbedApps(bool on)
{
    assign(m_defaultTabbedApps, on, &SorvaneSettingsStore::defaultTabbedAppsChanged);
}

void SorvaneSettingsStore::setDefaultIconShape(IconShape::Shape shape)
{
    // A number from a view that is no shape at all changes nothing.
    if (IconShape::rawValue(shape).isEmpty())
        return;
    assign(m_defaultIconShape, shape, &SorvaneSettingsStore::defaultIconShapeChanged);
}

void SorvaneSettingsStore::setAutomaticAppUpdates(bool on)
{
    assign(m_automaticAppUpdates, on, &SorvaneSettingsStore::automaticAppUpdatesChanged);
}

void SorvaneSettingsStore::setDefaultImportEnabled(bool on)
{
    assign(m_defaultImportEnabled, on, &SorvaneSettingsStore::defaultImportEnabledChanged);
}

void SorvaneSettingsStore::setDefaultImportCategories(const QStringList &names)
{
    const QStringList known = knownCategories(names);
    if (known.size() != QSet<QString>(names.cbegin(), names.cend()).size()) {
        Logger::log(
            u"❌ Import categories not changed: unknown category in \"%1\""_s.arg(names.join(u", "_s)));
        return;
    }
    assign(m_defaultImportCategories, known, &SorvaneSettingsStore::defaultImportCategoriesChanged);
}

void SorvaneSettingsStore::setStorePageOnFirstStart(bool on)
{
    assign(m_storePageOnFirstStart, on, &SorvaneSettingsStore::storePageOnFirstStartChanged);
}

void SorvaneSettingsStore::setDefaultEngineSwitches(const QString &text)
{
    const QStringList switches = EngineSwitches::fromText(text);
    QString problem = EngineSwitches::check(switches, u"Engine switches for every app"_s);
    if (!problem.isEmpty())
        problem += u". Nothing was changed; correct the switch or remove it."_s;
    const bool problemChanged = problem != m_engineSwitchesProblem;
    m_engineSwitchesProblem = problem;
    if (problem.isEmpty() && switches != m_defaultEngineSwitches)
        assign(m_defaultEngineSwitches, switches, &SorvaneSettingsStore::defaultEngineSwitchesChanged);
    else if (problemChanged)
        Q_EMIT defaultEngineSwitchesChanged();
}

void SorvaneSettingsStore::autoSave()
{
    if (m_observing && !m_isLoadingSettings)
        saveSettings();
}

bool SorvaneSettingsStore::loadFlag(const QString &key)
{
    UserDefaults &defaults = m_context.defaults();
    if (defaults.hasPersistentValue(key))
        return defaults.boolForKey(key);
    defaults.setValue(key, false);
    return false;
}

void SorvaneSettingsStore::loadSettings()
{
    UserDefaults &defaults = m_context.defaults();
    m_isLoadingSettings = true;

    const QString applicationsPath = defaults.stringForKey(SettingsKeys::ApplicationsPath);
    setDefaultSaveLocation(acceptablePath(applicationsPath, false)
                               ? applicationsPath
                               : Platform::defaultApplicationsFolder(m_context.homeFolder()));
    setDefaultRegisterAsBrowser(loadFlag(SettingsKeys::RegisterAsBrowser));
    setDefaultIncognitoMode(loadFlag(SettingsKeys::IncognitoMode));
    setDefaultTabbedApps(loadFlag(SettingsKeys::TabbedApps));
    // Never set (and nothing registered): updates stay on.
    const QVariant updates = defaults.value(SettingsKeys::AutomaticUpdates);
    setAutomaticAppUpdates(updates.isValid() ? UserDefaults::toBool(updates) : true);
    if (const auto shape = IconShape::fromRawValue(defaults.stringForKey(SettingsKeys::IconShape)))
        setDefaultIconShape(*shape);
    setDefaultImportEnabled(defaults.boolForKey(SettingsKeys::ImportEnabled));
    const QVariant storePage = defaults.value(Constants::StorePageOnFirstStartKey);
    setStorePageOnFirstStart(storePage.isValid() ? UserDefaults::toBool(storePage) : true);
    setDefaultEngineSwitches(EngineSwitches::defaults(defaults).join(u' '));
    const QStringList categories = knownCategories(defaults.value(SettingsKeys::ImportCategories).toStringList());
    if (!categories.isEmpty())
        setDefaultImportCategories(categories);

    bool pathsChanged = false;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const QString key = pathKey(browser.number);
        // A stored path that could not have been set here (relative, control characters) is
        // not used either.
        const QVariant stored = defaults.value(key);
        const QString path = stored.isValid() && acceptablePath(stored.toString(), true)
                                 ? stored.toString()
                                 : m_browserDefaults.value(key);
        QString &field = m_browserPaths[static_cast<size_t>(browser.number)];
        if (field != path) {
            field = path;
            pathsChanged = true;
        }
    }
    if (pathsChanged)
        Q_EMIT browserPathsChanged();

    m_isLoadingSettings = false;
}

void SorvaneSettingsStore::saveSettings()
{
    UserDefaults &defaults = m_context.defaults();
    defaults.setValue(SettingsKeys::ApplicationsPath, m_defaultSaveLocation);
    defaults.setValue(SettingsKeys::RegisterAsBrowser, m_defaultRegisterAsBrowser);
    defaults.setValue(SettingsKeys::IncognitoMode, m_defaultIncognitoMode);
    defaults.setValue(SettingsKeys::TabbedApps, m_defaultTabbedApps);
    defaults.setValue(SettingsKeys::AutomaticUpdates, m_automaticAppUpdates);
    defaults.setValue(SettingsKeys::IconShape, IconShape::rawValue(m_defaultIconShape));
    defaults.setValue(SettingsKeys::ImportEnabled, m_defaultImportEnabled);
    defaults.setValue(SettingsKeys::ImportCategories, m_defaultImportCategories);
    defaults.setValue(Constants::StorePageOnFirstStartKey, m_storePageOnFirstStart);
    defaults.setValue(EngineSwitches::DefaultsKey, m_defaultEngineSwitches);
    for (const BrowserInfo &browser : BrowserCatalogue::all())
        defaults.setValue(pathKey(browser.number), m_browserPaths[static_cast<size_t>(browser.number)]);
    defaults.synchronize();

    // This one key has been seen not to stick; it is read back and written again when it did not.
    const bool stored = defaults.boolForKey(SettingsKeys::TabbedApps);
    if (stored != m_defaultTabbedApps) {
        defaults.setValue(SettingsKeys::TabbedApps, m_defaultTabbedApps);
        defaults.synchronize();
    }

    m_context.notifications().post(NotificationNames::SorvaneSettingsChanged);
}

bool SorvaneSettingsStore::setBrowserPath(int browserType, const QString &path)
{
    if (!knownBrowser(browserType)) {
        Logger::log(u"❌ No browser of type %1: its path was not changed"_s.arg(browserType));
        return false;
    }
    const QString key = pathKey(browserType);
    if (!acceptablePath(path, true)) {
        Logger::log(u"❌ %1 not changed: \"%2\" is not an absolute path"_s.arg(key, path));
        return false;
    }
    QString &field = m_browserPaths[static_cast<size_t>(browserType)];
    const bool changed = field != path;
    field = path;
    if (changed)
        Q_EMIT browserPathsChanged();
    refreshInstalledBrowsers();
    if (changed)
        autoSave();
    return true;
}

QString SorvaneSettingsStore::browserPath(int browserType) const
{
    return knownBrowser(browserType) ? m_browserPaths[static_cast<size_t>(browserType)] : QString();
}

bool SorvaneSettingsStore::resetBrowserPath(int browserType)
{
    const auto location = m_browserDefaults.constFind(pathKey(browserType));
    if (location == m_browserDefaults.cend())
        return false;
    return setBrowserPath(browserType, *location);
}

void SorvaneSettingsStore::refreshInstalledBrowsers()
{
    QList<int> installed;
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        const QString configured = m_browserPaths[static_cast<size_t>(browser.number)];
        if (InstalledBrowsers::configuredPathCounts(configured) ||
            InstalledBrowsers::defaultPathCounts(m_browserDefaults.value(pathKey(browser.number))))
            installed.append(browser.number);
    }
    if (installed == m_installedBrowsers)
        return;
    m_installedBrowsers = installed;
    Q_EMIT installedBrowsersChanged();
}
