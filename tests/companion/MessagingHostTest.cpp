// The messaging host: its framing (MessageChannel) and its answers (HostResponder) fed with byte
// strings, with a starter that records the programs links would be opened with instead of
// starting them. The built program runs with a real engine in tests/e2e.

#include "companion/host/HostResponder.h"
#include "companion/host/LinkLaunch.h"
#include "companion/host/MessageChannel.h"
#include "core/UserDefaults.h"
#include "support/TestContext.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

using namespace Qt::StringLiterals;
using Status = MessageChannel::ReadStatus;

namespace {

// The length header as the browser writes it: 32 bits in this machine's byte order.
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

QList<QJsonObject> unframe(const QByteArray &replies)
{
    QList<QJsonObject> objects;
    for (qsizetype at = 0; at + 4 <= replies.size();) {
        std::uint32_t length = 0;
        std::memcpy(&length, replies.constData() + at, sizeof length);
        objects.append(QJsonDocument::fromJson(replies.mid(at + 4, length)).object());
        at += 4 + length;
    }
    return objects;
}

// Hands its bytes over one at a time, as a pipe may.
class Trickle final : public QBuffer
{
protected:
    qint64 readData(char *data, qint64 size) override
    {
        return QBuffer::readData(data, qMin<qint64>(size, 1));
    }
};

// Records each program with its arguments instead of starting it.
class RecordingStarter final : public ProgramStarter
{
public:
    bool start(const LinkLaunch &launch) override
    {
        launches.append(QStringList{launch.program} + launch.arguments);
        return starts;
    }

    QList<QStringList> launches;
    bool starts = true;
};

// An app "Self.app" whose Resources folder holds data.json (with `restore` as its restore_session,
// if any); beside it "Other.app" (named by a route rule), "Stranger.app" (named nowhere) and
// "Escape.app" (named, but its program is a link out of it). xdg-open and the Chromium and Vivaldi
// engines are executables in bin/, which exchange() puts first on PATH and into the settings.
class HostFolder
{
public:
    explicit HostFolder(const char *restore = "true", bool withData = true)
    {
        for (const char *program : {"xdg-open", "chromium-engine", "vivaldi-engine"})
            writeFile(bin(QString::fromLatin1(program)), "#!/bin/sh\n", QFile::ExeOwner);
        writeApp(u"Other"_s, u"Other Launcher"_s);
        writeApp(u"Stranger"_s, u"Stranger"_s);
        writeApp(u"Escape"_s, {});
        QFile::link(bin(u"xdg-open"_s), app(u"Escape"_s) + u"/Contents/MacOS/Escape"_s);
        QDir().mkpath(resources());
        // An allow rule's destination is no routing target.
        const QString data =
            uR"({"schema_version":2,"name":"Café ☕","default_destination":{"type":"default"},"rules":[
{"pattern":"*.chromium.test","action":"route","destination":{"type":"browser","bundleId":"org.chromium.Chromium"}},
{"pattern":"*.vivaldi.test","action":"route","destination":{"type":"browser","bundleId":"com.vivaldi.Vivaldi"}},
{"pattern":"*.unknown.test","action":"route","destination":{"type":"browser","bundleId":"com.example.Unknown"}},
{"pattern":"*.other.test","action":"route","destination":{"type":"sorvaneApp","path":"%1/Other.app","name":"Other"}},
{"pattern":"*.escape.test","action":"route","destination":{"type":"sorvaneApp","path":"%1/Escape.app"}},
{"pattern":"*.inapp.test","action":"route","destination":{"type":"in-app"}},
{"pattern":"*.chrome.test","action":"allow","destination":{"type":"browser","bundleId":"com.google.Chrome"}}]%2}
)"_s;
        const QString restoreSession =
            restore ? u",\"restore_session\":"_s + QLatin1String(restore) : QString();
        if (withData)
            writeFile(resources() + u"/data.json"_s, data.arg(root(), restoreSession).toUtf8());
    }

    QString root() const { return QFileInfo(m_dir.path()).canonicalFilePath(); }
    QString resources() const { return root() + u"/Self.app/Contents/Resources"_s; }
    QString bin(const QString &program) const { return root() + u"/bin/"_s + program; }
    QString app(const QString &name) const { return root() + u'/' + name + u".app"_s; }

    // The replies to framed requests, run through a channel into the responder as the host does;
    // error replies without their message.
    QList<QJsonObject> exchange(const QByteArray &requests, ProgramStarter &starter) const
    {
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(root() + u"/bin:"_s) + path);
        UserDefaults defaults;
        defaults.setValue(u"chromiumPath"_s, bin(u"chromium-engine"_s));
        defaults.setValue(u"vivaldiPath"_s, bin(u"vivaldi-engine"_s));
        defaults.synchronize();
        QBuffer in;
        QBuffer out;
        in.setData(requests);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly) && out.open(QIODevice::WriteOnly));
        MessageChannel channel(in, out);
        const HostResponder responder(resources(), u"1.2.3"_s, starter);
        for (QByteArray message; channel.read(&message) == Status::Message;)
            EXPECT_TRUE(channel.write(responder.replyTo(message)));
        qputenv("PATH", path);
        QList<QJsonObject> replies = unframe(out.data());
        for (QJsonObject &reply : replies)
            reply.remove(u"message"_s);
        return replies;
    }

