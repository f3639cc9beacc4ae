// The built messaging host, run as the browser runs it: framed requests on standard input, from
// a copy in an app's Resources folder, with recording stand-ins for every program it may start.

#include "core/Context.h"
#include "support/TestContext.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

// The length header as the host reads it: 32 bits in this machine's byte order.
QByteArray lengthHeader(std::uint32_t length)
{
    return QByteArray(reinterpret_cast<const char *>(&length), sizeof length);
}

QByteArray frame(const QByteArray &message)
{
    return lengthHeader(static_cast<std::uint32_t>(message.size())) + message;
}

QByteArray frame(const QJsonObject &message)
{
    return frame(QJsonDocument(message).toJson(QJsonDocument::Compact));
}

struct HostRun
{
    int exitCode = -1;
    QList<QJsonObject> replies;
};

// An app "Self.app" holding the host and its data.json; beside it "Other.app" (named by a route
// rule), "Stranger.app" (named nowhere) and "Escape.app" (named, but its program is a link out of
// it). xdg-open, the Chromium and Vivaldi engines (set in Sorvane's settings) and the apps'
// programs are recorders: each writes its arguments, one a line, to records/<name>.
class HostSandbox
{
public:
    explicit HostSandbox(std::optional<QJsonValue> restoreSession = QJsonValue(true), bool withData = true)
    {
        QDir().mkpath(records());
        writeRecorder(root() + u"/bin/xdg-open"_s, u"xdg-open"_s);
        writeRecorder(root() + u"/bin/chromium-engine"_s, u"chromium"_s);
        writeRecorder(root() + u"/bin/vivaldi-engine"_s, u"vivaldi"_s);
        writeApp(otherApp(), u"Other Launcher"_s, u"other-app"_s);
        writeApp(strangerApp(), u"Stranger"_s, u"stranger-app"_s);
        writeApp(escapeApp(), u"Escape"_s, {});
        QFile::link(root() + u"/bin/xdg-open"_s, escapeApp() + u"/Contents/MacOS/Escape"_s);

        QSettings settings(root() + u"/config/ondrel/Sorvane.conf"_s, QSettings::IniFormat);
        settings.setValue(u"chromiumPath"_s, QString(root() + u"/bin/chromium-engine"_s));
        settings.setValue(u"vivaldiPath"_s, QString(root() + u"/bin/vivaldi-engine"_s));
        settings.sync();

        QDir().mkpath(resources());
        EXPECT_TRUE(QFile::copy(Context::locateResources() + u"/sorvanemessaginghost"_s, host()));
        if (withData)
            writeFile(resources() + u"/data.json"_s, QJsonDocument(routingData(restoreSession)).toJson());
    }

    QString root() const { return m_dir.path(); }
    QString resources() const { return root() + u"/Self.app/Contents/Resources"_s; }
    QString host() const { return resources() + u"/sorvanemessaginghost"_s; }
    QString records() const { return root() + u"/records"_s; }
    QString otherApp() const { return root() + u"/Other.app"_s; }
    QString strangerApp() const { return root() + u"/Stranger.app"_s; }
    QString escapeApp() const { return root() + u"/Escape.app"_s; }

    // With `keepInputOpen` the host must stop by itself: a bad length claim ends it without waiting.
    HostRun run(const QByteArray &input, bool keepInputOpen = false) const
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"PATH"_s, root() + u"/bin:"_s + environment.value(u"PATH"_s));
        environment.insert(u"HOME"_s, root());
        environment.insert(u"XDG_CONFIG_HOME"_s, root() + u"/config"_s);
        process.setProcessEnvironment(environment);
        process.start(host(), {u"chrome-extension://oambkcfpnciomokmnpimlpjkhibgkcip/"_s});
        process.write(input);
        if (!keepInputOpen)
            process.closeWriteChannel();
        if (!process.waitForFinished(5000))
            process.kill();
        HostRun result{process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, {}};
        const QByteArray out = process.readAllStandardOutput();
        for (qsizetype at = 0; at + 4 <= out.size();) {
            std::uint32_t length = 0;
            std::memcpy(&length, out.constData() + at, sizeof length);
            result.replies.append(QJsonDocument::fromJson(out.mid(at + 4, length)).object());
            at += 4 + length;
        }
        return result;
    }

    QStringList recordings() const { return QDir(records()).entryList(QDir::Files); }

    // The arguments a recorder was started with, once it has written them (startDetached does not wait).
    std::optional<QStringList> waitForRecording(const QString &name) const
    {
        const QString path = records() + u'/' + name;
        for (QDeadlineTimer deadline(5000); !deadline.hasExpired(); QThread::msleep(20)) {
            if (QFile::exists(path))
                return QString::fromUtf8(readAll(path)).split(u'\n', Qt::SkipEmptyParts);
        }
        return std::nullopt;
    }

