#include "support/LocalHttpServer.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <memory>

namespace {

constexpr qint64 HugePiece = 64 * 1024;

QByteArray head(int status, const QByteArray &contentType, qint64 length)
{
    QByteArray text = "HTTP/1.1 " + QByteArray::number(status) + " Status\r\nConnection: close\r\n";
    if (!contentType.isEmpty())
        text += "Content-Type: " + contentType + "\r\n";
    if (length >= 0)
        text += "Content-Length: " + QByteArray::number(length) + "\r\n";
    return text + "\r\n";
}

} // namespace

LocalHttpServer::LocalHttpServer()
{
    start();
    m_listening.acquire();
}

LocalHttpServer::~LocalHttpServer()
{
    quit();
    wait();
}

void LocalHttpServer::serve(const QString &path, const Answer &answer)
{
    const QMutexLocker lock(&m_mutex);
    m_answers.insert(path, answer);
}

QUrl LocalHttpServer::url(const QString &path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

QList<LocalHttpServer::Request> LocalHttpServer::requests() const
{
    const QMutexLocker lock(&m_mutex);
    return m_requests;
}

QStringList LocalHttpServer::requestedPaths() const
{
    QStringList paths;
    for (const Request &request : requests())
        paths.append(request.path);
    return paths;
}

int LocalHttpServer::hangUps() const
{
    const QMutexLocker lock(&m_mutex);
    return m_hangUps;
}

qint64 LocalHttpServer::hugeBytesSent() const
{
    const QMutexLocker lock(&m_mutex);
    return m_hugeBytesSent;
}

void LocalHttpServer::run()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    m_port = server.serverPort();
    m_listening.release();

    const auto answer = [this](QTcpSocket *socket, const Answer &reply) {
        switch (reply.kind) {
        case Answer::Kind::Silent:
            QObject::connect(socket, &QTcpSocket::disconnected, socket, [this] {
                const QMutexLocker lock(&m_mutex);
                ++m_hangUps;
            });
            return;
        case Answer::Kind::Body:
            socket->write(head(reply.status, reply.contentType, reply.body.size()) + reply.body);
            socket->disconnectFromHost();
            return;
        case Answer::Kind::Huge: {
            socket->write(head(reply.status, reply.contentType, reply.declareLength ? reply.hugeBytes : -1));
            auto left = std::make_shared<qint64>(reply.hugeBytes);
            const QByteArray piece(HugePiece, 'x');
            // The next piece only when the last one left, so the body never sits in memory whole.
            const auto more = [this, socket, left, piece] {
                if (socket->bytesToWrite() > 0 || socket->state() != QAbstractSocket::ConnectedState)
                    return;
                if (*left == 0) {
                    socket->disconnectFromHost();
                    return;
                }
                const qint64 size = std::min(*left, HugePiece);
                socket->write(piece.constData(), size);
                *left -= size;
                const QMutexLocker lock(&m_mutex);
                m_hugeBytesSent += size;
            };
            QObject::connect(socket, &QTcpSocket::bytesWritten, socket, more);
            more();
            return;
        }
        }
    };

    QObject::connect(&server, &QTcpServer::newConnection, &server, [this, &server, answer] {
        while (QTcpSocket *socket = server.nextPendingConnection()) {
            QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            auto received = std::make_shared<QByteArray>();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, received, answer] {
                if (received->contains("\r\n\r\n"))
                    return; // one request per connection
                *received += socket->readAll();
                const qsizetype end = received->indexOf("\r\n\r\n");
                if (end < 0)
                    return;
                const QList<QByteArray> lines = received->left(end).split('\n');
                const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
                Request request{QString::fromLatin1(requestLine.value(1)), {}};
                for (const QByteArray &line : lines) {
                    if (line.toLower().startsWith("user-agent:"))
                        request.userAgent = line.mid(11).trimmed();
                }
                Answer reply{Answer::Kind::Body, 404, "text/plain", "not found", 0, true};
                {
                    const QMutexLocker lock(&m_mutex);
                    m_requests.append(request);
                    const QString path = request.path.section(u'?', 0, 0);
                    reply = m_answers.value(path, reply);
                }
                answer(socket, reply);
            });
        }
    });
    exec();
}
