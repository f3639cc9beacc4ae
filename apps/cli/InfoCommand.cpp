#include "InfoCommand.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/Platform.h"

#include "AppOptions.h"
#include "AppReference.h"

#include "core/BrowserLocator.h"
#include "core/EngineSwitches.h"
#include "core/Platform.h"
#include "core/PropertyList.h"
#include "core/SNAppTracker.h"
#include "generation/AppConfigFile.h"
#include "maintenance/AppHealth.h"
#include "maintenance/SNUpdaterHelper.h"

using namespace Qt::Literals::StringLiterals;

void InfoCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"app"_s, u"The app: its name, registry id (or its first 8 characters) or bundle path."_s, u"APP"_s);
}

int InfoCommand::run(const QCommandLineParser &parser, Context &context)
{
    QString error;
    bool ambiguous = false;
    const std::optional<AppReference> app = AppReference::resolve(parser.positionalArguments().first(), context, &error, &ambiguous);
    if (!app) {
        printFailure(error);
        return ambiguous ? BadUsage : Failure;
    }
    const std::optional<QVariantMap> info = SNUpdaterHelper::appInfo(app->path);
    if (!info) {
        printFailure(CliMessage::LauncherScriptUnreadable, {app->path});
        return Failure;
    }
    const AppHealth health = AppHealth::check(context, app->path, app->appId, *info);
    QString packaging;
    if (!Platform::isMac()) {
        const BrowserInstallation installation =
            BrowserLocator::forHome(context.homeFolder())
                .locate(BrowserCatalogue::byTypeKey(info->value(u"browserType"_s).toString()), context.defaults());
        if (installation.found || installation.packaging == BrowserPackaging::Setting)
            packaging = BrowserLocator::packagingKey(installation.packaging);
    }
    const std::optional<AppDefinition> stored =
        app->appId.isEmpty() ? std::nullopt
                             : AppConfigFile::read(AppConfigFile::path(SNAppTracker(context).getAppBundle(), app->appId));
    const QStringList ownSwitches = stored ? stored->engineSwitches : QStringList();
    const QStringList defaultSwitches = EngineSwitches::defaults(context.defaults());
    QStringList rules;
    for (const QVariant &rule : stored ? stored->routingRules : QVariantList())
        rules.append(AppOptions::ruleText(rule.toMap()));
    const QString otherLinks = stored && stored->defaultDestination
                                   ? AppOptions::destinationText(*stored->defaultDestination)
                                   : QString();
    if (parser.isSet(u"json"_s)) {
        QVariantMap document = *info;
        document.insert(u"engineSwitches"_s, ownSwitches);
        document.insert(u"defaultEngineSwitches"_s, defaultSwitches);
        document.insert(u"path"_s, app->path);
        document.insert(u"routingRules"_s, rules);
        document.insert(u"defaultDestination"_s, otherLinks.isEmpty() ? QVariant() : QVariant(otherLinks));
        document.insert(u"linkRouting"_s, health.linkRouting);
        if (!packaging.isEmpty())
            document.insert(u"packaging"_s, packaging);
        document.insert(u"health"_s, health.toMap());
        // What the launcher does not say: the stored options (rules, colours, switches).
        if (!app->appId.isEmpty()) {
            QVariantMap configuration =
                PropertyList::readFile(AppConfigFile::path(SNAppTracker(context).getAppBundle(), app->appId)).toMap();
            configuration.remove(u"appIcon"_s);
            document.insert(u"configuration"_s, configuration);
        }
        printJson(document);
        return Success;
    }
    const auto yesNo = [](bool value) { return value ? u"yes"_s : u"no"_s; };
    QStringList lines{
        u"Name:          %1"_s.arg(info->value(u"appName"_s).toString()),
        u"Bundle:        %1"_s.arg(app->path),
        u"Registry id:   %1"_s.arg(app->appId.isEmpty() ? u"(none)"_s : app->appId),
        u"Kind:          %1"_s.arg(info->value(u"isTabs"_s).toBool() ? u"tabbed"_s : u"one window"_s),
        u"Address:       %1"_s.arg(info->value(u"appURL"_s).toString()),
    };
    if (info->value(u"isTabs"_s).toBool())
        lines.append(u"Tabs:          %1"_s.arg(info->value(u"tabs"_s).toStringList().join(u' ')));
    lines << u"Browser:       %1 (%2, %3%4)"_s.arg(info->value(u"browserType"_s).toString(), health.enginePath,
                                                    health.engineInstalled ? u"installed"_s : u"not installed"_s,
                                                    packaging.isEmpty() ? QString() : u", "_s + packaging)
          << u"Incognito:     %1"_s.arg(yesNo(info->value(u"incognito"_s).toBool()))
          << u"Switches:      %1%2"_s.arg(ownSwitches.isEmpty() ? u"(none of its own)"_s : ownSwitches.join(u' '),
                                          defaultSwitches.isEmpty()
                                              ? QString()
                                              : u"; Sorvane's defaults: "_s + defaultSwitches.join(u' '))
          << u"Rules:         %1"_s.arg(rules.isEmpty() ? u"(none)"_s : rules.join(u"\n               "_s));
    if (!rules.isEmpty() || !otherLinks.isEmpty())
        lines.append(u"Other links:   %1"_s.arg(otherLinks.isEmpty() ? u"default"_s : otherLinks));
    lines << u"Link routing:  %1%2"_s.arg(health.linkRouting, health.linkRouting == u"no"_s && !health.linkRoutingReason.isEmpty()
                                                                ? u" (%1)"_s.arg(health.linkRoutingReason)
                                                                : QString())
          << u"Version:       %1 (current: %2)"_s.arg(health.version, health.currentVersion)
          << u"Running:       %1"_s.arg(yesNo(health.engineRunning));
    for (const QString &problem : health.problems())
        lines.append(u"! "_s + problem);
    print(lines.join(u'\n'));
    return Success;
}
