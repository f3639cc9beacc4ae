#include "support/LocalHttpServer.h"

#include <QBuffer>
#include <QImage>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

QByteArray LocalHttpServer::icon(int side, const char *format)
{
    QImage pixels(side, side, QImage::Format_ARGB32);
    pixels.fill(Qt::blue);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    pixels.save(&buffer, format);
    return bytes;
}

void LocalHttpServer::run()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    m_port = server.serverPort();
    m_listening.release();

    const auto respond = [this](QTcpSocket *socket, const QByteArray &request) {
        const QList<QByteArray> lines = request.split('\n');
        const QString path = QString::fromLatin1(lines.value(0).split(' ').value(1));
        Answer answer{"not found", 404};
        {
            const QMutexLocker lock(&m_mutex);
            m_seen.paths.append(path);
            for (const QByteArray &line : lines) {
                if (line.toLower().startsWith("user-agent:"))
                    m_seen.userAgents.append(line.mid(11).trimmed());
            }
            answer = m_answers.value(path, answer);
        }
        if (answer.kind == Kind::Silent) {
            connect(socket, &QTcpSocket::disconnected, socket, [this] {
                const QMutexLocker lock(&m_mutex);
                ++m_seen.hangUps;
            });
            return;
        }
        if (answer.kind == Kind::EndlessHeaders) {
            socket->write("HTTP/1.1 200 Status\r\n");
            const auto more = [this, socket] {
                if (socket->bytesToWrite() > 0 || socket->state() != QAbstractSocket::ConnectedState)
                    return;
                static const QByteArray filler = QByteArray("X-Filler: " + QByteArray(88, 'x') + "\r\n").repeated(640);
                socket->write(filler);
                const QMutexLocker lock(&m_mutex);
                m_seen.hugeBytesSent += filler.size();
            };
            connect(socket, &QTcpSocket::bytesWritten, socket, more);
            return;
        }
        if (answer.kind == Kind::Trickle) {
            socket->write("HTTP/1.1 200 Status\r\nContent-Type: " + answer.contentType + "\r\n\r\n");
            auto *timer = new QTimer(socket);
            connect(timer, &QTimer::timeout, socket, [socket] { socket->write("x"); });
            timer->start(50);
            return;
        }
        const bool huge = answer.kind != Kind::Body;
        QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " Status\r\nConnection: close\r\n";
        if (!answer.contentType.isEmpty())
            head += "Content-Type: " + answer.contentType + "\r\n";
        if (answer.kind != Kind::HugeUndeclared)
            head += "Content-Length: " + QByteArray::number(huge ? HugeBytes : answer.body.size()) + "\r\n";
        socket->write(head + "\r\n" + answer.body);
        if (!huge)
            return socket->disconnectFromHost();
        // The next piece only when the last one has left, so the body never sits in memory whole.
        auto left = std::make_shared<qint64>(HugeBytes);
        const auto more = [this, socket, left] {
            if (socket->bytesToWrite() > 0 || socket->state() != QAbstractSocket::ConnectedState)
                return;
            if (*left == 0)
                return socket->disconnectFromHost();
            const qint64 piece = std::min<qint64>(*left, 64 * 1024);
            socket->write(QByteArray(piece, 'x'));
            *left -= piece;
            const QMutexLocker lock(&m_mutex);
            m_seen.hugeBytesSent += piece;
        };
        connect(socket, &QTcpSocket::bytesWritten, socket, more);
        more();
    };

    connect(&server, &QTcpServer::newConnection, &server, [&server, respond] {
        while (QTcpSocket *socket = server.nextPendingConnection()) {
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            auto received = std::make_shared<QByteArray>();
            connect(socket, &QTcpSocket::readyRead, socket, [socket, received, respond] {
                const bool complete = received->contains("\r\n\r\n"); // one request per connection
                *received += socket->readAll();
                if (!complete && received->contains("\r\n\r\n"))
                    respond(socket, *received);
            });
        }
    });
    exec();
}
