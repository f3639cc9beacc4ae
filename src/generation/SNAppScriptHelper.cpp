#include "generation/SNAppScriptHelper.h"

#include "core/BrowserCatalogue.h"
#include "core/Constants.h"
#include "core/EngineSwitches.h"
#include "core/ShellEscaping.h"

#include <QRegularExpression>

#include <initializer_list>

using namespace Qt::Literals::StringLiterals;

const QString SNAppScriptHelper::InvalidNameMessage = u"Invalid Application Name. Please correct the name."_s;
const QString SNAppScriptHelper::LegacyStubWarning =
    u"Warning: sorvanelauncher missing from the Sorvane bundle; installing the legacy launch stub"_s;

namespace {

// The pieces of the script, in the order they are joined. "%@" marks a value, filled in order.

const char16_t PreLaunchValidator[] = uR"sh(
pgrepResult=$(pgrep -f "$PWD"/../MacOS/%@)
if [[ ${#pgrepResult} -ne 0 && ${#LINK} -eq 0 ]]; then
    osascript -e 'tell application "System Events"' -e 'set frontmost of the first process whose unix id is '"$pgrepResult"' to true' -e 'end tell'
    exit
fi

pgrepResult2=$(pgrep -f "$PWD"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper)
if [[ ${#pgrepResult2} -ne 0 && ${#LINK} -eq 0 ]]; then
     exit
fi

)sh";

const char16_t HandOffHead[] =
    uR"sh(pgrepResult3=$(pgrep -f "$PWD"/SorvaneHelper.app/Contents/MacOS/SorvaneHelper)
if [[ ${#pgrepResult3} -ne 0 && ${#LINK} -ne 0 ]]; then
)sh";

// Starts a new helper instance with the bundle's current path and the engine's name.
const char16_t HelperStart[] =
    uR"sh(launchArrayHelper[0]=""$PWD/SorvaneHelper.app/Contents/MacOS/SorvaneHelper""
launchArrayHelper[1]="--args"
launchArrayHelper[2]="${PWD%/Contents/Resources}"
launchArrayHelper[3]="%@"
open -n -a "${launchArrayHelper[0]}" "${launchArrayHelper[1]}" "${launchArrayHelper[2]}" "${launchArrayHelper[3]}")sh";

const char16_t Setup[] = uR"sh(
function setup {
    ENGINE_WORKDIR="$1"
    sh ./createEngine.sh "%@" "$ENGINE_WORKDIR" "%@" "%@" "%@" "%@"
}     
)sh";

const char16_t WorkingDirectory[] = uR"sh(DIR=$(dirname "$0");
 cd "$DIR";
cd ..;
cd Resources;

)sh";

// The bundle's folder may hold any character: the host's path is escaped for a JSON string, then
// for the replacement of a sed command whose delimiter is #.
const char16_t ManifestRepair[] = uR"sh(
HOST_PATH="$PWD/sorvanemessaginghost"
HOST_PATH=${HOST_PATH//\\/\\\\}; HOST_PATH=${HOST_PATH//\"/\\\"}; HOST_PATH=${HOST_PATH//$'\n'/\\n}; HOST_PATH=${HOST_PATH//$'\t'/\\t}
HOST_PATH=${HOST_PATH//\\/\\\\}; HOST_PATH=${HOST_PATH//&/\\&}; HOST_PATH=${HOST_PATH//\#/\\#}
sed -i '' "s#.*\"path\":.*#\"path\": \"$HOST_PATH\",#g" "$DIR"/../Profile/NativeMessagingHosts/com.ondrel.sorvane.helper.json 2>/dev/null
)sh";

// %@ is the browser's user-data folder, escaped as one unquoted word after the home folder.
const char16_t ManifestCopyLoops[] = uR"sh(
mkdir -p %@/NativeMessagingHosts
for file in ../../Contents/Profile/NativeMessagingHosts/*.json; do
    dest=%@/NativeMessagingHosts/$(basename "$file")
    if [ -f "$dest" ]; then
        rm "$dest"
    fi
    cp "$file" "$dest"
done
for file in %@/NativeMessagingHosts/*.json; do
    [ "$(basename "$file")" = "com.ondrel.sorvane.helper.json" ] && continue
    dest=../../Contents/Profile/NativeMessagingHosts/$(basename "$file")
    if [ -f "$dest" ]; then
        rm "$dest"
    fi
    cp "$file" "$dest" 2>/dev/null
done
)sh";

const char16_t ExternalExtensionSeed[] = uR"sh(
mkdir -p "$DIR"/../Profile/"External Extensions"
printf '%s' '{"external_update_url":"%@"}' > "$DIR"/../Profile/"External Extensions"/%@.json
)sh";

const char16_t WelcomePageSeen[] = uR"sh(
sed -i '' 's/"has_seen_welcome_page":false/"has_seen_welcome_page":true/' "$PWD/../Profile/Default/Preferences" 2>/dev/null
)sh";

// The engine restores the session itself when its startup setting says so; then the tab list
// is left out. Brave also leaves it out whenever a Sessions folder exists.
const char16_t TabChoiceBrave[] =
    uR"sh(if ! grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    ! grep -qs '"restore_on_startup":4' "$PWD/../Profile/Default/Secure Preferences" &&
    ! grep -qs '"restore_on_startup":5' "$PWD/../Profile/Default/Secure Preferences" &&
    [ ! -d "$PWD/../Profile/Default/Sessions" ]; then
    Tabs="%@"
elif ! grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    ! grep -qs '"restore_on_startup":4' "$PWD/../Profile/Default/Secure Preferences" &&
    ! grep -qs '"restore_on_startup":5' "$PWD/../Profile/Default/Secure Preferences" &&
    [ -d "$PWD/../Profile/Default/Sessions" ]; then
    Tabs=""
elif grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    [ -f "$PWD/../Profile/Default/Current Tabs" ]; then
    Tabs=""
elif grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    [ -d "$PWD/../Profile/Default/Sessions" ]; then
    Tabs=""
else
    Tabs="%@"
fi
)sh";

const char16_t TabChoice[] =
    uR"sh(if  ! grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    ! grep -qs '"restore_on_startup":4' "$PWD/../Profile/Default/Secure Preferences" &&
    ! grep -qs '"restore_on_startup":5' "$PWD/../Profile/Default/Secure Preferences"; then
    Tabs="%@"
elif grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    [ -f "$PWD/../Profile/Default/Current Tabs" ]; then
    Tabs=""
elif grep -qs '"restore_on_startup":1' "$PWD/../Profile/Default/Secure Preferences" &&
    [ -d "$PWD/../Profile/Default/Sessions" ]; then
    Tabs=""
else
    Tabs="%@"
fi
)sh";

const char16_t FirstLaunch[] = uR"sh(
# Check for first launch and prepare Chrome Web Store URL
FIRST_RUN_FILE="$PWD/../Profile/First Run"
FIRST_LAUNCH_COMPLETE_FILE="$PWD/../Profile/First Launch Complete"
CHROME_WEBSTORE_URL=""
echo "Checking first launch status..."
echo "First run file: $FIRST_RUN_FILE"
echo "First launch complete file: $FIRST_LAUNCH_COMPLETE_FILE"
if [ -f "$FIRST_RUN_FILE" ] && [ ! -f "$FIRST_LAUNCH_COMPLETE_FILE" ]; then
    echo "First launch detected"
    CHROME_WEBSTORE_URL="%@"
    # Mark first launch as complete
    touch "$FIRST_LAUNCH_COMPLETE_FILE"
    echo "First launch marker created"
else
    echo "Not first launch - skipping Chrome Web Store"
fi

)sh";

// Tabs files hold {"...":["<address>","<address>"]}}; their addresses become one blank-separated list.
const char16_t RestoreBlock[] = uR"sh(
RESTORE=1
RESTOREFILE="$PWD/restore.json"
if [ -f "$RESTOREFILE" ]; then
    RESTOREFILESTR="$(cat "$RESTOREFILE")"
    if [[ $RESTOREFILESTR == *false* ]]; then
        RESTORE=0;
    fi
fi
# With the engine's own "continue where you left off" setting (restore_on_startup 1)
# the engine restores the previous session by itself.
# Handing it the same addresses as well would open every tab twice,
# so the engine's own restore wins.
for prefsFile in "$PWD/../Profile/Default/Secure Preferences" "$PWD/../Profile/Default/Preferences"; do
    if [ -f "$prefsFile" ] && grep -q '"restore_on_startup":1' "$prefsFile" && [ -d "$PWD/../Profile/Default/Sessions" ]; then
        RESTORE=0
        break
    fi
done
TabsLastOpened=""
TabsFilesList="$(find "$PWD" -type f -maxdepth 1 -name "tabs-*.json")" 
while IFS= read -r tabsFile; do
    if [ -f "$tabsFile" ]; then
        tabsLine="$(cut -d [ -f 2 < "$tabsFile")"
        tabsLine=${tabsLine/\"/}
        tabsLine=${tabsLine/\"]\}\}/}
        tabsLine=${tabsLine//\",\"/ }
        tabsLine=${tabsLine//\\/}
        if [ ${#tabsLine} -ne 0 ]; then
            TabsLastOpened+=" $tabsLine"
        fi
        rm -f "$tabsFile"
    fi
done < <(printf '%s\n' "$TabsFilesList")
if [ ${#TabsFilesList} -eq 0 ]; then
    RESTORE=0;
fi
)sh";

const char16_t StoreWindowHead[] = uR"sh(
# Open Chrome Web Store in a new window shortly after first launch
if [ ${#CHROME_WEBSTORE_URL} -ne 0 ]; then
    ( sleep 6; "$PWD/../MacOS/%@" --new-window "$CHROME_WEBSTORE_URL" --user-data-dir=./../Profile $ENGINE_EXTRA_FLAGS)sh";

// The app's own start keeps the engine's error output (the script's, which the launch program puts
// into the app's log), so that an engine refusing to start can say why.
// NEWLAUNCHSTR is split into the engine's words unquoted. Its addresses hold no blanks (tabs are
// stored percent-encoded, the launch program encodes the link); `set -f` keeps a * or [ in one
// from being read as a file pattern.
const char16_t RestoreRequest[] = uR"sh(
if [ $NEEDTAB -ne 0 ] && [ -f "$PWD/../Profile/Sorvane Restore Session" ]; then
    rm -f "$PWD/../Profile/Sorvane Restore Session"
    if [ -d "$PWD/../Profile/Default/Sessions" ]; then
        RESTORE=0
        Tabs=""
        NEWLAUNCHSTR+=" --restore-last-session"
    fi
fi
if [ ${#LINK} -ne 0 ]; then
    NEWLAUNCHSTR+=" $LINK"
fi
# Add Chrome Web Store URL on first launch
if [ ${#CHROME_WEBSTORE_URL} -ne 0 ]; then
    NEWLAUNCHSTR+=" $CHROME_WEBSTORE_URL"
fi
if [ $NEEDTAB -ne 0 ]; then
    if [ $RESTORE -ne 0 ] && [ ${#TabsLastOpened} -ne 0 ]; then
        NEWLAUNCHSTR+=" $TabsLastOpened"
    elif [ ${#Tabs} -ne 0 ]; then
        IFS=' '
        read -ra newarr <<< "$Tabs"
        for tab in "${newarr[@]}"; do
            NEWLAUNCHSTR+=" $tab"
        done
    fi
    for ((i=1; i<=%@; i++)); do
        NEWLAUNCHSTR+=" ${launchArray[i]}"
    done
    set -f
    exec "${launchArray[0]}" $NEWLAUNCHSTR $ENGINE_EXTRA_FLAGS >/dev/null 
fi
)sh";

const QString UserDataSwitch = u"--user-data-dir=./../Profile"_s;
const QString IncognitoSwitch = u"--incognito"_s;

// `templ` with each "%@" replaced by the next value, in one pass: a value is never scanned again.
QString fill(QStringView templ, std::initializer_list<QString> values)
{
    QString text;
    auto value = values.begin();
    qsizetype from = 0;
    for (qsizetype at = templ.indexOf(u"%@"); at >= 0; at = templ.indexOf(u"%@", from)) {
        Q_ASSERT(value != values.end());
        text += templ.mid(from, at - from);
        text += *value++;
        from = at + 2;
    }
    Q_ASSERT(value == values.end());
    text += templ.mid(from);
    return text;
}

QString dq(const QString &value)
{
    return ShellEscaping::doubleQuoted(value);
}

// Addresses go in percent-encoded; control characters too, so every assignment stays one line
// for the read-back.
QString encodedAddress(const QString &address)
{
    QString text;
    for (const QChar c : ShellEscaping::percentEncodeAddress(address)) {
        if (c.unicode() < 0x20 || c.unicode() == 0x7f)
            text += u'%' + QString::number(c.unicode(), 16).rightJustified(2, u'0').toUpper();
        else
            text += c;
    }
    return text;
}

const QStringView PatternCharacters = u"\\^$*+?()[]{}|";

bool hasPatternCharacters(const QString &engineName)
{
    for (const QChar c : engineName) {
        if (PatternCharacters.contains(c))
            return true;
    }
    return false;
}

// The engine name as pgrep's extended regular expression matching it literally, then as one
// unquoted shell word. A dot stays: it matches itself, and ordinary names keep their text.
QString pgrepWord(const QString &engineName)
{
    QString regex;
    for (const QChar c : engineName) {
        if (PatternCharacters.contains(c))
            regex += u'\\';
        regex += c;
    }
    return ShellEscaping::unquoted(regex);
}

// The bundle folder usually carries the app's name, so a name with pattern characters makes
// "$PWD" in the pgrep patterns a pattern that never matches the running engine or helper. Such
// scripts first escape the folder (BRE bracket syntax that BSD and GNU sed share) and match
// against that; ordinary names keep the template's "$PWD".
const char16_t LiteralFolderPattern[] =
    uR"sh(
# The app's folder as a pattern pgrep matches literally (its name holds pattern characters).
PGREP_PWD=$(printf '%s\n' "$PWD" | sed 's/[][\.*^$+?(){}|]/\\&/g'))sh";

QString withLiteralFolderPattern(const QString &text, const QString &engineName)
{
    if (!hasPatternCharacters(engineName))
        return text;
    QString patched = text;
    return patched.replace(u"pgrep -f \"$PWD\"/"_s, u"pgrep -f \"$PGREP_PWD\"/"_s);
}

QString userDataWord(const BrowserInfo &browser, bool targetIsMac)
{
    // "~" stays outside the escaping, so the shell still expands it.
    return u"~"_s +
           ShellEscaping::unquoted(BrowserCatalogue::userDataFolder(browser, QString(), targetIsMac));
}

QString handOffExec(const QString &engine, bool incognito)
{
    QString text = fill(u"launchArray2[0]=\"$PWD/../MacOS/%@\"\n", {dq(engine)}) +
                   u"launchArray2[1]=\"--args\"\nlaunchArray2[2]=\"--user-data-dir=./../Profile\"\n"_s;
    if (incognito)
        text += u"launchArray2[3]=\"--incognito\"\n"_s;
    text += u"exec \"${launchArray2[0]}\" \"$LINK\" \"${launchArray2[1]}\" \"${launchArray2[2]}\" "_s;
    if (incognito)
        text += u"\"${launchArray2[3]}\" "_s;
    return text + u"$ENGINE_EXTRA_FLAGS >/dev/null 2>&1 \n"_s;
}

// Single-window apps hand the link straight to the engine. Tabbed apps, when exactly one helper
// runs, start a fresh helper beside the engine they hand the link to, so the double-start guard
// stays up while that engine lives.
QString linkHandOff(const QString &engine, bool tabbed, bool incognito)
{
    QString text = withLiteralFolderPattern(QString::fromUtf16(HandOffHead), engine);
    if (!tabbed)
        return text + handOffExec(engine, incognito) + u"    exit\nfi\n"_s;
    text += u"if [[ $pgrepResult3 == *$'\\n'* ]]; then\n"_s + handOffExec(engine, incognito) + u"else\n"_s;
    text += fill(HelperStart, {dq(engine)}) + u'\n';
    text += fill(u"launchArray2[0]=\"$PWD/../MacOS/%@\"\n", {dq(engine)});
    text += u"launchArray2[1]=\"$LINK\"\nlaunchArray2[2]=\"--args\"\n"
            "launchArray2[3]=\"--user-data-dir=./../Profile\"\n"_s;
    if (incognito)
        text += u"launchArray2[4]=\"--incognito\"\n"_s;
    text +=
        u"exec \"${launchArray2[0]}\" \"${launchArray2[1]}\" \"${launchArray2[2]}\" \"${launchArray2[3]}\" "_s;
    if (incognito)
        text += u"\"${launchArray2[4]}\" "_s;
    return text + u"$ENGINE_EXTRA_FLAGS >/dev/null 2>&1 \nfi\n    exit\nfi\n"_s;
}

// For an engine that ignores --load-extension: the DevTools pipe on descriptors 3 and 4, which the
// launch program holds and loads the companion through; the switch that lets the pipe load an
// unpacked extension; and the one that keeps navigator.webdriver false, as a pipe alone would make
// it true and sign-in pages refuse such a browser.
const QStringList PipeSwitches{u"--remote-debugging-pipe"_s, u"--enable-unsafe-extension-debugging"_s,
                               u"--disable-blink-features=AutomationControlled"_s};

// Switches after the launch array's head, in the order both launch forms use.
QStringList optionSwitches(const SNScriptInputs &inputs, bool loadExtension)
{
    QStringList switches;
    if (inputs.forceDarkMode)
        switches << u"--force-dark-mode"_s << u"--enable-features=WebContentsForceDark"_s;
    if (inputs.incognito)
        switches << IncognitoSwitch;
    if (loadExtension && inputs.companionThroughPipe)
        switches << PipeSwitches;
    else if (loadExtension)
        switches << u"--load-extension=./../Resources/Sorvane_Extension"_s;
    return switches;
}

// The window class rides with the switches every start of the engine carries, the hand-off of a
// link to a running engine included. It comes from the registry id; anything but a plain word is
// left out, as the switches are split into words by the shell.
QString windowClassSwitch(const QString &windowClass)
{
    static const QRegularExpression plainWord(u"\\A[A-Za-z0-9_-]+\\z"_s);
    return plainWord.match(windowClass).hasMatch() ? u" --class="_s + windowClass : QString();
}

// The user's own switches (Sorvane's default ones, then the app's), checked by EngineSwitches;
// one that is not a safe word never gets this far, and is left out should it come anyway.
QString userSwitches(const QStringList &switches)
{
    QString text;
    for (const QString &engineSwitch : switches) {
        if (EngineSwitches::problem(engineSwitch).isEmpty())
            text += u' ' + engineSwitch;
    }
    return text;
}

QString launchArrayHead(const QString &engine)
{
    return fill(u"\nlaunchArray[0]=\"$PWD/../MacOS/%@\"\nlaunchArray[1]=\"--args\"", {dq(engine)});
}

QString launchArrayEntry(qsizetype index, const QString &value)
{
    return u"\nlaunchArray["_s + QString::number(index) + u"]=\""_s + value + u'"';
}

// Like the tabbed start, the final exec keeps the engine's error output.
QString singleWindowLaunch(const QString &engine, const QString &address, const QStringList &options)
{
    const QStringList entries = QStringList{UserDataSwitch, u"--app="_s + dq(address)} + options;
    const qsizetype appIndex = 3;
    QString text = launchArrayHead(engine);
    for (qsizetype i = 0; i < entries.size(); ++i)
        text += launchArrayEntry(i + 2, entries.at(i));
    text += u"\nif [ ${#LINK} -ne 0 ]; then\n    launchArray["_s + QString::number(appIndex) +
            u"]=\"--app=$LINK\"\nfi\n"_s;
    text += fill(StoreWindowHead, {dq(engine)});
    for (const QString &option : options)
        text += u" \""_s + option + u'"';
    text += u" >/dev/null 2>&1 ) &\n    disown\nfi\nexec"_s;
    for (qsizetype i = 0; i < entries.size() + 2; ++i)
        text += u" \"${launchArray["_s + QString::number(i) + u"]}\""_s;
    return text + u" $ENGINE_EXTRA_FLAGS >/dev/null\n"_s;
}

QString tabbedLaunch(const QString &engine, const QStringList &options)
{
    const QStringList entries = options + QStringList{UserDataSwitch};
    QString text = launchArrayHead(engine);
    for (qsizetype i = 0; i < entries.size(); ++i)
        text += launchArrayEntry(i + 2, entries.at(i));
    text += u"\nNEWLAUNCHSTR=\"\"\n"_s;
    return text + fill(RestoreRequest, {QString::number(entries.size() + 1)});
}

} // namespace

QString SNAppScriptHelper::getBrowserPath(const QString &typeKey, const UserDefaults &defaults)
{
    return BrowserCatalogue::enginePathForScript(typeKey, defaults);
}

QString SNAppScriptHelper::browserPathArgument(const QString &enginePath, bool targetIsMac)
{
    return targetIsMac ? BrowserCatalogue::bundleOfEngine(enginePath) : enginePath;
}

QString SNAppScriptHelper::extraEngineFlagsForBrowser(const QString &typeKey)
{
    return BrowserCatalogue::extraEngineSwitches(typeKey);
}

QString SNAppScriptHelper::preLaunchValidatorScript(const QString &engineName)
{
    const QString validator = withLiteralFolderPattern(fill(PreLaunchValidator, {pgrepWord(engineName)}), engineName);
    return hasPatternCharacters(engineName) ? QString::fromUtf16(LiteralFolderPattern) + validator : validator;
}

QString SNAppScriptHelper::legacyLaunchStub()
{
    return u"#!/bin/bash\nDIR=$(dirname \"$0\")\nexec \"$DIR/../Resources/script\" \"$@\"\n"_s;
}

QString SNAppScriptHelper::scriptText(const SNScriptInputs &inputs, QString *error)
{
    if (!ShellEscaping::isAcceptableAppName(inputs.appName)) {
        if (error)
            *error = InvalidNameMessage;
        return {};
    }
    const BrowserInfo &browser = BrowserCatalogue::byTypeKey(inputs.typeKey);
    const QString &key = browser.typeKey;
    const QString engine = BrowserCatalogue::engineExecutableName(inputs.appName);
    const bool tabbed = inputs.needTab;
    // The Helium engine gets no helper extension from the store, so it always loads ours.
    const bool loadExtension = inputs.shouldIncludeWLExt || key == u"helium"_s;

    QStringList tabs;
    for (const QString &tab : inputs.tabsList) {
        if (!tab.isEmpty())
            tabs << dq(encodedAddress(tab));
    }
    const QString tabList = tabs.join(u' ');

    QString text = u"#!/bin/bash\n#main part\nLINK=\"\"\nLINK+=\"$1\"\n"_s;
    text += u"# switches every launch of the engine binary carries (see SNAppScriptHelper "
            "extraEngineFlagsForBrowser:)\nENGINE_EXTRA_FLAGS=\""_s +
            dq(extraEngineFlagsForBrowser(key)) + userSwitches(inputs.engineSwitches) +
            windowClassSwitch(inputs.windowClass) + u"\"\n"_s;
    text += preLaunchValidatorScript(engine);
    text += linkHandOff(engine, tabbed, inputs.incognito);
    text += fill(Setup, {dq(inputs.appName), dq(inputs.engineBrowserPath), dq(browser.browserName),
                         dq(browser.browserShortName), dq(browser.frameworkFolder)});
    text += QString::fromUtf16(WorkingDirectory);
    text += QString::fromUtf16(ManifestRepair);
    const QString userData = userDataWord(browser, inputs.targetIsMac);
    text += fill(ManifestCopyLoops, {userData, userData, userData});
    if (key != u"helium"_s) {
        const QString endpoint =
            key == u"edge"_s ? Constants::EdgeExtensionUpdateUrl : Constants::ExtensionUpdateUrl;
        text += fill(ExternalExtensionSeed, {endpoint, Constants::ExternalHelperExtensionId});
    }
    if (tabbed) {
        text += QString::fromUtf16(WelcomePageSeen);
        text += fill(key == u"brave"_s ? TabChoiceBrave : TabChoice, {tabList, tabList});
    }
    text += u"setup \"$PWD\"\nARGS=\"$1\"\n"_s + inputs.trackerFragment;
    text += fill(FirstLaunch, {dq(Constants::ChromeWebStoreUrl)});
    text += tabbed && !tabs.isEmpty() ? u"\nNEEDTAB=1\n"_s : u"\nNEEDTAB=0\n"_s;
    text += u"\nTABS=\""_s + (tabbed ? tabList : QString()) + u"\"\n"_s;
    text += u"\nHOMEPAGE=\""_s + dq(encodedAddress(inputs.appURL)) + u"\"\n"_s;
    text += tabbed ? QString::fromUtf16(RestoreBlock) : u"\n\nrm -rf \"$PWD\"/tabs-*.json\n\n"_s;
    text += u"\n\n"_s + fill(HelperStart, {dq(engine)}) + u" \n"_s;

    const QStringList options = optionSwitches(inputs, loadExtension);
    if (tabbed)
        text += tabbedLaunch(engine, options);
    else
        text += singleWindowLaunch(engine, encodedAddress(inputs.appURL), options);
    return text;
}
