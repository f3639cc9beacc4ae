#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <utility>

// Every refusal and failure the command line words itself. Each says, on one line,
// "<field>: <what is wrong>; <what to do>". The field is what the user typed that the message is
// about: an option (without its dashes), an argument as its help writes it (APP, FILE), or a
// key of an entry of a file of app definitions. Where that is only known when it happens (the
// usage checks every command shares, an app named at run time), the field is the first argument.
//
// The operations' own failures (a write the disk refused, an app that is running) pass through
// as they come: they say what failed and why in the words the desktop app shows too.
enum class CliMessage {
    // The usage checks every command shares
    UnreadableCommandLine,
    UnknownOption,
    UnexpectedValue,
    ExtraArgument,
    OptionRepeated,
    MissingArgument,
    EmptyArgument,
    ExclusiveOptions,
    MissingValue,
    NotAFolder,
    NotAFile,
    NotWholeSeconds,
    // Apps named on the command line
    UnknownApp,
    AmbiguousApp,
    NoAppsNamed,
    NoAppsNamedOrAll,
    NoAppsNamedOrOutdated,
    LauncherScriptUnreadable,
    NothingToExport,
    // What an app is made of
    NameMissing,
    AddressMissing,
    NameRefused,
    NameKeptOnEdit,
    NameTaken,
    ProfileMissing,
    IconUnreadable,
    RouteMalformed,
    DefaultDestinationMalformed,
    RulesMissing,
    RestoreNeedsBrowser,
    NoReasonRecorded,
    // Browsers
    UnknownBrowser,
    UnknownBrowserArgument,
    NoBrowserInstalled,
    BrowserNotInstalled,
    SwitchNotConfirmed,
    UnknownImportCategory,
    SourceBrowserRunning,
    // Files
    NotAnAppList,
    EntryNotAnObject,
    EntryNameRefused,
    EntryAddressTooShort,
    NotAnAppSet,
    OutputMissing,
    OutputNotWritten,
    RegistryUnreadable,
    // Icons and links
    TimeoutOutOfRange,
    NotAWebAddress,
    NoIconFound,
    LinkNotSendable,
    LinkNotDelivered,
    // Questions without a terminal to ask them on
    NoTerminalForReplace,
    NoTerminalForDelete,
    NoTerminalForSwitch,
};

namespace CliMessages {

enum class FieldKind {
    Option,   // an option of a command, without its dashes
    Argument, // a command's positional argument, as its help writes it
    EntryKey, // a key of an app definition in a bulk list
    Given,    // known only when it happens: the field is %1
};

struct Entry
{
    CliMessage id;
    FieldKind kind;
    QString field;
    QString problem; // what is wrong
    QString remedy;  // what to do about it
};

// Every message, in the order of CliMessage.
const QList<Entry> &table();

// The message with %1, %2, ... replaced by `arguments` in one pass, so an argument that itself
// holds "%2" (a name, a path) stays as it was typed.
QString text(CliMessage id, const QStringList &arguments = {});

// A refusal of the definition checks ("appURL: ...", "routingRules[0].pattern: ...") with its
// field named by the option that sets it ("url: ..."), for the commands that take options
// rather than a file of definitions. A rule's field is --allow or --route, as `rules[i]` says.
// Other texts are returned as they are.
QString inOptionTerms(const QString &definitionRefusal, const QVariantList &rules = {});

// The definition fields and the options of `create` and `edit` that set them (a rule's is
// --route, or --allow for an allow rule).
const QList<std::pair<QString, QString>> &optionsOfDefinitionFields();

} // namespace CliMessages