private:
    QJsonObject routingData(const std::optional<QJsonValue> &restoreSession) const
    {
        const auto route = [](const QString &pattern, const QJsonObject &destination) {
            return QJsonObject{{u"id"_s, pattern},
                               {u"pattern"_s, pattern},
                               {u"action"_s, u"route"_s},
                               {u"destination"_s, destination}};
        };
        QJsonObject data{
            {u"schema_version"_s, 2},
            {u"name"_s, u"Café ☕"_s},
            {u"default_destination"_s, QJsonObject{{u"type"_s, u"default"_s}}},
            {u"rules"_s,
             QJsonArray{
                 route(u"*.chromium.test"_s,
                       {{u"type"_s, u"browser"_s}, {u"bundleId"_s, u"org.chromium.Chromium"_s}}),
                 route(u"*.vivaldi.test"_s,
                       {{u"type"_s, u"browser"_s}, {u"bundleId"_s, u"com.vivaldi.Vivaldi"_s}}),
                 route(u"*.unknown.test"_s,
                       {{u"type"_s, u"browser"_s}, {u"bundleId"_s, u"com.example.Unknown"_s}}),
                 route(u"*.other.test"_s,
                       {{u"type"_s, u"sorvaneApp"_s}, {u"path"_s, otherApp()}, {u"name"_s, u"Other"_s}}),
                 route(u"*.escape.test"_s, {{u"type"_s, u"sorvaneApp"_s}, {u"path"_s, escapeApp()}}),
                 route(u"*.inapp.test"_s, {{u"type"_s, u"in-app"_s}}),
                 // An allow rule's destination is no routing target.
                 QJsonObject{{u"pattern"_s, u"*.chrome.test"_s},
                             {u"action"_s, u"allow"_s},
                             {u"destination"_s, QJsonObject{{u"type"_s, u"browser"_s},
                                                            {u"bundleId"_s, u"com.google.Chrome"_s}}}},
             }},
        };
        if (restoreSession)
            data.insert(u"restore_session"_s, *restoreSession);
        return data;
    }

    void writeRecorder(const QString &path, const QString &name) const
    {
        const QString record = records() + u'/' + name;
        writeFile(path,
                  u"#!/bin/sh\nprintf '%s\\n' \"$@\" > '%1.tmp' && mv '%1.tmp' '%1'\n"_s.arg(record).toUtf8(),
                  QFile::ExeOwner);
    }

    void writeApp(const QString &bundle, const QString &executable, const QString &recordName) const
    {
        // A nested dictionary with the same key comes first: only the top one names the program.
        const QString infoPlist = uR"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>test.app</string>
<key>LSEnvironment</key><dict><key>CFBundleExecutable</key><string>Wrong</string></dict>
<key>CFBundleExecutable</key><string>%1</string>
</dict></plist>
)"_s;
        writeFile(bundle + u"/Contents/Info.plist"_s, infoPlist.arg(executable).toUtf8());
        QDir().mkpath(bundle + u"/Contents/MacOS"_s);
        if (!recordName.isEmpty())
            writeRecorder(bundle + u"/Contents/MacOS/"_s + executable, recordName);
    }

    QTemporaryDir m_dir;
};

QJsonObject openLink(const QJsonValue &url, const QJsonValue &destination)
{
    return {{u"type"_s, u"openLink"_s}, {u"url"_s, url}, {u"destination"_s, destination}};
}

QJsonObject browser(const QString &bundleId)
{
    return {{u"type"_s, u"browser"_s}, {u"bundleId"_s, bundleId}};
}

