#include "AppOptions.h"

#include "companion/SNRoutingConfig.h"
#include "core/AppNameRule.h"
#include "core/BrowserCatalogue.h"
#include "core/ShellEscaping.h"
#include "CliMessages.h"
#include "Command.h"

#include "core/Context.h"
#include "core/WebAddress.h"
#include "generation/AppCreator.h"
#include "generation/DefinitionValidator.h"
#include "generation/ProfileSeeder.h"
#include "generation/SNAppScriptHelper.h"
#include "generation/SNChromePrefsHelper.h"
#include "editing/SNFaviconHelper.h"
#include "editing/SNExtensionDiscovery.h"
#include "editing/SNProfileDiscovery.h"
#include "editing/ProfileChoice.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QUrl>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace AppOptions {

void addCreateOptions(QCommandLineParser &parser)
{
    parser.addOptions({
        {u"name"_s, u"The app's name."_s, u"NAME"_s},
        {u"url"_s, u"The address of a single-window app."_s, u"URL"_s},
        {u"tab"_s, u"A tab of a tabbed app; repeat for more tabs."_s, u"URL"_s},
        {u"browser"_s, u"The engine's browser (see `sorvane browsers`); the first installed when not given."_s,
         u"KEY"_s},
        {u"allow-missing-browser"_s, u"Make the app even when its browser is not installed."_s},
        {u"into"_s, u"The folder the app is created in; the applications folder when not given."_s, u"DIR"_s},
        {u"icon"_s, u"An image file for the app's icon; without it the site's own icon is looked for."_s, u"FILE"_s},
        {u"no-icon-search"_s, u"Without --icon, do not look for the site's icon (the app gets its initial as its icon)."_s},
        {u"incognito"_s, u"Run the engine in incognito mode."_s},
        {u"dark"_s, u"Force dark mode."_s},
        {u"register-as-browser"_s, u"Offer the app as a web browser to the system."_s},
        {u"routing"_s, u"Keep only the app's own sites in the app (link routing)."_s},
        {u"allow"_s, u"A site that stays in the app; repeat for more."_s, u"PATTERN"_s},
        {u"route"_s, u"A site sent elsewhere: PATTERN=in-app|default|browser:<id>[:<name>]|app:<path>."_s,
         u"PATTERN=DEST"_s},
        {u"default-destination"_s, u"Where links that match no rule go."_s, u"DEST"_s},
        {u"accent"_s, u"The engine's accent colour, six hexadecimal digits."_s, u"HEX"_s},
        {u"no-restore-session"_s, u"Do not reopen the last tabs of a tabbed app."_s},
        {u"password-manager-compatibility"_s, u"Let password managers recognise the app."_s},
        {u"engine-switch"_s,
         u"An extra switch for the app's engine, e.g. --no-sandbox (starts with --, one word); repeat for more."_s,
         u"SWITCH"_s},
        {u"profile"_s, u"Start from this profile of the installed browser (its folder name)."_s, u"KEY"_s},
        {u"extension"_s, u"With --profile: an extension id the app takes over (see `sorvane profiles`); repeat for more."_s,
         u"ID"_s},
        {u"import-data"_s,
         u"With --profile: copy these of the profile's data into the app: bookmarks, extensions, settings, history, passwords, separated by commas, or default."_s,
         u"CATEGORIES"_s},
        {u"replace"_s, u"Replace an existing app of that name (the old one goes to the Trash)."_s},
        {u"keep-both"_s, u"Keep an existing app of that name and number the new one."_s},
    });
}

std::optional<QVariantMap> parseDestination(const QString &text)
{
    QVariantMap destination;
    if (text == SNRoutingConfig::typeInApp() || text == SNRoutingConfig::typeDefault()) {
        destination.insert(SNRoutingConfig::keyType(), text);
    } else if (text.startsWith(u"browser:"_s)) {
        const QString rest = text.mid(8);
        const qsizetype colon = rest.indexOf(u':');
        destination.insert(SNRoutingConfig::keyType(), SNRoutingConfig::typeBrowser());
        destination.insert(u"bundleId"_s, colon < 0 ? rest : rest.left(colon));
        if (colon >= 0)
            destination.insert(u"name"_s, rest.mid(colon + 1));
    } else if (text.startsWith(u"app:"_s)) {
        destination.insert(SNRoutingConfig::keyType(), SNRoutingConfig::typeSorvaneApp());
        destination.insert(u"path"_s, text.mid(4));
    } else {
        return std::nullopt;
    }
    return destination;
}

