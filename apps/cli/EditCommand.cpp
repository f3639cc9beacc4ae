#include "EditCommand.h"

#include "AppOptions.h"
#include "AppReference.h"
#include "CliPrompter.h"

#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "editing/AppEditor.h"
#include "editing/EditAppJob.h"
#include "editing/ProfileBackup.h"
#include "generation/DefinitionValidator.h"

using namespace Qt::Literals::StringLiterals;

namespace {

// The on/off switches of an app, each as --X and --no-X.
struct Toggle
{
    QString option;
    QString description;
    bool AppDefinition::*field;
};

const QList<Toggle> &toggles()
{
    static const QList<Toggle> list{
        {u"incognito"_s, u"run the engine in incognito mode"_s, &AppDefinition::incognito},
        {u"tabbed"_s, u"open tabs instead of one app window"_s, &AppDefinition::needTab},
        {u"dark"_s, u"force dark mode"_s, &AppDefinition::forceDarkMode},
        {u"register-as-browser"_s, u"offer the app as a web browser"_s, &AppDefinition::registerAsBrowser},
        {u"routing"_s, u"keep only the app's own sites in the app"_s, &AppDefinition::isWhitelistingEnabled},
        {u"restore-session"_s, u"reopen the last tabs at start"_s, &AppDefinition::restoreSession},
        {u"password-manager-compatibility"_s, u"let password managers recognise the app"_s,
         &AppDefinition::passwordManagerCompatibility},
    };
    return list;
}

// Options that exclude each other.
const QList<QStringList> &exclusions()
{
    static const QList<QStringList> list{
        {u"url"_s, u"tab"_s},
        {u"accent"_s, u"no-accent"_s},
        {u"default-destination"_s, u"no-default-destination"_s},
        {u"no-rules"_s, u"allow"_s},
        {u"no-rules"_s, u"route"_s},
        {u"no-rules"_s, u"replace-rules"_s},
        {u"engine-switch"_s, u"no-engine-switches"_s},
    };
    return list;
}

} // namespace

void EditCommand::addOptions(QCommandLineParser &parser)
{
    parser.addPositionalArgument(u"app"_s, u"The app: its name, registry id (or its first 8 characters) or bundle path."_s, u"APP"_s);
    parser.addOptions({
        {u"name"_s, u"The app's new name."_s, u"NAME"_s},
        {u"icon"_s, u"An image file for the app's new icon."_s, u"FILE"_s},
        {u"url"_s, u"The address of a single-window app (the app stops being tabbed)."_s, u"URL"_s},
        {u"tab"_s, u"The tabs of a tabbed app, replacing the old ones; repeat for more tabs."_s, u"URL"_s},
        {u"allow"_s, u"Add a rule: a site that stays in the app; repeat for more."_s, u"PATTERN"_s},
        {u"route"_s,
         u"Add a rule: a site sent elsewhere, PATTERN=in-app|default|browser:<id>[:<name>]|app:<path>; repeat for more. "
         u"A rule for a pattern the app already has takes that rule's place."_s,
         u"PATTERN=DEST"_s},
        {u"replace-rules"_s, u"With --allow or --route: the rules given become the whole list (the old ones are dropped)."_s},
        {u"no-rules"_s, u"Drop every routing rule."_s},
        {u"default-destination"_s, u"Where links that match no rule go."_s, u"DEST"_s},
        {u"no-default-destination"_s, u"Links that match no rule go where the app decides."_s},
        {u"accent"_s, u"The engine's accent colour, six hexadecimal digits."_s, u"HEX"_s},
        {u"no-accent"_s, u"The engine's own colours."_s},
        {u"engine-switch"_s,
         u"An extra switch for the app's engine (starts with --, one word); the switches given replace the old ones."_s,
         u"SWITCH"_s},
        {u"no-engine-switches"_s, u"Drop the app's extra engine switches."_s},
        {u"browser"_s, u"Move the app to another browser's engine (its profile is backed up first)."_s, u"KEY"_s},
        {u"allow-missing-browser"_s, u"With --browser: switch even when that browser is not installed."_s},
        {u"restore-backup"_s, u"With --browser: bring back the data the app had on that engine, if it was kept."_s},
        {u"yes"_s, u"Switch engines without asking; without a terminal no switch is made without it."_s},
    });
    for (const Toggle &toggle : toggles()) {
        parser.addOption({toggle.option, u"Turn on: %1."_s.arg(toggle.description)});
        parser.addOption({u"no-"_s + toggle.option, u"Turn off: %1."_s.arg(toggle.description)});
    }
}

QList<QStringList> EditCommand::exclusiveOptions() const
{
    QList<QStringList> groups = exclusions();
    for (const Toggle &toggle : toggles())
        groups.append({toggle.option, u"no-"_s + toggle.option});
    return groups;
}

QStringList EditCommand::repeatableOptions() const
{
    return {u"tab"_s, u"allow"_s, u"route"_s, u"engine-switch"_s};
}