private:
    void writeApp(const QString &name, const QString &executable) const
    {
        // A nested dictionary with the same key comes first: only the top one names the program.
        const QString infoPlist = uR"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict>
<key>LSEnvironment</key><dict><key>CFBundleExecutable</key><string>Wrong</string></dict>
<key>CFBundleExecutable</key><string>%1</string>
</dict></plist>
)"_s;
        writeFile(app(name) + u"/Contents/Info.plist"_s,
                  infoPlist.arg(executable.isEmpty() ? name : executable).toUtf8());
        QDir().mkpath(app(name) + u"/Contents/MacOS"_s);
        if (!executable.isEmpty())
            writeFile(app(name) + u"/Contents/MacOS/"_s + executable, "#!/bin/sh\n", QFile::ExeOwner);
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
const QJsonObject Opened{{u"type"_s, u"opened"_s}};
const QJsonObject Error{{u"type"_s, u"error"_s}}; // any error reply, as exchange() gives it

} // namespace

TEST(MessageChannel, ReadsFramesUntilTheEndOrABrokenOne)
{
    const QByteArray largest(MessageChannel::MaximumMessageSize, 'x');
    const QByteArray ping = R"({"type":"ping"})";
    struct Case
    {
        const char *name;
        QByteArray input;
        QList<QByteArray> messages;
        Status end;
    };
    // clang-format off
    const QList<Case> cases{
        {"messages", frame(ping) + frame("") + frame(largest), {ping, "", largest}, Status::EndOfInput},
        {"nothing", {}, {}, Status::EndOfInput},
        {"over the maximum", lengthHeader(MessageChannel::MaximumMessageSize + 1) + largest + "x", {}, Status::Broken},
        {"truncated body", frame(ping) + frame(ping).left(8), {ping}, Status::Broken},
        {"truncated length", lengthHeader(5).left(2), {}, Status::Broken},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Trickle in;
        in.setData(c.input);
        QBuffer out;
        ASSERT_TRUE(in.open(QIODevice::ReadOnly | QIODevice::Unbuffered) && out.open(QIODevice::WriteOnly));
        MessageChannel channel(in, out);
        QList<QByteArray> messages;
        Status status = Status::Message;
        for (QByteArray message; (status = channel.read(&message)) == Status::Message;)
            messages.append(message);
        EXPECT_EQ(messages, c.messages);
        EXPECT_EQ(status, c.end);
    }

    // Writing up to the maximum and nothing beyond it; every exchange below checks the frames.
    QBuffer out;
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    MessageChannel channel(out, out);
    EXPECT_TRUE(channel.write(largest));
    EXPECT_FALSE(channel.write(largest + 'x'));
    EXPECT_EQ(out.data(), frame(largest));
}

