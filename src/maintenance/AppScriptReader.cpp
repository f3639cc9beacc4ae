#include "maintenance/AppScriptReader.h"

#include "core/BrowserCatalogue.h"
#include "core/ShellEscaping.h"

#include <QRegularExpression>
#include <QStringList>

#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString TabbedAppSwitch = u"NEWLAUNCHSTR+=\" --app="_s;
const QString AppSwitch = u"--app="_s;

// Browser names in the order they are tested: Canary before Chrome, whose name it contains.
constexpr std::array<std::pair<const char *, const char *>, 8> BrowserNames = {{
    {"Canary", "canary"},
    {"Brave", "brave"},
    {"Edge", "edge"},
    {"Opera", "opera"},
    {"Vivaldi", "vivaldi"},
    {"Helium", "helium"},
    {"Chromium", "chromium"},
    {"Chrome", "chrome"},
}};

// The script with the app name's quoted forms replaced by a blank word, so that a name that
// contains a marker ("HOMEPAGE=", "incognito", "Brave") reads as no marker.
QString withoutName(const QString &script, const QString &appName)
{
    if (appName.isEmpty())
        return script;
    const QString quoted = ShellEscaping::doubleQuoted(appName);
    const QString unquoted = ShellEscaping::unquoted(appName);
    QString text = script;
    // The engine's name in quotes and in the pgrep pattern, then the name as a word of its own.
    text.replace(quoted + u" Engine\""_s, u"_ Engine\""_s);
    text.replace(u'/' + unquoted + u"\\ Engine"_s, u"/_\\ Engine"_s);
    text.replace(u'"' + quoted + u'"', u"\"_\""_s);
    return text;
}

// The text after `marker` on the first line that starts with it.
std::optional<QString> lineValue(const QStringList &lines, const QString &marker)
{
    for (const QString &line : lines) {
        if (line.startsWith(marker))
            return line.mid(marker.size());
    }
    return std::nullopt;
}

// A value as the script assigns it: a double-quoted word is read as bash reads it; anything else
// loses its double quotes.
QString assignedValue(const QString &raw)
{
    const QString value = raw.trimmed();
    if (value.size() >= 2 && value.startsWith(u'"') && value.endsWith(u'"'))
        return ShellEscaping::unescapeDoubleQuoted(value.mid(1, value.size() - 2)).trimmed();
    return QString(value).remove(u'"');
}

QStringList tabList(const QString &raw)
{
    const QString value = assignedValue(raw);
    return value.isEmpty() ? QStringList() : value.split(u' ', Qt::SkipEmptyParts);
}

// The value of the first --app= switch: up to the next blank or closing quote.
QString appSwitchValue(const QString &text)
{
    const qsizetype start = text.indexOf(AppSwitch);
    if (start < 0)
        return {};
    qsizetype end = start + AppSwitch.size();
    while (end < text.size() && !text.at(end).isSpace() && text.at(end) != u'"')
        ++end;
    return ShellEscaping::unescapeDoubleQuoted(text.mid(start + AppSwitch.size(), end - start - AppSwitch.size()));
}

bool hasSingleWindowSwitch(const QString &text)
{
    return text.contains(AppSwitch) && !text.contains(TabbedAppSwitch);
}

// The script without the addresses it holds, for the checks that look at the whole text.
QString withoutAddresses(const QStringList &lines)
{
    static const QRegularExpression appSwitchValue(u"--app=[^\"\\s]*"_s);
    QStringList kept;
    for (const QString &line : lines) {
        // The start-up block assigns the tabs on indented lines too.
        const QString assignment = line.trimmed();
        if (assignment.startsWith(u"HOMEPAGE="_s) || assignment.startsWith(u"TABS="_s) ||
            assignment.startsWith(u"Tabs="_s))
            continue;
        kept.append(QString(line).replace(appSwitchValue, AppSwitch));
    }
    return kept.join(u'\n');
}

// The double-quoted words of a shell line, as bash reads them; unquoted words are skipped.
QStringList quotedWords(const QString &line)
{
    QStringList words;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line.at(i) != u'"')
            continue;
        qsizetype end = i + 1;
        while (end < line.size() && line.at(end) != u'"')
            end += line.at(end) == u'\\' ? 2 : 1;
        words.append(ShellEscaping::unescapeDoubleQuoted(line.mid(i + 1, qMin(end, line.size()) - i - 1)));
        i = end;
    }
    return words;
}

QString typeFromBrowserName(const QString &text)
{
    for (const auto &[name, typeKey] : BrowserNames) {
        if (text.contains(QLatin1String(name)))
            return QLatin1String(typeKey);
    }
    return {};
}

