#include "editing/SNImporter.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/PropertyList.h"
#include "core/SNBulkApp.h"
#include "editing/SNExporter.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"
#include "generation/ProfileSeeder.h"
#include "generation/AppConfigFile.h"
#include "generation/ApplicationManager.h"
#include "generation/DefinitionValidator.h"
#include "generation/SNAppScriptHelper.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

SNImporter::SNImporter(Context &context, Options options)
    : m_context(context), m_options(std::move(options))
{
}

bool SNImporter::importConfig(const QString &path, QString *error)
{
    m_outcomes.clear();
    const auto refuse = [&](const QString &reason) {
        if (error)
            *error = u"%1: %2"_s.arg(SNExporter::InvalidFileMessage, reason);
        Logger::log(u"%1: %2"_s.arg(SNExporter::InvalidFileMessage, reason));
        return false;
    };
    const QFileInfo info(path);
    if (!info.isFile())
        return refuse(u"there is no file at %1"_s.arg(path));
    if (info.size() > MaximumFileBytes)
        return refuse(u"%1 is larger than %2 MB"_s.arg(path).arg(MaximumFileBytes / (1024 * 1024)));
    QString reason;
    const QVariant root = PropertyList::readFile(path, &reason);
    if (!root.isValid())
        return refuse(reason);
    if (root.typeId() != QMetaType::QVariantMap) {
        Logger::log(u"%1 holds no apps: its root is not a dictionary"_s.arg(path));
        return true;
    }
    // Relative app destinations in the file are the file's neighbours.
    m_baseFolder = info.absolutePath();
    const QVariantMap entries = root.toMap();
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (it.value().typeId() != QMetaType::QVariantMap) {
            m_outcomes.append({it.key(), {}, false, u"not an app configuration"_s, {}});
            continue;
        }
        m_outcomes.append(createApp(it.key(), it.value().toMap()));
    }
    return true;
}

void SNImporter::loadProfile(ApplicationManager &manager, const QString &profileKey,
                             const QStringList &selectedExtensions) const
{
    if (profileKey.isEmpty() || !ProfileSeeder::isProfileKey(profileKey))
        return;
    // The profile table is Google Chrome's whatever browser the entry names, as sets were always
    // read; a profile that is not there (or another machine's) copies nothing.
    SNProfileDiscovery discovery(m_context, u"chrome"_s);
    if (!discovery.getProfilesFromPath(discovery.localStatePath()))
        return;
    discovery.setCurrentProfileKey(profileKey);
    std::optional<QJsonObject> preferences = discovery.getPreferenceJson();
    if (!preferences)
        return;
    QStringList extensions;
    for (const QString &id : selectedExtensions) {
        if (ProfileSeeder::isExtensionId(id))
            extensions.append(id);
    }
    getExtensions(*preferences, extensions);
    manager.profileSource.preferenceJson = *preferences;
    manager.definition().currentProfileKey = profileKey;
    manager.definition().selectedExtensions = extensions;
}

void SNImporter::getExtensions(QJsonObject &preferenceJson, const QStringList &selectedExtensions)
{
    SNExtensionDiscovery::getExtensions(preferenceJson, selectedExtensions);
}

SNImporter::Outcome SNImporter::createApp(const QString &key, const QVariantMap &entry)
{
    Outcome outcome{key, entry.value(u"appName"_s).toString(), false, {}, {}};
    const QVariant icon = entry.value(u"appIcon"_s);
    if (icon.typeId() == QMetaType::QString && icon.toString().size() > MaximumIconTextBytes) {
        outcome.error = u"appIcon: larger than %1 MB"_s.arg(MaximumIconTextBytes / (1024 * 1024));
        return outcome;
    }
    // The configuration file's own reading: wrong types keep their defaults, routingRules that
    // are not a list give no rules, a missing restoreSession restores.
    AppDefinition definition = AppConfigFile::definitionFromDictionary(entry);
    SNBulkApp app = SNBulkApp::fromDefinition(definition);
    app.creationPath = m_options.intoFolder;
    if (!definition.needTab)
        app.tabsList.clear();
    if (app.appURL.isEmpty() && !app.tabsList.isEmpty())
        app.appURL = app.tabsList.constFirst().tabUrlString;

    if (!DefinitionValidator(m_context, m_baseFolder).validate(app, &outcome.error))
        return outcome;
    const BrowserInfo &browser = BrowserCatalogue::byNumber(definition.applicationType);
    const QFileInfo engine(SNAppScriptHelper::getBrowserPath(browser.typeKey, m_context.defaults()));
    if (!m_options.allowMissingBrowser && !(engine.isFile() && engine.isExecutable())) {
        outcome.error = u"browser: %1 is not installed (no engine at %2)"_s.arg(browser.browserName, engine.filePath());
        return outcome;
    }

    ApplicationManager manager(m_context);
    manager.definition().applicationType = browser.number;
    loadProfile(manager, definition.currentProfileKey, definition.selectedExtensions);
    manager.bulkApps = {app};
    manager.bulkProgress = [&](qsizetype, bool made) {
        outcome.made = made;
        if (made) {
            const CreatedApp &created = manager.created();
            outcome.created = {{u"appID"_s, created.appID},
                               {u"uniqueID"_s, created.uniqueID},
                               {u"path"_s, created.bundlePath}};
        }
    };
    manager.create(m_options.keepBoth);
    if (!outcome.made)
        outcome.error = u"not created"_s;
    return outcome;
}
