// sorvanemessaginghost: the native-messaging host of a generated app. The browser starts it for
// the companion extension and talks to it over standard input and output; it answers with the
// app's routing data (data.json beside this program in Contents/Resources), opens links the
// app's routing sends elsewhere and keeps the app's last tabs. The answers come from
// Sorvane::host (src/companion/host); this is the framing loop around them.

#include "companion/host/HostResponder.h"
#include "companion/host/LinkLaunch.h"
#include "companion/host/MessageChannel.h"

#include <QCoreApplication>
#include <QFile>
#include <QString>

#include <cstdio>

#include <unistd.h>

int main(int argc, char **argv)
{
    // The browser passes the caller's origin (and on some systems a window handle); nothing here
    // depends on them.
    const QCoreApplication application(argc, argv);
    ProgramStarter starter;
    const HostResponder responder(QCoreApplication::applicationDirPath(),
                                  QStringLiteral(SORVANE_HOST_VERSION), starter);
    // Unbuffered: a buffered read would wait for more than one message while the browser waits
    // for the reply.
    QFile input;
    QFile output;
    if (!input.open(STDIN_FILENO, QIODevice::ReadOnly | QIODevice::Unbuffered) ||
        !output.open(STDOUT_FILENO, QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        std::fprintf(stderr, "sorvanemessaginghost: cannot open standard input and output; stopping\n");
        return 1;
    }
    MessageChannel channel(input, output);
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
