#include "CliMessages.h"

#include "companion/SNRoutingConfig.h"

#include <QRegularExpression>
#include <QVariantMap>

using namespace Qt::Literals::StringLiterals;

namespace CliMessages {

namespace {

using enum CliMessage;
constexpr FieldKind Option = FieldKind::Option;
constexpr FieldKind Argument = FieldKind::Argument;
constexpr FieldKind EntryKey = FieldKind::EntryKey;
constexpr FieldKind Given = FieldKind::Given;

const QString Destinations = u"in-app, default, browser:<id>[:<name>] or app:<path>"_s;

} // namespace

const QList<Entry> &table()
{
    static const QList<Entry> entries{
        {UnreadableCommandLine, Given, u"%1"_s, u"not understood"_s, u"`sorvane %2 --help` lists what it takes"_s},
        {UnknownOption, Given, u"%1"_s, u"unknown to sorvane %2"_s, u"`sorvane %2 --help` lists its options"_s},
        {UnexpectedValue, Given, u"%1"_s, u"takes no value"_s, u"give it as --%1 alone"_s},
        {ExtraArgument, Given, u"%1"_s, u"one argument more than %2 takes"_s,
         u"`sorvane %2 --help` shows its arguments"_s},
        {OptionRepeated, Given, u"%1"_s, u"given more than once"_s, u"give it once"_s},
        {MissingArgument, Given, u"%1"_s, u"missing"_s, u"`sorvane %2 --help` says what to give"_s},
        {EmptyArgument, Given, u"%1"_s, u"empty"_s, u"give it a value, or leave it out if it may be"_s},
        {ExclusiveOptions, Given, u"%1"_s, u"--%1 and %2 exclude each other"_s, u"give only one of them"_s},
        {MissingValue, Given, u"%1"_s, u"needs a value (%2)"_s, u"give it as --%1 %2"_s},
        {NotAFolder, Given, u"%1"_s, u"%2 is not a folder"_s, u"name a folder"_s},
        {NotAFile, Given, u"%1"_s, u"%2 is a folder, not a file"_s, u"name a file"_s},
        {NotWholeSeconds, Given, u"%1"_s, u"%2 is not a whole number of seconds"_s, u"give one such as 10"_s},

        {UnknownApp, Argument, u"APP"_s, u"no app is named %1, has that id (or id start), or is a bundle at that path"_s,
         u"`sorvane list` shows them"_s},
        {AmbiguousApp, Argument, u"APP"_s, u"%1 names %2 apps: %3"_s, u"name one by its id or path"_s},
        {NoAppsNamed, Argument, u"APP"_s, u"missing"_s, u"name the apps by name, id or bundle path"_s},
        {NoAppsNamedOrAll, Argument, u"APP"_s, u"missing, or given together with --all"_s,
         u"name the apps by name, id or bundle path, or give --all alone"_s},
        {NoAppsNamedOrOutdated, Argument, u"APP"_s, u"missing, or given together with --outdated"_s,
         u"name the apps by name, id or bundle path, or give --outdated alone"_s},
        {LauncherScriptUnreadable, Given, u"%1"_s,
         u"its launcher script (Contents/Resources/script) is missing or unreadable, so the app can be neither read "
         u"back nor started"_s,
         u"make it again with `sorvane create`, or from an export with `sorvane import`"_s},
        {NothingToExport, Given, u"%1"_s,
         u"%2 has no stored settings to export (Sorvane keeps them only for the apps it lists)"_s,
         u"`sorvane list` shows the apps that can be exported"_s},

        {NameMissing, Option, u"name"_s, u"missing"_s, u"give the app's name with --name"_s},
        {AddressMissing, Option, u"url"_s, u"missing"_s,
         u"give the start address with --url, or each tab's with --tab"_s},
        // The name rule words what is wrong (%1) and what to do (%2).
        {NameRefused, Option, u"name"_s, u"%1"_s, u"%2"_s},
        {NameKeptOnEdit, Option, u"name"_s, u"%1, so %3 keeps its name"_s, u"%2"_s},
        {NameTaken, Option, u"name"_s, u"an app named %1 is there already and was kept"_s,
         u"--replace moves it to the Trash, --keep-both numbers the new one"_s},
        {ProfileMissing, Option, u"profile"_s, u"missing, and --extension and --import-data take from a browser profile"_s,
         u"name one with --profile (`sorvane profiles BROWSER` lists them)"_s},
        {IconUnreadable, Option, u"icon"_s, u"%1"_s, u"give a PNG, JPEG or other image file"_s},
        {RouteMalformed, Option, u"route"_s, u"%1 is not PATTERN=DEST"_s, u"write DEST as "_s + Destinations},
        {DefaultDestinationMalformed, Option, u"default-destination"_s, u"%1 is not a destination"_s,
         u"give "_s + Destinations},
        {RulesMissing, Option, u"replace-rules"_s, u"needs the new rules"_s,
         u"give them with --allow or --route (--no-rules drops them all)"_s},
        {RestoreNeedsBrowser, Option, u"restore-backup"_s, u"only applies to an engine switch"_s,
         u"give it with --browser"_s},
        {NoReasonRecorded, Given, u"%1"_s, u"not created, for a reason Sorvane did not record"_s,
         u"run again with --verbose to see its log lines"_s},

        {UnknownBrowser, Option, u"browser"_s, u"unknown browser %1"_s, u"`sorvane browsers` lists the keys"_s},
        {UnknownBrowserArgument, Argument, u"BROWSER"_s, u"unknown browser %1"_s, u"`sorvane browsers` lists the keys"_s},
        {NoBrowserInstalled, Option, u"browser"_s, u"no supported browser is installed"_s,
         u"install one (`sorvane browsers` lists them), or give --allow-missing-browser"_s},
        {BrowserNotInstalled, Option, u"browser"_s, u"%1 is not installed (no engine at %2)"_s,
         u"install it, or give --allow-missing-browser to go on without it"_s},
        {SwitchNotConfirmed, Option, u"browser"_s, u"the switch from %1 to %2 was not confirmed, so nothing changed"_s,
         u"--yes confirms it"_s},
        {UnknownImportCategory, Option, u"import-data"_s,
         u"%1 is not bookmarks, extensions, settings, history, passwords or default"_s,
         u"give those, separated by commas"_s},
        {SourceBrowserRunning, Option, u"import-data"_s,
         u"%1 is running on this profile and keeps its history, passwords and extension data open"_s,
         u"quit it and try again (bookmarks and settings can be imported while it runs)"_s},

        {NotAnAppList, Argument, u"FILE"_s, u"%1 is not a readable JSON array of app definitions%2"_s,
         u"write it as [{\"appName\": ..., \"appURL\": ...}, ...] (examples/apps.json is one)"_s},
        {EntryNotAnObject, Given, u"%1"_s, u"not an object"_s,
         u"write each entry as {\"appName\": ..., \"appURL\": ...}"_s},
        {EntryNameRefused, EntryKey, u"appName"_s, u"%1, so nothing was created"_s, u"%2 in that entry"_s},
        {EntryAddressTooShort, EntryKey, u"appURL"_s, u"an address needs at least %1 characters, so nothing was created"_s,
         u"correct that entry's address"_s},
        {NotAnAppSet, Argument, u"FILE"_s, u"%1 is not an app set Sorvane can read (%2)"_s,
         u"`sorvane export` writes one"_s},
        {OutputMissing, Option, u"output"_s, u"missing"_s, u"name the file to write with --output"_s},
        {OutputNotWritten, Option, u"output"_s, u"%1 was not written (%2)"_s, u"choose a folder you can write to"_s},
        {RegistryUnreadable, Given, u"%1"_s, u"the registry is %2; it is kept as it is"_s,
         u"repair or remove it, or let the next change set it aside as %1.corrupt-<time>"_s},

        {TimeoutOutOfRange, Option, u"timeout"_s, u"%1 seconds is not from %2 to %3"_s, u"give a number in that range"_s},
        {NotAWebAddress, Argument, u"URL"_s, u"%1 is not a web address"_s,
         u"give an http or https address such as https://example.org"_s},
        {NoIconFound, Argument, u"URL"_s,
         u"no icon found at %1 (the page names no icon that could be read, and it has no /favicon.ico)"_s,
         u"try the site's home page, or a longer --timeout for a slow site"_s},
        {LinkNotSendable, Argument, u"URL"_s, u"not one line shorter than %1 bytes"_s, u"give one link on one line"_s},
        {LinkNotDelivered, Argument, u"URL"_s, u"not delivered: %1"_s, u"start sorvane-desktop and try again"_s},

        {NoTerminalForReplace, Option, u"replace"_s, u"no terminal to ask on whether to replace the app"_s,
         u"run again with --replace or --keep-both"_s},
        {NoTerminalForDelete, Option, u"yes"_s, u"no terminal to confirm the deletion on"_s, u"run again with --yes"_s},
        {NoTerminalForSwitch, Option, u"yes"_s, u"no terminal to confirm the engine switch on"_s,
         u"run again with --yes"_s},
    };
    return entries;
}

QString text(CliMessage id, const QStringList &arguments)
{
    const Entry &entry = table().at(qsizetype(id));
    Q_ASSERT(entry.id == id);
    const QString pattern = entry.field + u": "_s + entry.problem + u"; "_s + entry.remedy;
    QString result;
    result.reserve(pattern.size());
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern.at(i);
        if (c == u'%' && i + 1 < pattern.size() && pattern.at(i + 1) >= u'1' && pattern.at(i + 1) <= u'9') {
            const qsizetype index = pattern.at(i + 1).digitValue() - 1;
            result += arguments.value(index);
            ++i;
        } else {
            result += c;
        }
    }
    return result;
}

