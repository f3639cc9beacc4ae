#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>
#include <QUrl>

#include <atomic>
#include <chrono>

class QNetworkAccessManager;
class QThread;

// The one network session that every site-icon download shares. It lives on a thread of its own,
// so a search can block the thread it runs on (a worker, or the command line's main thread, which
// runs no event loop) while the session keeps its connections and cache.
class FaviconSession final
{
public:
    struct Request
    {
        QUrl url;
        QByteArray userAgent;
        std::chrono::milliseconds transferTimeout{10000};
        // How long the caller waits at most; the transfer is abandoned after that.
        QDeadlineTimer wait{QDeadlineTimer::Forever};
        // Larger bodies are refused while they arrive, so they never sit in memory whole.
        qint64 maximumBytes = 0;
        // Polled while waiting: a set flag abandons the transfer at once.
        const std::atomic<bool> *cancelled = nullptr;
    };

    struct Response
    {
        bool finished = false;    // a body arrived whole, within the limits (any status)
        bool networkError = false; // the transfer itself failed (not an HTTP error status)
        int status = 0;            // the HTTP status, 0 for other schemes
        QUrl finalUrl;             // after redirects
        QByteArray contentType;
        QByteArray body;
    };

    // Blocks until the transfer ends, the wait is over or the caller cancels.
    static Response fetch(const Request &request);

private:
    FaviconSession();
    ~FaviconSession();
    Q_DISABLE_COPY_MOVE(FaviconSession)

    // Created on first use; stopped with the application object.
    static FaviconSession &shared();

    QThread *m_thread = nullptr;
    QNetworkAccessManager *m_manager = nullptr;
};
