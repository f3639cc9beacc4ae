#include "support/LocalHttpServer.h"

#include <QTcpServer>
#include <QTcpSocket>

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

void LocalHttpServer::serveBody(const QString &path, const QByteArray &body, const QByteArray &contentType, int status)
{
    serve(path, {Answer::Kind::Body, status, contentType, body, 0, true});
}

QUrl LocalHttpServer::url(const QString &path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

QStringList LocalHttpServer::requestedPaths() const
{
    const QMutexLocker lock(&m_mutex);
    return m_paths;
}

QByteArrayList LocalHttpServer::userAgents() const
{
    const QMutexLocker lock(&m_mutex);
    return m_userAgents;
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

    const auto respond = [this](QTcpSocket *socket, const QByteArray &request) {
        const QList<QByteArray> lines = request.split('\n');
        const QString path = QString::fromLatin1(lines.value(0).split(' ').value(1));
        Answer answer{Answer::Kind::Body, 404, {}, "not found", 0, true};
        {
            const QMutexLocker lock(&m_mutex);
            m_paths.append(path);
            for (const QByteArray &line : lines) {
                if (line.toLower().startsWith("user-agent:"))
                    m_userAgents.append(line.mid(11).trimmed());
            }
            answer = m_answers.value(path, answer);
        }
        if (answer.kind == Answer::Kind::Silent) {
            connect(socket, &QTcpSocket::disconnected, socket, [this] {
                const QMutexLocker lock(&m_mutex);
                ++m_hangUps;
            });
            return;
        }
        const bool huge = answer.kind == Answer::Kind::Huge;
        QByteArray head = "HTTP/1.1 " + QByteArray::number(answer.status) + " Status\r\nConnection: close\r\n";
        if (!answer.contentType.isEmpty())
            head += "Content-Type: " + answer.contentType + "\r\n";
        if (!huge || answer.declareLength)
            head += "Content-Length: " + QByteArray::number(huge ? answer.hugeBytes : answer.body.size()) + "\r\n";
        socket->write(head + "\r\n" + answer.body);
        if (!huge) {
            socket->disconnectFromHost();
            return;
        }
        // The next piece only when the last one has left, so the body never sits in memory whole.
        auto left = std::make_shared<qint64>(answer.hugeBytes);
        const auto more = [this, socket, left] {
            if (socket->bytesToWrite() > 0 || socket->state() != QAbstractSocket::ConnectedState)
                return;
            if (*left == 0)
                return socket->disconnectFromHost();
            const qint64 piece = std::min<qint64>(*left, 64 * 1024);
            socket->write(QByteArray(piece, 'x'));
            *left -= piece;
            const QMutexLocker lock(&m_mutex);
            m_hugeBytesSent += piece;
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