QString destinationText(const QVariantMap &destination)
{
    const QString type = destination.value(SNRoutingConfig::keyType()).toString();
    if (type == SNRoutingConfig::typeBrowser()) {
        const QString name = destination.value(u"name"_s).toString();
        return u"browser:"_s + destination.value(u"bundleId"_s).toString() + (name.isEmpty() ? QString() : u":"_s + name);
    }
    if (type == SNRoutingConfig::typeSorvaneApp())
        return u"app:"_s + destination.value(u"path"_s).toString();
    return type;
}

QString ruleText(const QVariantMap &rule)
{
    const QString pattern = rule.value(SNRoutingConfig::keyPattern()).toString();
    if (rule.value(SNRoutingConfig::keyAction()).toString() == SNRoutingConfig::actionAllow())
        return u"%1 -> %2 (allow)"_s.arg(pattern, SNRoutingConfig::typeInApp());
    return u"%1 -> %2"_s.arg(pattern, destinationText(rule.value(SNRoutingConfig::keyDestination()).toMap()));
}

namespace {

// A pattern matches its host's sub-domains either way it is written: "*.example.com" is
// "example.com".
QString patternOf(const QVariant &rule)
{
    const QString pattern = rule.toMap().value(SNRoutingConfig::keyPattern()).toString().toLower();
    return pattern.startsWith(u"*."_s) ? pattern.mid(2) : pattern;
}

} // namespace

RuleChanges addRules(QVariantList &rules, const QVariantList &given)
{
    RuleChanges changes;
    QStringList ids;
    for (const QVariant &rule : std::as_const(rules))
        ids.append(rule.toMap().value(SNRoutingConfig::keyId()).toString());
    const auto freshId = [&ids] {
        QString id;
        for (qsizetype number = ids.size() + 1; id.isEmpty() || ids.contains(id); ++number)
            id = u"rule-%1"_s.arg(number);
        ids.append(id);
        return id;
    };
    for (const QVariant &value : given) {
        QVariantMap rule = value.toMap();
        const auto same = std::find_if(rules.begin(), rules.end(),
                                       [&](const QVariant &old) { return patternOf(old) == patternOf(rule); });
        if (same == rules.end()) {
            rule.insert(SNRoutingConfig::keyId(), freshId());
            rules.append(rule);
            changes.added.append(ruleText(rule));
            continue;
        }
        const QVariantMap old = same->toMap();
        if (old.value(SNRoutingConfig::keyAction()) == rule.value(SNRoutingConfig::keyAction()) &&
            old.value(SNRoutingConfig::keyDestination()) == rule.value(SNRoutingConfig::keyDestination())) {
            changes.alreadyThere.append(ruleText(old));
            continue;
        }
        rule.insert(SNRoutingConfig::keyId(), old.value(SNRoutingConfig::keyId()));
        *same = rule;
        changes.removed.append(ruleText(old));
        changes.added.append(ruleText(rule));
    }
    return changes;
}

RuleChanges ruleChanges(const QVariantList &before, const QVariantList &after)
{
    const auto texts = [](const QVariantList &rules) {
        QStringList list;
        for (const QVariant &rule : rules)
            list.append(ruleText(rule.toMap()));
        return list;
    };
    const QStringList old = texts(before);
    const QStringList now = texts(after);
    RuleChanges changes;
    for (const QString &text : now)
        (old.contains(text) ? changes.alreadyThere : changes.added).append(text);
    for (const QString &text : old)
        if (!now.contains(text))
            changes.removed.append(text);
    return changes;
}

int browserNumber(const QString &key, QString *error)
{
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        if (browser.typeKey == key)
            return browser.number;
    }
    *error = CliMessages::text(CliMessage::UnknownBrowser, {DefinitionValidator::quoted(key)});
    return -1;
}