QJsonObject sorvaneApp(const QString &path)
{
    return {{u"type"_s, u"sorvaneApp"_s}, {u"path"_s, path}, {u"name"_s, u"Any label"_s}};
}

const QJsonObject DefaultBrowser{{u"type"_s, u"default"_s}};

} // namespace

TEST(MessagingHost, AnswersFramedRequests)
{
    const QByteArray ping = frame(R"({"type":"ping"})");
    const QJsonObject pong{{u"type"_s, u"pong"_s}, {u"version"_s, QStringLiteral(SORVANE_EXPECTED_VERSION)}};
    const QJsonObject error{{u"type"_s, u"error"_s}}; // stands for any error reply
    struct Case
    {
        const char *name;
        bool withData;
        QByteArray input;
        int exitCode;
        QList<QJsonObject> replies;
        bool keepInputOpen = false;
    };
    // clang-format off
    const QList<Case> cases{
        {"ping", false, ping, 0, {pong}},
        {"no data.json", false, frame(R"({"type":"getRoutingData"})"), 0, {error}},
        {"not JSON, then on", false, frame("{nope") + frame("") + ping, 0, {error, error, pong}},
        {"invalid UTF-8", false, frame("{\"type\":\"ping\",\"x\":\"\xff\xfe\"}") + ping, 0, {error, pong}},
        {"not an object", false, frame("[1]") + frame(R"("ping")"), 0, {error, error}},
        {"unknown or non-text type", false, frame(R"({"type":"launch"})") + frame(R"({"type":1})"), 0, {error, error}},
        {"100 MB claim", false, lengthHeader(100 * 1024 * 1024) + ping, 1, {}, true},
        {"truncated body", false, ping.left(8), 1, {}},
        {"truncated length", false, lengthHeader(5).left(2), 1, {}},
        {"nothing", false, {}, 0, {}},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const HostSandbox sandbox(QJsonValue(true), c.withData);
        const HostRun run = sandbox.run(c.input, c.keepInputOpen);
        EXPECT_EQ(run.exitCode, c.exitCode);
        ASSERT_EQ(run.replies.size(), c.replies.size());
        for (qsizetype i = 0; i < run.replies.size(); ++i) {
            if (c.replies[i] == error)
                EXPECT_EQ(run.replies[i].value(u"type"_s), u"error"_s) << i;
            else
                EXPECT_EQ(run.replies[i], c.replies[i]) << i;
        }
    }

    const HostSandbox sandbox;
    const HostRun run = sandbox.run(frame(R"({"type":"getRoutingData"})"));
    ASSERT_EQ(run.replies.size(), 1);
    EXPECT_EQ(run.replies[0].value(u"data"_s).toObject(),
              QJsonDocument::fromJson(readAll(sandbox.resources() + u"/data.json"_s)).object());
}

// Each destination of the app's routing opens exactly the re-encoded link with exactly its program.
TEST(MessagingHost, OpensLinksWithTheRoutedProgram)
{
    struct Case
    {
        const char *name;
        QString url;
        QJsonObject destination;
        QString recorder;
        QString expectedArgument;
    };
    const HostSandbox sandbox;
    // clang-format off
    const QList<Case> cases{
        {"default browser", u"HTTPS://Example.TEST/path?q=1#top"_s, DefaultBrowser, u"xdg-open"_s, u"https://example.test/path?q=1#top"_s},
        {"mail", u"mailto:someone@example.test?subject=Hi%20there"_s, DefaultBrowser, u"xdg-open"_s, u"mailto:someone@example.test?subject=Hi%20there"_s},
        {"catalogue browser", u"https://straße.chromium.test/ü?q=ö"_s, browser(u"org.chromium.Chromium"_s), u"chromium"_s, u"https://xn--strae-oqa.chromium.test/%C3%BC?q=%C3%B6"_s},
        {"browser by its real identifier", u"http://vivaldi.test/"_s, browser(u"com.vivaldi.Vivaldi"_s), u"vivaldi"_s, u"http://vivaldi.test/"_s},
        {"another app", u"https://a.other.test/x'y"_s, sorvaneApp(sandbox.otherApp()), u"other-app"_s, u"https://a.other.test/x'y"_s},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const HostRun run = sandbox.run(frame(openLink(c.url, c.destination)));
        EXPECT_EQ(run.exitCode, 0);
        ASSERT_EQ(run.replies.size(), 1);
        EXPECT_EQ(run.replies[0], (QJsonObject{{u"type"_s, u"opened"_s}}));
        EXPECT_EQ(sandbox.waitForRecording(c.recorder), QStringList{c.expectedArgument});
        EXPECT_EQ(sandbox.recordings(), QStringList{c.recorder});
        QFile::remove(sandbox.records() + u'/' + c.recorder);
    }
}

