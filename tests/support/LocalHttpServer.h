#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QSemaphore>
#include <QString>
#include <QThread>
#include <QUrl>

// A small HTTP server on the loopback interface, for tests that must never reach the internet.
// It runs on a thread of its own, so the code under test may block the test's thread, and a
// program started by the test may call it. Each path gets a fixed answer; a path may also never
// answer, or stream a huge body. Unknown paths answer 404.
class LocalHttpServer final : public QThread
{
public:
    struct Answer
    {
        enum class Kind { Body, Silent, Huge };
        Kind kind = Kind::Body;
        int status = 200;
        QByteArray contentType;
        QByteArray body;
        qint64 hugeBytes = 0;       // Huge: the body's length, sent in pieces as the client reads
        bool declareLength = true;  // Huge: whether Content-Length says so up front

        static Answer silence()
        {
            Answer answer;
            answer.kind = Kind::Silent;
            return answer;
        }
    };

    struct Request
    {
        QString path; // as sent, percent-encoded
        QByteArray userAgent;
    };

    LocalHttpServer();
    ~LocalHttpServer() override;

    void serve(const QString &path, const Answer &answer);
    void serveBody(const QString &path, const QByteArray &body, const QByteArray &contentType, int status = 200)
    {
        serve(path, Answer{Answer::Kind::Body, status, contentType, body, 0, true});
    }

    QUrl url(const QString &path = QStringLiteral("/")) const;
    quint16 port() const { return m_port; }

    QList<Request> requests() const;
    QStringList requestedPaths() const;
    // Requests that got no answer and whose client then closed the connection.
    int hangUps() const;
    // Body bytes of huge answers that were written before the client went away.
    qint64 hugeBytesSent() const;

protected:
    void run() override;

private:
    mutable QMutex m_mutex;
    QHash<QString, Answer> m_answers;
    QList<Request> m_requests;
    int m_hangUps = 0;
    qint64 m_hugeBytesSent = 0;
    quint16 m_port = 0;
    QSemaphore m_listening;
};