QString nameRefusal(const QString &name)
{
    const std::optional<AppNameRule::Refusal> refusal = AppNameRule::refusal(name);
    return refusal ? CliMessages::text(CliMessage::NameRefused, {refusal->problem, refusal->remedy}) : QString();
}

QString creationFailure(const QString &reason, const QString &appName)
{
    if (reason == AppCreator::ReplaceMessage)
        return CliMessages::text(CliMessage::NameTaken, {DefinitionValidator::quoted(appName)});
    if (reason.endsWith(SNAppScriptHelper::InvalidNameMessage))
        return nameRefusal(appName);
    if (reason.isEmpty() || reason == u"not created"_s)
        return CliMessages::text(CliMessage::NoReasonRecorded, {DefinitionValidator::quoted(appName)});
    return u"not created: "_s + reason;
}

std::optional<QVariantList> rulesFromOptions(const QCommandLineParser &parser, QString *error)
{
    QVariantList rules;
    // Rules apply top-down, so they keep the order in which --allow and --route were given.
    const QStringList allows = parser.values(u"allow"_s);
    const QStringList routes = parser.values(u"route"_s);
    qsizetype allowIndex = 0;
    qsizetype routeIndex = 0;
    for (const QString &option : parser.optionNames()) {
        const QString ruleId = u"rule-%1"_s.arg(allowIndex + routeIndex + 1);
        if (option == u"allow"_s && allowIndex < allows.size()) {
            rules.append(QVariantMap{{SNRoutingConfig::keyId(), ruleId},
                                     {SNRoutingConfig::keyPattern(), allows[allowIndex++]},
                                     {SNRoutingConfig::keyAction(), SNRoutingConfig::actionAllow()}});
        } else if (option == u"route"_s && routeIndex < routes.size()) {
            const QString &route = routes[routeIndex++];
            const qsizetype equals = route.indexOf(u'=');
            const std::optional<QVariantMap> destination =
                equals > 0 ? parseDestination(route.mid(equals + 1)) : std::nullopt;
            if (!destination) {
                *error = CliMessages::text(CliMessage::RouteMalformed, {DefinitionValidator::quoted(route)});
                return std::nullopt;
            }
            rules.append(QVariantMap{{SNRoutingConfig::keyId(), ruleId},
                                     {SNRoutingConfig::keyPattern(), route.left(equals)},
                                     {SNRoutingConfig::keyAction(), SNRoutingConfig::actionRoute()},
                                     {SNRoutingConfig::keyDestination(), *destination}});
        }
    }
    return rules;
}

std::optional<QVariantMap> defaultDestinationFromOptions(const QCommandLineParser &parser, QString *error)
{
    const QString text = parser.value(u"default-destination"_s);
    std::optional<QVariantMap> destination = parseDestination(text);
    if (!destination)
        *error = CliMessages::text(CliMessage::DefaultDestinationMalformed, {DefinitionValidator::quoted(text)});
    return destination;
}

std::optional<AppDefinition> definitionFromOptions(const QCommandLineParser &parser, QString *error)
{
    const auto refuse = [error](const QString &text) {
        *error = text;
        return std::nullopt;
    };
    AppDefinition app;
    app.appName = parser.value(u"name"_s);
    const QStringList tabs = parser.values(u"tab"_s);
    // Typed addresses get https unless the site search finds the site answering only on http.
    for (const QString &tab : tabs)
        app.tabsList.append(TabAddress(WebAddress::withScheme(tab)));
    app.needTab = !tabs.isEmpty();
    app.appURL = app.needTab ? app.tabsList.constFirst().tabUrlString : WebAddress::withScheme(parser.value(u"url"_s));
    app.applicationsPath = parser.isSet(u"into"_s) ? QDir(parser.value(u"into"_s)).absolutePath() : QString();
    app.incognito = parser.isSet(u"incognito"_s);
    app.forceDarkMode = parser.isSet(u"dark"_s);
    app.registerAsBrowser = parser.isSet(u"register-as-browser"_s);
    app.isWhitelistingEnabled = parser.isSet(u"routing"_s);
    app.restoreSession = !parser.isSet(u"no-restore-session"_s);
    app.passwordManagerCompatibility = parser.isSet(u"password-manager-compatibility"_s);
    app.accentColor = parser.value(u"accent"_s);
    app.engineSwitches = parser.values(u"engine-switch"_s);

    if (parser.isSet(u"icon"_s)) {
        const QString path = parser.value(u"icon"_s);
        QString reason;
        app.appIcon = SNImage::fromFile(path, &reason);
        if (app.appIcon.isNull())
            return refuse(CliMessages::text(CliMessage::IconUnreadable, {DefinitionValidator::quoted(reason)}));
    }
    std::optional<QVariantList> rules = rulesFromOptions(parser, error);
    if (!rules)
        return std::nullopt;
    app.routingRules = *rules;
    if (parser.isSet(u"default-destination"_s)) {
        app.defaultDestination = defaultDestinationFromOptions(parser, error);
        if (!app.defaultDestination)
            return std::nullopt;
    }
    return app;
}