// Each request gets its reply, and each destination of the app's routing exactly its program with
// the re-encoded link. Links that are no web or mail address, and destinations the app's routing
// does not name or that lead nowhere, are refused with an error reply and start nothing.
TEST(HostResponder, AnswersRequestsAndOpensRoutedLinksOnly)
{
    const HostFolder folder;
    const HostFolder withoutData("true", false);
    const HostFolder hugeData;
    writeFile(hugeData.resources() + u"/data.json"_s, "{\"name\":\"" + QByteArray(1024 * 1024, 'x') + "\"}");
    const QByteArray ping = frame(R"({"type":"ping"})");
    const QByteArray getRoutingData = frame(R"({"type":"getRoutingData"})");
    const QJsonObject pong{{u"type"_s, u"pong"_s}, {u"version"_s, u"1.2.3"_s}};
    const QJsonObject routingData{
        {u"type"_s, u"routingData"_s},
        {u"data"_s, QJsonDocument::fromJson(readAll(folder.resources() + u"/data.json"_s)).object()}};
    const QJsonObject chromium = browser(u"org.chromium.Chromium"_s);
    const QString link = u"https://example.test/"_s;
    struct Case
    {
        const char *name;
        QByteArray input;
        QList<QJsonObject> replies;
        QStringList launch = {}; // the program started and its arguments
        const HostFolder *in = nullptr;
    };
    // clang-format off
    const QList<Case> cases{
        {"ping", ping, {pong}},
        {"routing data", getRoutingData, {routingData}},
        {"no data.json", getRoutingData, {Error}, {}, &withoutData},
        {"routing data over one message", getRoutingData, {Error}, {}, &hugeData},
        {"not JSON, then on", frame("{nope") + frame("") + ping, {Error, Error, pong}},
        {"invalid UTF-8", frame("{\"type\":\"ping\",\"x\":\"\xff\xfe\"}") + ping, {Error, pong}},
        {"not an object", frame("[1]") + frame(R"("ping")"), {Error, Error}},
        {"unknown or non-text type", frame(R"({"type":"launch"})") + frame(R"({"type":1})"), {Error, Error}},
        {"default browser", frame(openLink(u"HTTPS://Example.TEST/path?q=1#top"_s, DefaultBrowser)), {Opened}, {folder.bin(u"xdg-open"_s), u"https://example.test/path?q=1#top"_s}},
        {"mail", frame(openLink(u"mailto:someone@example.test?subject=Hi%20there"_s, DefaultBrowser)), {Opened}, {folder.bin(u"xdg-open"_s), u"mailto:someone@example.test?subject=Hi%20there"_s}},
        {"catalogue browser", frame(openLink(u"https://straße.chromium.test/ü?q=ö"_s, chromium)), {Opened}, {folder.bin(u"chromium-engine"_s), u"https://xn--strae-oqa.chromium.test/%C3%BC?q=%C3%B6"_s}},
        {"browser by its real identifier", frame(openLink(u"http://vivaldi.test/"_s, browser(u"com.vivaldi.Vivaldi"_s))), {Opened}, {folder.bin(u"vivaldi-engine"_s), u"http://vivaldi.test/"_s}},
        {"another app", frame(openLink(u"https://a.other.test/x'y"_s, sorvaneApp(folder.app(u"Other"_s)))), {Opened}, {folder.app(u"Other"_s) + u"/Contents/MacOS/Other Launcher"_s, u"https://a.other.test/x'y"_s}},
        {"option", frame(openLink(u"--help"_s, DefaultBrowser)), {Error}},
        {"short option", frame(openLink(u"-x"_s, chromium)), {Error}},
        {"file", frame(openLink(u"file:///etc/passwd"_s, DefaultBrowser)), {Error}},
        {"script", frame(openLink(u"javascript:alert(1)"_s, DefaultBrowser)), {Error}},
        {"data", frame(openLink(u"data:text/html,<b>hi</b>"_s, DefaultBrowser)), {Error}},
        {"browser page", frame(openLink(u"chrome://settings"_s, DefaultBrowser)), {Error}},
        {"empty", frame(openLink(u""_s, DefaultBrowser)), {Error}},
        {"relative", frame(openLink(u"/etc/passwd"_s, DefaultBrowser)), {Error}},
        {"no host", frame(openLink(u"http:///etc/passwd"_s, DefaultBrowser)), {Error}},
        {"blank in host", frame(openLink(u"https://exa mple.test/"_s, DefaultBrowser)), {Error}},
        {"no recipient", frame(openLink(u"mailto:"_s, DefaultBrowser)), {Error}},
        {"in-app", frame(openLink(link, QJsonObject{{u"type"_s, u"in-app"_s}})), {Error}},
        {"browser of an allow rule only", frame(openLink(link, browser(u"com.google.Chrome"_s))), {Error}},
        {"app not named", frame(openLink(link, sorvaneApp(folder.app(u"Stranger"_s)))), {Error}},
        {"named app whose program leads out", frame(openLink(link, sorvaneApp(folder.app(u"Escape"_s)))), {Error}},
        {"named but unknown browser", frame(openLink(link, browser(u"com.example.Unknown"_s))), {Error}},
        {"link without data.json", frame(openLink(link, DefaultBrowser)), {Error}, {}, &withoutData},
        {"url not text", frame(openLink(42, DefaultBrowser)), {Error}},
        {"no url", frame(QJsonObject{{u"type"_s, u"openLink"_s}, {u"destination"_s, DefaultBrowser}}), {Error}},
        {"destination not a record", frame(openLink(link, u"default"_s)), {Error}},
        {"destination type not text", frame(openLink(link, QJsonObject{{u"type"_s, 5}})), {Error}},
        {"browser without identifier", frame(openLink(link, QJsonObject{{u"type"_s, u"browser"_s}})), {Error}},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        RecordingStarter starter;
        EXPECT_EQ((c.in ? c.in : &folder)->exchange(c.input, starter), c.replies);
        EXPECT_EQ(starter.launches, c.launch.isEmpty() ? QList<QStringList>() : QList<QStringList>{c.launch});
    }

    RecordingStarter failing;
    failing.starts = false;
    EXPECT_EQ(folder.exchange(frame(openLink(link, DefaultBrowser)), failing), QList<QJsonObject>{Error});
}