// A Linux engine path: one of the catalogue's, else a known engine executable name.
QString typeFromEnginePath(const QString &path)
{
    for (const BrowserInfo &browser : BrowserCatalogue::all()) {
        if (path == browser.linuxEnginePath)
            return browser.typeKey;
    }
    const QString file = path.section(u'/', -1);
    if (file == u"chrome"_s)
        return path.contains(u"chrome-canary"_s) ? u"canary"_s : u"chrome"_s;
    if (file == u"msedge"_s)
        return u"edge"_s;
    for (const QString &key : {u"brave"_s, u"opera"_s, u"chromium"_s, u"vivaldi"_s, u"helium"_s}) {
        if (file == key)
            return key;
    }
    return {};
}

} // namespace

QString AppScriptReader::browserTypeFromEngineLineInScript(const QString &script)
{
    static const QString EngineCommand = u"sh ./createEngine.sh"_s;
    for (const QString &line : script.split(u'\n')) {
        const qsizetype command = line.indexOf(EngineCommand);
        if (command < 0)
            continue;
        // Name, work folder, then the browser: its bundle on macOS, its engine path on Linux.
        const QStringList words = quotedWords(line.mid(command + EngineCommand.size()));
        for (qsizetype i = 1; i < words.size(); ++i) {
            if (words.at(i).endsWith(u".app"_s))
                return typeFromBrowserName(words.at(i));
        }
        return words.size() > 2 ? typeFromEnginePath(words.at(2)) : QString();
    }
    return {};
}

std::optional<QVariantMap> AppScriptReader::appInfo(const QString &appName, const QString &script)
{
    const QStringList rawLines = script.split(u'\n');
    if (rawLines.contains(u"# Sorvane demo app"_s))
        return std::nullopt;

    const QString text = withoutName(script, appName);
    const QStringList lines = text.split(u'\n');
    QVariantMap info{{u"appName"_s, appName}};

    if (const std::optional<QString> needTab = lineValue(lines, u"NEEDTAB="_s)) {
        const QString flag = needTab->trimmed();
        if (flag.startsWith(u'0'))
            info.insert(u"isTabs"_s, false);
        else if (flag.startsWith(u'1'))
            info.insert(u"isTabs"_s, true);
    } else {
        info.insert(u"isTabs"_s, !hasSingleWindowSwitch(text));
    }

    if (const std::optional<QString> homepage = lineValue(lines, u"HOMEPAGE="_s))
        info.insert(u"appURL"_s, assignedValue(*homepage));
    else if (hasSingleWindowSwitch(text))
        info.insert(u"appURL"_s, appSwitchValue(text));

    const QString structure = withoutAddresses(lines);
    info.insert(u"incognito"_s, structure.contains(u"incognito"_s));

    if (const std::optional<QString> tabs = lineValue(lines, u"TABS="_s)) {
        const QStringList list = tabList(*tabs);
        info.insert(u"tabs"_s, list);
        if (!info.contains(u"appURL"_s))
            info.insert(u"appURL"_s, list.value(0));
    } else if (const std::optional<QString> olderTabs = lineValue(lines, u"Tabs="_s)) {
        const QStringList list = tabList(*olderTabs);
        info.insert(u"tabs"_s, list);
        info.insert(u"appURL"_s, list.value(0));
    }

    if (!(info.contains(u"isTabs"_s) && info.contains(u"appURL"_s) && info.contains(u"tabs"_s))) {
        if (hasSingleWindowSwitch(text)) {
            info.insert(u"isTabs"_s, false);
            info.insert(u"appURL"_s, appSwitchValue(text));
        } else {
            info.insert(u"isTabs"_s, true);
            info.insert(u"appURL"_s, QString());
            std::optional<QString> tabs = lineValue(lines, u"Tabs="_s);
            if (!tabs)
                tabs = lineValue(lines, u"TABS="_s);
            if (tabs) {
                const QStringList list = tabList(*tabs);
                info.insert(u"tabs"_s, list);
                info.insert(u"appURL"_s, list.value(0));
            }
        }
    }

    QString browserType = browserTypeFromEngineLineInScript(text);
    if (browserType.isEmpty())
        browserType = typeFromBrowserName(structure);
    if (browserType.isEmpty())
        browserType = u"chrome"_s;
    info.insert(u"browserType"_s, browserType);
    info.insert(u"shouldIncludeWLExt"_s,
                structure.contains(u"--load-extension="_s) || browserType == u"helium"_s);

    static const QRegularExpression trackerLine(u"plutil -replace (.*?)\\.appPath -string"_s);
    if (const QRegularExpressionMatch match = trackerLine.match(text); match.hasMatch())
        info.insert(u"appID"_s, match.captured(1));
    static const QRegularExpression manifestName(u"com\\.ondrel\\.sorvane\\.helper\\.(.*?)\\.json"_s);
    if (text.contains(u"NativeMessagingHosts/com.ondrel.sorvane.helper."_s)) {
        if (const QRegularExpressionMatch match = manifestName.match(text); match.hasMatch())
            info.insert(u"uniqueID"_s, match.captured(1));
    }
    return info;
}