int chooseBrowser(const QCommandLineParser &parser, Context &context, QString *error)
{
    const auto installed = [&](const BrowserInfo &browser) {
        const QFileInfo engine(SNAppScriptHelper::getBrowserPath(browser.typeKey, context.defaults()));
        return engine.isFile() && engine.isExecutable();
    };
    if (!parser.isSet(u"browser"_s)) {
        for (const BrowserInfo &browser : BrowserCatalogue::all()) {
            if (installed(browser)) {
                Command::printNote(u"browser: %1 (%2), the first installed"_s.arg(browser.typeKey, browser.browserName),
                                   parser);
                return browser.number;
            }
        }
        if (!parser.isSet(u"allow-missing-browser"_s)) {
            *error = CliMessages::text(CliMessage::NoBrowserInstalled);
            return -1;
        }
        Command::printWarning(u"browser: none installed; the app uses chrome and starts once it is"_s, parser);
        return BrowserCatalogue::byTypeKey(u"chrome"_s).number;
    }
    const int number = browserNumber(parser.value(u"browser"_s), error);
    if (number < 0)
        return -1;
    const BrowserInfo &browser = BrowserCatalogue::byNumber(number);
    if (!installed(browser)) {
        const QString engine = SNAppScriptHelper::getBrowserPath(browser.typeKey, context.defaults());
        if (!parser.isSet(u"allow-missing-browser"_s)) {
            *error = CliMessages::text(CliMessage::BrowserNotInstalled, {browser.browserName, engine});
            return -1;
        }
        Command::printWarning(u"browser: %1 is not installed (no engine at %2); the app starts once it is"_s.arg(
                                  browser.browserName, engine),
                              parser);
    }
    return number;
}

bool iconSearchWanted(const QCommandLineParser &parser)
{
    return !parser.isSet(u"no-icon-search"_s) && qEnvironmentVariableIsEmpty("SORVANE_NO_ICON_SEARCH");
}

void findSiteIcon(AppDefinition &app, const QString &typed, const QCommandLineParser &parser)
{
    const QString address = app.appURL;
    if (!app.appIcon.isNull() || typed.isEmpty())
        return;
    // The helper's own bound (five seconds) holds: long enough for a site that answers at all.
    SNFaviconHelper helper;
    const SNFaviconHelper::Found found = helper.searchAddress(typed);
    // Typed without a scheme, the address takes the one the site answered on.
    if (!found.address.isEmpty() && found.address != app.appURL) {
        for (TabAddress &tab : app.tabsList) {
            if (tab.tabUrlString == app.appURL)
                tab.tabUrlString = found.address;
        }
        app.appURL = found.address;
    }
    if (found.image.isNull()) {
        Command::printNote(u"icon: none found at %1; the app gets its initial as its icon"_s.arg(address), parser);
        return;
    }
    app.appIcon = found.image;
    const QSize size = found.image.largestPixelSize();
    Command::printNote(u"icon: %1 (%2x%3)"_s.arg(found.sourceText()).arg(size.width()).arg(size.height()), parser);
}

QVariantMap createdApp(const CreatedApp &created)
{
    return {{u"appID"_s, created.appID},
            {u"uniqueID"_s, created.uniqueID},
            {u"path"_s, created.bundlePath},
            {u"linkRouting"_s, created.linkRouting.isEmpty() ? QVariant() : QVariant(created.linkRouting)}};
}

} // namespace AppOptions
