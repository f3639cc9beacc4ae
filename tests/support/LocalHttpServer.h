#pragma once

#include <QByteArrayList>
#include <QHash>
#include <QMutex>
#include <QSemaphore>
#include <QStringList>
#include <QThread>
#include <QUrl>

// An HTTP server on the loopback interface, on a thread of its own (so the code under test may
// block the test's thread), for tests that must never reach the internet. Each path gets a fixed
// answer, no answer at all, or a huge body streamed as the client reads; other paths answer 404.
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
        qint64 hugeBytes = 0;      // Huge: the body's length
        bool declareLength = true; // Huge: whether Content-Length says so up front
    };

    LocalHttpServer();
    ~LocalHttpServer() override;

    void serve(const QString &path, const Answer &answer);
    void serveBody(const QString &path, const QByteArray &body, const QByteArray &contentType = {}, int status = 200);
    void serveNothing(const QString &path) { serve(path, {Answer::Kind::Silent, 0, {}, {}, 0, false}); }

    QUrl url(const QString &path = QStringLiteral("/")) const;
    quint16 port() const { return m_port; }

    QStringList requestedPaths() const; // as sent, percent-encoded
    QByteArrayList userAgents() const;
    int hangUps() const;                // unanswered requests whose client closed the connection
    qint64 hugeBytesSent() const;       // written before the client went away

protected:
    void run() override;

private:
    mutable QMutex m_mutex;
    QHash<QString, Answer> m_answers;
    QStringList m_paths;
    QByteArrayList m_userAgents;
    int m_hangUps = 0;
    qint64 m_hugeBytesSent = 0;
    quint16 m_port = 0;
    QSemaphore m_listening;
};
