// sorvanemessaginghost: the native-messaging host of a generated app. The browser starts it for
// the companion extension and talks to it over standard input and output; it answers with the
// app's routing data (data.json beside this program in Contents/Resources), opens links the
// app's routing sends elsewhere and keeps the app's last tabs.

#include "HostResponder.h"
#include "LinkLaunch.h"
#include "MessageChannel.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace {

// The host inherits the engine's environment, with what the engine and the launch program set for
// this app alone. A program started for a link gets the environment the app itself started with:
// without Chromium's "disabled:" stand-in for a missing session bus (an engine started with it
// rewrites its own command line to the browser's path, and the other app's running checks miss
// it), and without this app's stand-ins for macOS tools first on PATH.
QProcessEnvironment linkEnvironment()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (environment.value(u"DBUS_SESSION_BUS_ADDRESS"_s) == u"disabled:"_s)
        environment.remove(u"DBUS_SESSION_BUS_ADDRESS"_s);
    const QString compat = QDir::cleanPath(QCoreApplication::applicationDirPath() + u"/compat"_s);
    QStringList path = environment.value(u"PATH"_s).split(u':');
    path.removeIf([&](const QString &folder) { return QDir::cleanPath(folder) == compat; });
    environment.insert(u"PATH"_s, path.join(u':'));
    return environment;
}

// Detached and without a shell. Standard input and output are the browser's message pipe, so
// the started program must not inherit them.
bool startDetached(const LinkLaunch &launch)
{
    QProcess process;
    process.setProgram(launch.program);
    process.setArguments(launch.arguments);
    process.setProcessEnvironment(linkEnvironment());
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace

int main(int argc, char **argv)
{
    // The browser passes the caller's origin (and on some systems a window handle); nothing here
    // depends on them.
    const QCoreApplication application(argc, argv);
    const HostResponder responder(QCoreApplication::applicationDirPath(),
                                  QStringLiteral(SORVANE_HOST_VERSION), startDetached);
    MessageChannel channel(stdin, stdout);
    for (;;) {
        QByteArray message;
        switch (channel.read(&message)) {
        case MessageChannel::ReadStatus::EndOfInput:
            return 0;
        case MessageChannel::ReadStatus::Broken:
            std::fprintf(stderr, "sorvanemessaginghost: truncated or oversized message; stopping\n");
            return 1;
        case MessageChannel::ReadStatus::Message:
            if (!channel.write(responder.replyTo(message))) {
                std::fprintf(stderr, "sorvanemessaginghost: cannot answer; stopping\n");
                return 1;
            }
            break;
        }
    }
}
