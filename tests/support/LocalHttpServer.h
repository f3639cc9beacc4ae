#pragma once

#include <QByteArrayList>
#include <QHash>
#include <QMutex>
#include <QSemaphore>
#include <QStringList>
#include <QThread>
#include <QUrl>

// An HTTP server on the loopback interface, so that tests never reach the internet. It runs on a
// thread of its own: the code under test may block the test's thread. A path answers with a body
// and a status, never answers (Silent), streams a 50 MB body as the client reads it (Huge, with
// or without its length declared), sends header lines as long as the client reads them
// (EndlessHeaders), or sends a body without end, one byte at a time (Trickle). Other paths
// answer 404.
class LocalHttpServer final : public QThread
{
public:
    enum class Kind { Body, Silent, Huge, HugeUndeclared, EndlessHeaders, Trickle };
    struct Answer
    {
        QByteArray body;
        int status = 200;
        QByteArray contentType = {};
        Kind kind = Kind::Body;
    };
    struct Seen
    {
        QStringList paths; // as sent, percent-encoded
        QByteArrayList userAgents;
        int hangUps = 0;          // unanswered requests whose client closed the connection
        qint64 hugeBytesSent = 0; // of Huge bodies and endless headers, written before the client went away
    };
    static constexpr qint64 HugeBytes = 50LL << 20;

    LocalHttpServer() { start(); m_listening.acquire(); }
    ~LocalHttpServer() override { quit(); wait(); }

    void serve(const QString &path, const Answer &answer)
    {
        const QMutexLocker lock(&m_mutex);
        m_answers.insert(path, answer);
    }
    QUrl url(const QString &path = QStringLiteral("/")) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
    }
    quint16 port() const { return m_port; }
    // A square icon of one colour in the given image format, to serve.
    static QByteArray icon(int side, const char *format = "PNG");
    Seen seen() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_seen;
    }

protected:
    void run() override;

private:
    mutable QMutex m_mutex;
    QHash<QString, Answer> m_answers;
    Seen m_seen;
    quint16 m_port = 0;
    QSemaphore m_listening;
};
