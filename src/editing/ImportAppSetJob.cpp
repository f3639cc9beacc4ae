#include "editing/ImportAppSetJob.h"

#include "core/BrowserCatalogue.h"
#include "core/Context.h"
#include "core/Logger.h"
#include "core/PropertyList.h"
#include "core/AppDefinition.h"
#include "editing/SNExporter.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"
#include "generation/ProfileSeeder.h"
#include "generation/AppConfigFile.h"
#include "generation/AppCreator.h"
#include "generation/DefinitionValidator.h"
#include "generation/SNAppScriptHelper.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

ImportAppSetJob::ImportAppSetJob(Context &context, QString path, Options options, QObject *parent)
    : Job(parent), m_context(context), m_path(std::move(path)), m_options(std::move(options))
{
}

bool ImportAppSetJob::run()
{
    m_outcomes.clear();
    m_fileRead = false;
    const QString &path = m_path;
    const auto refuse = [&](const QString &reason) {
        return fail(u"%1: %2"_s.arg(SNExporter::InvalidFileMessage, reason));
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
    m_fileRead = true;
    if (root.typeId() != QMetaType::QVariantMap)
        return true;
    // Relative app destinations in the file are the file's neighbours.
    m_baseFolder = info.absolutePath();
    const QVariantMap entries = root.toMap();
    qsizetype refused = 0;
    for (auto it = entries.cbegin(); it != entries.cend(); ++it) {
        if (isCancelled())
            return fail(CancelledText);
        if (it.value().typeId() != QMetaType::QVariantMap)
            m_outcomes.append({it.key(), {}, false, u"not an app configuration"_s, {}});
        else
            m_outcomes.append(createApp(it.key(), it.value().toMap()));
        refused += m_outcomes.constLast().made ? 0 : 1;
        setProgress(double(m_outcomes.size()) / double(entries.size()), m_outcomes.constLast().appName);
    }
    if (refused > 0)
        return fail(u"%1 of %2 apps were not imported."_s.arg(refused).arg(entries.size()));
    return true;
}

void ImportAppSetJob::loadProfile(AppDefinition &app, ProfileSource &source) const
{
    const QString profileKey = app.currentProfileKey;
    const QStringList selectedExtensions = app.selectedExtensions;
    app.currentProfileKey.clear();
    app.selectedExtensions.clear();
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
    source.preferenceJson = *preferences;
    app.currentProfileKey = profileKey;
    app.selectedExtensions = extensions;
}

void ImportAppSetJob::getExtensions(QJsonObject &preferenceJson, const QStringList &selectedExtensions)
{
    SNExtensionDiscovery::getExtensions(preferenceJson, selectedExtensions);
}

ImportAppSetJob::Outcome ImportAppSetJob::createApp(const QString &key, const QVariantMap &entry)
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
    AppDefinition app = definition;
    app.applicationsPath = m_options.intoFolder;
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

    app.applicationType = browser.number;
    app.applyTabRules();
    ProfileSource profile;
    loadProfile(app, profile);
    AppCreator creator(m_context, prompter(), app, profile);
    QString failure;
    outcome.made = creator.create(m_options.keepBoth ? WhenNameTaken::Number : WhenNameTaken::Ask, &failure);
    if (outcome.made) {
        const CreatedApp &created = creator.created();
        outcome.created = {{u"appID"_s, created.appID}, {u"uniqueID"_s, created.uniqueID}, {u"path"_s, created.bundlePath}};
    } else {
        outcome.error = failure.isEmpty() ? u"not created"_s : failure;
    }
    return outcome;
}