// Links that are no web or mail address, and destinations the app's routing does not name or that
// lead nowhere, are refused with an error reply; the host goes on and starts nothing.
TEST(MessagingHost, RefusesHostileLinksAndDestinations)
{
    const HostSandbox sandbox;
    const HostSandbox withoutData(QJsonValue(true), false);
    const QJsonObject chromium = browser(u"org.chromium.Chromium"_s);
    const QString link = u"https://example.test/"_s;
    struct Case
    {
        const char *name;
        QJsonObject request;
        const HostSandbox *in = nullptr;
    };
    // clang-format off
    const QList<Case> cases{
        {"option", openLink(u"--help"_s, DefaultBrowser)},
        {"short option", openLink(u"-x"_s, chromium)},
        {"file", openLink(u"file:///etc/passwd"_s, DefaultBrowser)},
        {"script", openLink(u"javascript:alert(1)"_s, DefaultBrowser)},
        {"data", openLink(u"data:text/html,<b>hi</b>"_s, DefaultBrowser)},
        {"browser page", openLink(u"chrome://settings"_s, DefaultBrowser)},
        {"empty", openLink(u""_s, DefaultBrowser)},
        {"relative", openLink(u"/etc/passwd"_s, DefaultBrowser)},
        {"no host", openLink(u"http:///etc/passwd"_s, DefaultBrowser)},
        {"blank in host", openLink(u"https://exa mple.test/"_s, DefaultBrowser)},
        {"no recipient", openLink(u"mailto:"_s, DefaultBrowser)},
        {"in-app", openLink(link, QJsonObject{{u"type"_s, u"in-app"_s}})},
        {"browser of an allow rule only", openLink(link, browser(u"com.google.Chrome"_s))},
        {"app not named", openLink(link, sorvaneApp(sandbox.strangerApp()))},
        {"named app whose program leads out", openLink(link, sorvaneApp(sandbox.escapeApp()))},
        {"named but unknown browser", openLink(link, browser(u"com.example.Unknown"_s))},
        {"no data.json", openLink(link, DefaultBrowser), &withoutData},
        {"url not text", openLink(42, DefaultBrowser)},
        {"no url", QJsonObject{{u"type"_s, u"openLink"_s}, {u"destination"_s, DefaultBrowser}}},
        {"destination not a record", openLink(link, u"default"_s)},
        {"destination type not text", openLink(link, QJsonObject{{u"type"_s, 5}})},
        {"browser without identifier", openLink(link, QJsonObject{{u"type"_s, u"browser"_s}})},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const HostRun run = (c.in ? c.in : &sandbox)->run(frame(c.request) + frame(R"({"type":"ping"})"));
        EXPECT_EQ(run.exitCode, 0);
        ASSERT_EQ(run.replies.size(), 2);
        EXPECT_EQ(run.replies[0].value(u"type"_s), u"error"_s);
        EXPECT_EQ(run.replies[1].value(u"type"_s), u"pong"_s);
    }
    // A program started by mistake would have had time to record itself.
    QThread::msleep(300);
    EXPECT_EQ(sandbox.recordings(), QStringList());
    EXPECT_EQ(withoutData.recordings(), QStringList());
}

