// sorvanemessaginghost: the native-messaging host of a generated app. The browser starts it for
// the companion extension and talks to it over standard input and output; it answers with the
// app's routing data (data.json beside this program in Contents/Resources), opens links the
// app's routing sends elsewhere and keeps the app's last tabs.

#include "HostResponder.h"
#include "LinkLaunch.h"
#include "MessageChannel.h"

#include <QCoreApplication>
#include <QProcess>
#include <QString>

#include <cstdio>

namespace {

// Detached and without a shell. Standard input and output are the browser's message pipe, so
// the started program must not inherit them.
bool startDetached(const LinkLaunch &launch)
{
    QProcess process;
    process.setProgram(launch.program);
    process.setArguments(launch.arguments);
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
