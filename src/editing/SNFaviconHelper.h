#pragma once

#include "core/SNImage.h"
#include "editing/FaviconSession.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QPointer>
#include <QThread>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

// Finds a site's best icon: loads the page, downloads every icon its HTML links to, tries the
// well-known icon files at the site root, and keeps the widest image. Only the site itself is
// asked. Downloads run one after another on the calling thread, which they block (see
// FaviconSession); searchFavicon() is for worker threads and the command line, and lookUpSite()
// runs a search on a thread of its own.
class SNFaviconHelper final
{
public:
    // Which icons are worth looking at: a high-density screen also takes the touch icons.
    enum class Density { Standard, High };

    // Bounds of a search and of each download. Bodies larger than the limits are refused while
    // they arrive, and an image whose declared size is larger than maximumIconSide is refused
    // before it is decoded. A search ends after searchTimeout whatever the site does, with the
    // best icon found by then.
    struct Limits
    {
        std::chrono::milliseconds requestTimeout{10000};
        std::chrono::milliseconds waitTimeout{15000};
        qint64 maximumPageBytes = 8 * 1024 * 1024;
        qint64 maximumIconBytes = 4 * 1024 * 1024;
        int maximumIconSide = 2048;
        std::chrono::milliseconds searchTimeout{5000};
        // Icon links of a page tried at most, in the page's order; the well-known files at the
        // site root are tried besides.
        int maximumCandidates = 12;
    };

    // An icon and the address it came from.
    struct Found
    {
        SNImage image;
        QUrl source;
        QString pageTitle; // the page's <title>, as plain text; empty when it has none
        // The address searched, with the scheme that answered; empty when the site did not answer.
        QString address;
        int width() const { return image.largestPixelSize().width(); }
        // The source for people: an icon inlined in the page is not printed whole.
        QString sourceText() const
        {
            return source.scheme() == QLatin1String("data") ? QStringLiteral("data: (inline in the page)")
                                                            : source.toString();
        }
    };

    explicit SNFaviconHelper(Density density = screenDensity());
    // Cancels a threaded search that is still running and waits for its thread.
    ~SNFaviconHelper();
    Q_DISABLE_COPY_MOVE(SNFaviconHelper)

    // Set by the owner to abandon a search; every stage looks at it, and a running download is
    // dropped at once. Left set after an abandoned search: the owner resets it.
    std::atomic<bool> isCancelled{false};

    void setLimits(const Limits &limits) { m_limits = limits; }
    const Limits &limits() const { return m_limits; }

    // The whole search, blocking, ended by `deadline` or the search timeout, whichever comes
    // first. Nothing found, or cancelled: a null image.
    Found searchFavicon(const QUrl &appURL, QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    // searchAddress() on a thread of its own; `completion` runs on `receiver`'s thread with what
    // was found, the page's title and the address that answered, and not at all when the search
    // was cancelled. One threaded search at a time. The receiver must outlive the search: an owner
    // that keeps the helper has that, since the helper's destructor cancels and waits.
    void lookUpSite(const QString &typed, QObject *receiver, std::function<void(const Found &)> completion);
    // Searches the site of an address as typed (WebAddress): one with a scheme as it stands, one
    // without over https and, when https does not answer, over http, all within one deadline.
    Found searchAddress(const QString &typed, QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    // How long https may take to answer a typed address without a scheme before http is tried.
    static constexpr std::chrono::milliseconds HttpsProbeTime{2500};
    // Blocks until the threaded search's thread has ended.
    void waitForSearch();

    // The widest icon that the page's icon links lead to. `textEncodingName` is the charset the
    // response named (empty when none).
    Found iconFromHTML(const QByteArray &page, const QString &textEncodingName, const QUrl &url,
                       QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    // The widest of the named files at the site root of `url` (the earlier wins a tie).
    Found searchURLForImages(const QUrl &url, const QStringList &names,
                             QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));
    // The body of a 200 answer, or nothing (any other status, an error, a time-out, too large).
    std::optional<QByteArray> dataFromURL(const QUrl &url,
                                          QDeadlineTimer deadline = QDeadlineTimer(QDeadlineTimer::Forever));

    // The plain text of a page's <title>, white space simplified; empty when there is none.
    static QString titleOfPage(const QString &html);

    QStringList defaultNames() const;
    QString acceptedRelationshipAttributesRegex() const;
    // The key under which a found icon may be kept: the address's host.
    static QString keyForURL(const QUrl &url);

    // The density of the primary screen; high when there is no screen (the command line, a
    // headless machine), so that the touch icons, usually the largest, take part.
    static Density screenDensity();
    static QByteArray userAgent();

private:
    // One download within this helper's limits, the deadline and the cancel flag.
    FaviconSession::Response fetch(const QUrl &url, QDeadlineTimer deadline, qint64 maximumBytes);
    Found widerOf(Found kept, const QUrl &candidate, QDeadlineTimer deadline);
    // The search of `appURL` once its page has been asked for.
    Found searchWithPage(const QUrl &appURL, const FaviconSession::Response &page, QDeadlineTimer deadline);
    SNImage decodeIcon(const QByteArray &data) const;
    QString decodePage(const QByteArray &page, const QString &textEncodingName) const;

    Density m_density;
    Limits m_limits;
    QPointer<QThread> m_search;
};
