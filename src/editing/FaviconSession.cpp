#include "editing/FaviconSession.h"

#include <QCoreApplication>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSemaphore>
#include <QThread>

#include <memory>

namespace {

// How often a waiting caller looks at its cancel flag.
constexpr std::chrono::milliseconds PollInterval{25};
constexpr qint64 ReadBufferBytes = 64 * 1024;

QMutex sessionMutex;
FaviconSession *sessionInstance = nullptr;

// One transfer, shared by the caller and the session thread. The reply and the size flag belong
// to the session thread; the response is read by the caller only after `done` was released.
struct Transfer
{
    QSemaphore done;
    std::atomic<bool> abandoned{false};
    QNetworkReply *reply = nullptr;
    bool tooLarge = false;
    FaviconSession::Response response;
};

} // namespace

FaviconSession::FaviconSession()
    : m_thread(new QThread)
    , m_manager(new QNetworkAccessManager)
{
    m_thread->setObjectName(QStringLiteral("favicon-session"));
    m_manager->moveToThread(m_thread);
    m_thread->start();
}

FaviconSession::~FaviconSession()
{
    // Replies still running are the manager's children and go with it, when the thread ends.
    m_manager->deleteLater();
    m_thread->quit();
    m_thread->wait();
    delete m_thread;
}

FaviconSession &FaviconSession::shared()
{
    const QMutexLocker lock(&sessionMutex);
    if (!sessionInstance) {
        sessionInstance = new FaviconSession;
        qAddPostRoutine([] {
            const QMutexLocker postLock(&sessionMutex);
            delete sessionInstance;
            sessionInstance = nullptr;
        });
    }
    return *sessionInstance;
}

FaviconSession::Response FaviconSession::fetch(const Request &request)
{
    if (!request.url.isValid() || request.wait.hasExpired())
        return {};
    QNetworkAccessManager *manager = shared().m_manager;
    auto transfer = std::make_shared<Transfer>();

    QMetaObject::invokeMethod(manager, [manager, request, transfer] {
        if (transfer->abandoned) {
            transfer->done.release();
            return;
        }
        QNetworkRequest networkRequest(request.url);
        networkRequest.setHeader(QNetworkRequest::UserAgentHeader, request.userAgent);
        networkRequest.setTransferTimeout(int(request.transferTimeout.count()));
        QNetworkReply *reply = manager->get(networkRequest);
        transfer->reply = reply;
        // The body is taken as it arrives, and the small read buffer makes the session stop
        // reading from the socket meanwhile: past the limit (or a declared length past it) the
        // transfer ends before the rest is even received.
        reply->setReadBufferSize(ReadBufferBytes);
        const qint64 maximumBytes = request.maximumBytes;
        const auto take = [reply, transfer, maximumBytes] {
            if (transfer->tooLarge)
                return;
            const qint64 declared = reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
            transfer->response.body += reply->readAll();
            if (declared > maximumBytes || transfer->response.body.size() > maximumBytes) {
                transfer->tooLarge = true;
                transfer->response.body.clear();
                reply->abort();
            }
        };
        QObject::connect(reply, &QNetworkReply::metaDataChanged, reply, take);
        QObject::connect(reply, &QNetworkReply::readyRead, reply, take);
        QObject::connect(reply, &QNetworkReply::finished, reply, [reply, transfer] {
            Response &response = transfer->response;
            response.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
            // An HTTP error status still brings a response; a failed or abandoned transfer does not.
            const bool arrived = reply->error() == QNetworkReply::NoError || response.status > 0;
            const bool cutShort = reply->error() == QNetworkReply::OperationCanceledError ||
                                  reply->error() == QNetworkReply::TimeoutError;
            if (arrived && !cutShort && !transfer->tooLarge && !transfer->abandoned) {
                response.finished = true;
                response.finalUrl = reply->url();
                response.contentType = reply->header(QNetworkRequest::ContentTypeHeader).toByteArray();
                response.body += reply->readAll();
            } else {
                response.body.clear();
            }
            transfer->reply = nullptr;
            reply->deleteLater();
            transfer->done.release();
        });
    }, Qt::QueuedConnection);

    while (!transfer->done.tryAcquire(1, int(PollInterval.count()))) {
        const bool cancelled = request.cancelled && request.cancelled->load();
        if (cancelled || request.wait.hasExpired()) {
            transfer->abandoned = true;
            QMetaObject::invokeMethod(manager, [transfer] {
                if (transfer->reply)
                    transfer->reply->abort();
            }, Qt::QueuedConnection);
            return {};
        }
    }
    return transfer->response;
}
