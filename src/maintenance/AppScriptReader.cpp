#include "maintenance/AppScriptReader.h"

#include "core/BrowserCatalogue.h"
#include "core/BrowserLocator.h"
#include "core/ShellEscaping.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString TabbedAppSwitch = u"NEWLAUNCHSTR+=\" --app="_s;
const QString AppSwitch = u"--app="_s;

// Browser names in the order they are tested: Canary before Chrome, whose name it contains.
constexpr std::array<std::pair<QStringView, QStringView>, 8> BrowserNames = {{
    {u"Canary", u"canary"},
    {u"Brave", u"brave"},
    {u"Edge", u"edge"},
    {u"Opera", u"opera"},
    {u"Vivaldi", u"vivaldi"},
    {u"Helium", u"helium"},
    {u"Chromium", u"chromium"},
    {u"Chrome", u"chrome"},
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

// Whether `line` is one of the text's lines.
bool hasLine(const QString &text, const QString &line)
{
    for (qsizetype at = text.indexOf(line); at >= 0; at = text.indexOf(line, at + 1)) {
        const qsizetype end = at + line.size();
        if ((at == 0 || text.at(at - 1) == u'\n') && (end == text.size() || text.at(end) == u'\n'))
            return true;
    }
    return false;
}

// The text after `marker` on the first line that starts with it.
std::optional<QString> lineValue(const QList<QStringView> &lines, const QString &marker)
{
    for (const QStringView line : lines) {
        if (line.startsWith(marker))
            return line.mid(marker.size()).toString();
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

// Whether `needle` occurs in the script outside the addresses it holds (an address with
// "incognito" in it does not make the app incognito): outside the lines that assign addresses
// (the start-up block assigns the tabs on indented lines too) and outside the values of --app=
// switches. The whole text is searched once; only hits are looked at closely.
constexpr QStringView PipeExtensionSwitch = u"--enable-unsafe-extension-debugging";

bool containsOutsideAddresses(const QString &text, QStringView needle)
{
    for (qsizetype at = text.indexOf(needle); at >= 0; at = text.indexOf(needle, at + 1)) {
        const qsizetype lineStart = text.lastIndexOf(u'\n', at) + 1;
        const QStringView line = QStringView(text).mid(lineStart).trimmed();
        if (line.startsWith(u"HOMEPAGE="_s) || line.startsWith(u"TABS="_s) || line.startsWith(u"Tabs="_s))
            continue;
        bool inSwitchValue = false;
        for (qsizetype a = text.indexOf(AppSwitch, lineStart); a >= 0 && a + AppSwitch.size() <= at && !inSwitchValue;
             a = text.indexOf(AppSwitch, a + 1)) {
            const qsizetype valueStart = a + AppSwitch.size();
            const QStringView value = QStringView(text).mid(valueStart, at + needle.size() - valueStart);
            inSwitchValue = std::none_of(value.begin(), value.end(),
                                         [](QChar c) { return c.isSpace() || c == u'"'; });
        }
        if (!inSwitchValue)
            return true;
    }
    return false;
}

// The browser of the first of BrowserNames that the script holds outside its addresses; one
// pass over the text finds every candidate, since a script without an engine line may have many.
QString firstBrowserNameOutsideAddresses(const QString &text)
{
    std::array<bool, BrowserNames.size()> tried{};
    for (qsizetype at = 0; at < text.size(); ++at) {
        const char16_t first = text.at(at).unicode();
        if (first != u'C' && first != u'B' && first != u'E' && first != u'O' && first != u'V' && first != u'H')
            continue;
        for (std::size_t i = 0; i < BrowserNames.size(); ++i) {
            if (!tried[i] && BrowserNames[i].first.front() == first &&
                QStringView(text).mid(at).startsWith(BrowserNames[i].first))
                tried[i] = true;
        }
    }
    for (std::size_t i = 0; i < BrowserNames.size(); ++i) {
        if (tried[i] && containsOutsideAddresses(text, BrowserNames[i].first))
            return BrowserNames[i].second.toString();
    }
    return {};
}

// The first capture of `expression`, which cannot match across lines, tried only on the lines
// that hold `fixedPart`.
std::optional<QString> firstMatchOnLines(const QString &text, const QString &fixedPart,
                                         const QRegularExpression &expression)
{
    qsizetype searched = -1; // end of the last line tried
    for (qsizetype at = text.indexOf(fixedPart); at >= 0; at = text.indexOf(fixedPart, at + 1)) {
        if (at < searched)
            continue;
        const qsizetype lineStart = text.lastIndexOf(u'\n', at) + 1;
        qsizetype lineEnd = text.indexOf(u'\n', at);
        if (lineEnd < 0)
            lineEnd = text.size();
        searched = lineEnd;
        const QRegularExpressionMatch match = expression.match(QStringView(text).mid(lineStart, lineEnd - lineStart));
        if (match.hasMatch())
            return match.captured(1);
    }
    return std::nullopt;
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
        if (text.contains(name))
            return typeKey.toString();
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
    // Other distributions' places, Snaps, Flatpaks and the commands on PATH.
    if (const QString key = BrowserLocator::typeKeyOfEnginePath(path); !key.isEmpty())
        return key;
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
    const qsizetype found = script.indexOf(EngineCommand);
    if (found >= 0) {
        const qsizetype lineStart = script.lastIndexOf(u'\n', found) + 1;
        const qsizetype lineEnd = script.indexOf(u'\n', found);
        const QString line = script.mid(lineStart, lineEnd < 0 ? -1 : lineEnd - lineStart);
        const qsizetype command = found - lineStart;
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
    if (hasLine(script, u"# Sorvane demo app"_s))
        return std::nullopt;

    const QString text = withoutName(script, appName);
    const QList<QStringView> lines = QStringView(text).split(u'\n');
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

    info.insert(u"incognito"_s, containsOutsideAddresses(text, u"incognito"));

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
        browserType = firstBrowserNameOutsideAddresses(text);
    if (browserType.isEmpty())
        browserType = u"chrome"_s;
    info.insert(u"browserType"_s, browserType);
    // An engine that ignores --load-extension gets the companion over the DevTools pipe instead;
    // the switch that lets the pipe load it stands for the companion in such a script.
    info.insert(u"shouldIncludeWLExt"_s, containsOutsideAddresses(text, u"--load-extension=") ||
                                             containsOutsideAddresses(text, PipeExtensionSwitch) ||
                                             browserType == u"helium"_s);

    // Both expressions match within one line: only the lines that hold their fixed part are tried.
    static const QRegularExpression trackerLine(u"plutil -replace (.*?)\\.appPath -string"_s);
    if (const std::optional<QString> appID = firstMatchOnLines(text, u".appPath -string"_s, trackerLine))
        info.insert(u"appID"_s, *appID);
    static const QRegularExpression manifestName(u"com\\.ondrel\\.sorvane\\.helper\\.(.*?)\\.json"_s);
    if (text.contains(u"NativeMessagingHosts/com.ondrel.sorvane.helper."_s)) {
        if (const std::optional<QString> uniqueID = firstMatchOnLines(text, u"com.ondrel.sorvane.helper."_s, manifestName))
            info.insert(u"uniqueID"_s, *uniqueID);
    }
    return info;
}