TEST(HostResponder, SavesTabsForTheLauncherScript)
{
    // clang-format off
    const QStringList mixed{u"https://a.example.test/p?q=a,b&r=[1]"_s, u"HTTP://B.example.test/a b\"c\\d"_s, u"file:///etc/passwd"_s,
                            u"javascript:alert(1)"_s, u"mailto:x@example.test"_s, u"http://[::1]:8080/"_s, u"https://straße.example.test/ü"_s};
    const QStringList mixedKept{u"https://a.example.test/p?q=a%2Cb&r=%5B1%5D"_s, u"http://b.example.test/a%20b%22c%5Cd"_s,
                                u"https://xn--strae-oqa.example.test/%C3%BC"_s};
    // clang-format on
    const QByteArray oldSession = R"({"session":{"tabs":["https://old.example.test/"]}})";
    QStringList tooMany;
    for (int n = 0; n <= 500; ++n)
        tooMany.append(u"https://t%1.example.test/"_s.arg(n));
    struct Case
    {
        const char *name;
        const char *restoreSession; // in data.json; nullptr: no key
        bool withData;
        QJsonValue tabs;
        int count;                              // -1: an error reply, nothing written
        std::optional<QStringList> sessionTabs; // nothing: no tabs file afterwards
        QByteArray restore;
    };
    // clang-format off
    const QList<Case> cases{
        {"kept and encoded", "false", true, QJsonArray::fromStringList(mixed), 3, mixedKept, "false"},
        {"restore by default", nullptr, true, QJsonArray{u"https://one.test/"_s}, 1, QStringList{u"https://one.test/"_s}, "true"},
        {"no data.json", "false", false, QJsonArray{u"https://one.test/"_s}, 1, QStringList{u"https://one.test/"_s}, "true"},
        {"none kept", "true", true, QJsonArray{u"file:///x"_s}, 0, std::nullopt, "true"},
        {"empty list", "false", true, QJsonArray{}, 0, std::nullopt, "false"},
        {"too many", "true", true, QJsonArray::fromStringList(tooMany), -1, QStringList{u"https://old.example.test/"_s}, {}},
        {"not a list", "true", true, u"https://one.test/"_s, -1, QStringList{u"https://old.example.test/"_s}, {}},
        {"not text", "true", true, QJsonArray{u"https://one.test/"_s, 1}, -1, QStringList{u"https://old.example.test/"_s}, {}},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const HostFolder folder(c.restoreSession, c.withData);
        const QString session = folder.resources() + u"/tabs-session.json"_s;
        writeFile(session, oldSession);
        RecordingStarter starter;
        const QJsonObject saved{{u"type"_s, u"saved"_s}, {u"count"_s, c.count}};
        EXPECT_EQ(folder.exchange(frame({{u"type"_s, u"saveTabs"_s}, {u"tabs"_s, c.tabs}}), starter),
                  QList<QJsonObject>{c.count < 0 ? Error : saved});
        EXPECT_EQ(readAll(folder.resources() + u"/restore.json"_s), c.restore);
        ASSERT_EQ(QFile::exists(session), c.sessionTabs.has_value());
        if (!c.sessionTabs)
            continue;
        EXPECT_EQ(readAll(session),
                  "{\"session\":{\"tabs\":[\"" + c.sessionTabs->join(u"\",\""_s).toUtf8() + "\"]}}");
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