const QList<std::pair<QString, QString>> &optionsOfDefinitionFields()
{
    static const QList<std::pair<QString, QString>> fields{
        {u"appName"_s, u"name"_s},
        {u"appURL"_s, u"url"_s},
        {u"tabsList"_s, u"tab"_s},
        {u"routingRules"_s, u"route"_s},
        {u"defaultDestination"_s, u"default-destination"_s},
        {u"engineSwitches"_s, u"engine-switch"_s},
        {u"accentColor"_s, u"accent"_s},
    };
    return fields;
}

QString inOptionTerms(const QString &definitionRefusal, const QVariantList &rules)
{
    // "field", "field[3]" or "field[3].part", then ": ".
    static const QRegularExpression fieldAtStart(u"^([A-Za-z]+)(\\[\\d+\\])?(\\.[A-Za-z]+)?: "_s);
    const QRegularExpressionMatch match = fieldAtStart.match(definitionRefusal);
    if (!match.hasMatch())
        return definitionRefusal;
    const QString rest = definitionRefusal.mid(match.capturedLength());
    if (match.captured(1) == u"routingRules"_s) {
        const qsizetype index = match.captured(2).mid(1).chopped(1).toLongLong();
        const bool allow = rules.value(index).toMap().value(SNRoutingConfig::keyAction()) == SNRoutingConfig::actionAllow();
        return (allow ? u"allow: "_s : u"route: "_s) + rest;
    }
    for (const auto &[field, option] : optionsOfDefinitionFields()) {
        if (field == match.captured(1))
            return option + u": "_s + rest;
    }
    return definitionRefusal;
}

} // namespace CliMessages