int EditCommand::run(const QCommandLineParser &parser, Context &context)
{
    if (parser.isSet(u"restore-backup"_s) && !parser.isSet(u"browser"_s)) {
        printFailure(CliMessage::RestoreNeedsBrowser);
        return BadUsage;
    }
    if (parser.isSet(u"replace-rules"_s) && !parser.isSet(u"allow"_s) && !parser.isSet(u"route"_s)) {
        printFailure(CliMessage::RulesMissing);
        return BadUsage;
    }

    QString error;
    bool ambiguous = false;
    const std::optional<AppReference> reference =
        AppReference::resolve(parser.positionalArguments().constFirst(), context, &error, &ambiguous);
    AppEditor editor(context);
    const std::optional<SNEditorItem> original =
        reference ? editor.load(reference->path, reference->appId, &error) : std::nullopt;
    if (!original) {
        printFailure(error);
        return ambiguous ? BadUsage : Failure;
    }

    AppEditor::Change change{*original, {}, parser.isSet(u"restore-backup"_s)};
    AppDefinition &app = change.edited.appItem;
    if (parser.isSet(u"name"_s)) {
        if (const std::optional<AppNameRule::Refusal> refusal = AppNameRule::refusal(parser.value(u"name"_s))) {
            printFailure(CliMessage::NameKeptOnEdit, {refusal->problem, refusal->remedy,
                                                      DefinitionValidator::quoted(original->appItem.appName)});
            return Failure;
        }
        app.appName = parser.value(u"name"_s);
    }
    if (parser.isSet(u"icon"_s)) {
        QString reason;
        change.newIcon = SNImage::fromFile(parser.value(u"icon"_s), &reason);
        if (change.newIcon.isNull()) {
            printFailure(CliMessage::IconUnreadable, {DefinitionValidator::quoted(reason)});
            return Failure;
        }
    }
    if (parser.isSet(u"url"_s)) {
        app.appURL = parser.value(u"url"_s);
        app.needTab = false;
        app.tabsList.clear();
    }
    if (parser.isSet(u"tab"_s)) {
        app.tabsList.clear();
        for (const QString &tab : parser.values(u"tab"_s))
            app.tabsList.append(TabAddress(tab));
        app.appURL = app.tabsList.constFirst().tabUrlString;
        app.needTab = true;
    }
    for (const Toggle &toggle : toggles()) {
        if (parser.isSet(toggle.option))
            app.*toggle.field = true;
        else if (parser.isSet(u"no-"_s + toggle.option))
            app.*toggle.field = false;
    }
    AppOptions::RuleChanges ruleChanges;
    if (parser.isSet(u"no-rules"_s)) {
        ruleChanges.removed = AppOptions::ruleChanges(app.routingRules, {}).removed;
        app.routingRules.clear();
    }
    if (parser.isSet(u"allow"_s) || parser.isSet(u"route"_s)) {
        const std::optional<QVariantList> rules = AppOptions::rulesFromOptions(parser, &error);
        if (!rules) {
            printFailure(error);
            return Failure;
        }
        if (parser.isSet(u"replace-rules"_s)) {
            ruleChanges = AppOptions::ruleChanges(app.routingRules, *rules);
            app.routingRules = *rules;
        } else {
            ruleChanges = AppOptions::addRules(app.routingRules, *rules);
        }
    }
    if (parser.isSet(u"no-default-destination"_s))
        app.defaultDestination.reset();
    if (parser.isSet(u"default-destination"_s)) {
        app.defaultDestination = AppOptions::defaultDestinationFromOptions(parser, &error);
        if (!app.defaultDestination) {
            printFailure(error);
            return Failure;
        }
    }
    if (parser.isSet(u"accent"_s))
        app.accentColor = parser.value(u"accent"_s);
    if (parser.isSet(u"no-accent"_s))
        app.accentColor.clear();
    if (parser.isSet(u"engine-switch"_s) || parser.isSet(u"no-engine-switches"_s))
        app.engineSwitches = parser.values(u"engine-switch"_s);
    if (parser.isSet(u"browser"_s)) {
        const int number = AppOptions::chooseBrowser(parser, context, &error);
        if (number < 0) {
            printFailure(error);
            return Failure;
        }
        change.edited.browser = BrowserCatalogue::byNumber(number).typeKey;
    }
    if (change.edited.browser != original->browser) {
        const QString from = BrowserCatalogue::byTypeKey(original->browser).browserName;
        const QString to = BrowserCatalogue::byTypeKey(change.edited.browser).browserName;
        const QString warning = ProfileBackup::switchWarning(original->appItem.appName, from, to,
                                                             change.restoreBackup);
        CliPrompter prompter(name(), parser.isSet(u"yes"_s), CliMessage::NoTerminalForSwitch);
        if (prompter.ask(u"Switch %1 from %2 to %3?"_s.arg(original->appItem.appName, from, to), warning,
                         {u"Switch"_s, u"Cancel"_s}) != 0) {
            if (!prompter.lackedTerminal())
                printFailure(CliMessage::SwitchNotConfirmed, {from, to});
            return Failure;
        }
    }

    EditAppJob job(context, *original, change);
    if (!job.exec()) {
        printFailure(CliMessages::inOptionTerms(job.errorText(), app.routingRules));
        return Failure;
    }
    const SNEditorItem &result = job.result();
    if (parser.isSet(u"json"_s)) {
        printJson(QVariantMap{{u"appID"_s, result.appId},
                              {u"path"_s, result.path},
                              {u"browser"_s, result.browser},
                              {u"rebuilt"_s, job.rebuilt()},
                              {u"rulesAdded"_s, ruleChanges.added},
                              {u"rulesRemoved"_s, ruleChanges.removed}});
        return Success;
    }
    print(result.path);
    const QString appName = result.appItem.appName;
    for (const QString &rule : std::as_const(ruleChanges.removed))
        print(u"%1: removed rule %2"_s.arg(appName, rule));
    for (const QString &rule : std::as_const(ruleChanges.added))
        print(u"%1: added rule %2"_s.arg(appName, rule));
    if (!parser.isSet(u"replace-rules"_s)) {
        for (const QString &rule : std::as_const(ruleChanges.alreadyThere))
            print(u"%1: already had rule %2"_s.arg(appName, rule));
    }
    return Success;
}