// The tabs file holds the kept tabs in the form the launcher script's cut and sed pipeline reads
// back into the addresses; restore.json follows data.json's restore_session.
TEST(MessagingHost, SavesTabsForTheLauncherScript)
{
    const QStringList mixed{
        u"https://a.example.test/p?q=a,b&r=[1]"_s,
        u"HTTP://B.example.test/a b\"c\\d"_s,
        u"file:///etc/passwd"_s,
        u"javascript:alert(1)"_s,
        u"mailto:x@example.test"_s,
        u"http://[::1]:8080/"_s,
        u"https://straße.example.test/ü"_s,
    };
    const QStringList mixedKept{
        u"https://a.example.test/p?q=a%2Cb&r=%5B1%5D"_s,
        u"http://b.example.test/a%20b%22c%5Cd"_s,
        u"https://xn--strae-oqa.example.test/%C3%BC"_s,
    };
    const QByteArray oldSession = R"({"session":{"tabs":["https://old.example.test/"]}})";
    QStringList tooMany;
    for (int n = 0; n <= 500; ++n)
        tooMany.append(u"https://t%1.example.test/"_s.arg(n));
    struct Case
    {
        const char *name;
        std::optional<QJsonValue> restoreSession; // nothing: no key
        bool withData;
        QJsonValue tabs;
        int count;                              // -1: an error reply, nothing written
        std::optional<QStringList> sessionTabs; // nothing: no tabs file afterwards
        QByteArray restore;
    };
    // clang-format off
    const QList<Case> cases{
        {"kept and encoded", QJsonValue(false), true, QJsonArray::fromStringList(mixed), 3, mixedKept, "false"},
        {"restore by default", std::nullopt, true, QJsonArray{u"https://one.test/"_s}, 1, QStringList{u"https://one.test/"_s}, "true"},
        {"no data.json", QJsonValue(false), false, QJsonArray{u"https://one.test/"_s}, 1, QStringList{u"https://one.test/"_s}, "true"},
        {"none kept", QJsonValue(true), true, QJsonArray{u"file:///x"_s}, 0, std::nullopt, "true"},
        {"empty list", QJsonValue(false), true, QJsonArray{}, 0, std::nullopt, "false"},
        {"too many", QJsonValue(true), true, QJsonArray::fromStringList(tooMany), -1, QStringList{u"https://old.example.test/"_s}, {}},
        {"not a list", QJsonValue(true), true, u"https://one.test/"_s, -1, QStringList{u"https://old.example.test/"_s}, {}},
        {"not text", QJsonValue(true), true, QJsonArray{u"https://one.test/"_s, 1}, -1, QStringList{u"https://old.example.test/"_s}, {}},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const HostSandbox sandbox(c.restoreSession, c.withData);
        const QString session = sandbox.resources() + u"/tabs-session.json"_s;
        writeFile(session, oldSession);
        const HostRun run = sandbox.run(frame(QJsonObject{{u"type"_s, u"saveTabs"_s}, {u"tabs"_s, c.tabs}}));
        EXPECT_EQ(run.exitCode, 0);
        ASSERT_EQ(run.replies.size(), 1);
        if (c.count < 0)
            EXPECT_EQ(run.replies[0].value(u"type"_s), u"error"_s);
        else
            EXPECT_EQ(run.replies[0], (QJsonObject{{u"type"_s, u"saved"_s}, {u"count"_s, c.count}}));
        EXPECT_EQ(readAll(sandbox.resources() + u"/restore.json"_s), c.restore);
        ASSERT_EQ(QFile::exists(session), c.sessionTabs.has_value());
        if (!c.sessionTabs)
            continue;
        EXPECT_EQ(
            readAll(session),
            QJsonDocument(QJsonObject{{u"session"_s,
                                       QJsonObject{{u"tabs"_s, QJsonArray::fromStringList(*c.sessionTabs)}}}})
                .toJson(QJsonDocument::Compact));
        QProcess script;
        script.start(
            u"/bin/sh"_s,
            {u"-c"_s,
             uR"(tr -d '\n' < "$1" | cut -d [ -f 2 | sed 's/"//' | sed 's/"]}}//' | sed 's/","/ /g' | sed 's/\\//g')"_s,
             u"sh"_s, session});
        ASSERT_TRUE(script.waitForFinished(5000));
        EXPECT_EQ(QString::fromUtf8(script.readAllStandardOutput()).remove(u'\n'), c.sessionTabs->join(u' '));
    }
}
