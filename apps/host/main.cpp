// sorvanemessaginghost: the native-messaging host of a generated app. The browser starts it for
// the companion extension and talks to it over standard input and output; it answers with the
// app's routing data, kept as data.json beside this program in Contents/Resources.

#include "HostResponder.h"
#include "MessageChannel.h"

#include <QCoreApplication>
#include <QDir>
#include <QString>

#include <cstdio>

int main(int argc, char **argv)
{
    // The browser passes the caller's origin (and on some systems a window handle); nothing here
    // depends on them.
    const QCoreApplication application(argc, argv);
    const HostResponder responder(
        QDir(QCoreApplication::applicationDirPath()).filePath(QStringLiteral("data.json")),
        QStringLiteral(SORVANE_HOST_VERSION));
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
