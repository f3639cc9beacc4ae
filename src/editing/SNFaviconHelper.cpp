#include "editing/SNFaviconHelper.h"

#include "core/WebAddress.h"

#include "core/BoundedImageReader.h"
#include "core/Logger.h"
#include "editing/FaviconSession.h"

#include <QGuiApplication>
#include <QRegularExpression>
#include <QScreen>
#include <QStringDecoder>
#include <QTextDocumentFragment>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace {

const QString QuoteClass = u"(?:\"|')"_s;

// The formats a site icon comes in; anything else (an HTML error page, a script) is not an icon.
const QList<QByteArray> IconFormats = {"ico", "png", "jpeg", "jpg", "gif"};

QDeadlineTimer earlierOf(QDeadlineTimer a, std::chrono::milliseconds fromNow)
{
    const QDeadlineTimer b(fromNow);
    return a.deadlineNSecs() < b.deadlineNSecs() ? a : b;
}

// The charset parameter of a Content-Type value ("text/html; charset=ISO-8859-1").
QString charsetOf(const QByteArray &contentType)
{
    for (const QByteArray &parameter : contentType.split(';')) {
        const QByteArray trimmed = parameter.trimmed();
        if (trimmed.toLower().startsWith("charset="))
            return QString::fromLatin1(trimmed.mid(8)).remove(u'"').remove(u'\'').trimmed();
    }
    return {};
}

} // namespace

SNFaviconHelper::SNFaviconHelper(Density density)
    : m_density(density)
{
}

SNFaviconHelper::~SNFaviconHelper()
{
    if (m_search) {
        isCancelled = true;
        waitForSearch();
    }
}

void SNFaviconHelper::waitForSearch()
{
    if (m_search)
        m_search->wait();
}

QStringList SNFaviconHelper::defaultNames() const
{
    if (m_density == Density::High)
        return {u"favicon.ico"_s, u"apple-touch-icon-precomposed.png"_s, u"apple-touch-icon.png"_s,
                u"touch-icon-iphone.png"_s};
    return {u"favicon.ico"_s};
}

QString SNFaviconHelper::acceptedRelationshipAttributesRegex() const
{
    QStringList values{u"icon"_s, u"shortcut icon"_s};
    if (m_density == Density::High)
        values.append(u"apple-touch-icon"_s);
    return values.join(u'|');
}

QString SNFaviconHelper::keyForURL(const QUrl &url)
{
    return url.host();
}

SNFaviconHelper::Density SNFaviconHelper::screenDensity()
{
    // Only a GUI application on a display has screens; the command line (Qt Gui offscreen, for
    // drawing alone) and tests on a headless machine take the high-density table, whose touch
    // icons are the largest a site offers.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()) ||
        QGuiApplication::platformName() == QLatin1String("offscreen"))
        return Density::High;
    const QScreen *screen = QGuiApplication::primaryScreen();
    if (!screen)
        return Density::High;
    return screen->devicePixelRatio() > 1.0 ? Density::High : Density::Standard;
}

QByteArray SNFaviconHelper::userAgent()
{
    return QByteArrayLiteral("Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36 (KHTML, like Gecko) "
                             "Chrome/90.0.4430.93 Safari/537.36");
}

FaviconSession::Response SNFaviconHelper::fetch(const QUrl &url, QDeadlineTimer deadline, qint64 maximumBytes)
{
    FaviconSession::Request request;
    request.url = url;
    request.userAgent = userAgent();
    request.transferTimeout = m_limits.requestTimeout;
    request.wait = earlierOf(deadline, m_limits.waitTimeout);
    request.maximumBytes = maximumBytes;
    request.cancelled = &isCancelled;
    return FaviconSession::fetch(request);
}

SNFaviconHelper::Found SNFaviconHelper::searchFavicon(const QUrl &appURL, QDeadlineTimer deadline)
{
    if (isCancelled)
        return {};
    deadline = earlierOf(deadline, m_limits.searchTimeout);
    return searchWithPage(appURL, fetch(appURL, deadline, m_limits.maximumPageBytes), deadline);
}

SNFaviconHelper::Found SNFaviconHelper::searchWithPage(const QUrl &appURL, const FaviconSession::Response &page,
                                                       QDeadlineTimer deadline)
{
    if (isCancelled)
        return {};
    Found htmlCandidate;
    QUrl pageURL = appURL;
    QString title;
    if (page.finished) {
        pageURL = page.finalUrl;
        htmlCandidate = iconFromHTML(page.body, charsetOf(page.contentType), pageURL, deadline);
        title = titleOfPage(decodePage(page.body, charsetOf(page.contentType)));
    }
    if (isCancelled)
        return {};
    // A page that could not be loaded still has a root; the root icon must be strictly wider to
    // replace a linked one.
    Found rootCandidate = searchURLForImages(pageURL, defaultNames(), deadline);
    if (isCancelled)
        return {};
    Found best = htmlCandidate.image.isNull() || rootCandidate.width() > htmlCandidate.width() ? rootCandidate
                                                                                               : htmlCandidate;
    best.pageTitle = title;
    if (page.finished || page.status > 0 || !best.image.isNull())
        best.address = appURL.toString();
    return best;
}

SNFaviconHelper::Found SNFaviconHelper::searchAddress(const QString &typed, QDeadlineTimer deadline)
{
    deadline = earlierOf(deadline, m_limits.searchTimeout);
    const QStringList candidates = WebAddress::candidates(typed);
    if (candidates.size() < 2)
        return candidates.isEmpty() ? Found() : searchFavicon(QUrl(candidates.constFirst()), deadline);
    // Without a scheme, https is asked first but only briefly: a server that speaks plain http may
    // never answer a TLS handshake, and the search must not spend its whole time on it.
    const QUrl secure(candidates.constFirst());
    const FaviconSession::Response page = fetch(secure, earlierOf(deadline, HttpsProbeTime), m_limits.maximumPageBytes);
    if (isCancelled)
        return {};
    if (page.finished || page.status > 0)
        return searchWithPage(secure, page, deadline);
    return searchFavicon(QUrl(candidates.at(1)), deadline);
}

void SNFaviconHelper::lookUpSite(const QString &typed, QObject *receiver, std::function<void(const Found &)> completion)
{
    if (isCancelled)
        return;
    waitForSearch();
    QThread *thread = QThread::create([this, typed, receiver, completion = std::move(completion)] {
        const Found found = searchAddress(typed);
        if (isCancelled || !completion)
            return;
        QMetaObject::invokeMethod(receiver, [completion, found] { completion(found); }, Qt::QueuedConnection);
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    m_search = thread;
    thread->start();
}

QString SNFaviconHelper::titleOfPage(const QString &html)
{
    // A title longer than this is not a name anyone wants; the bound also keeps the match cheap.
    static const QRegularExpression titleExpression(u"<title[^>]*>([^<]{0,2048})</title"_s,
                                                    QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = titleExpression.match(html);
    if (!match.hasMatch())
        return {};
    return QTextDocumentFragment::fromHtml(match.captured(1)).toPlainText().simplified();
}

SNFaviconHelper::Found SNFaviconHelper::iconFromHTML(const QByteArray &page, const QString &textEncodingName,
                                                     const QUrl &url, QDeadlineTimer deadline)
{
    const QString html = decodePage(page, textEncodingName);
    const QString relPattern = u"rel=%1(%2)%3"_s.arg(QuoteClass, acceptedRelationshipAttributesRegex(), QuoteClass);
    static const auto options = QRegularExpression::CaseInsensitiveOption;
    const QRegularExpression linkExpression(u"<link[^>]*%1[^>]*/?>"_s.arg(relPattern), options);
    static const QRegularExpression hrefExpression(u"href=%1([^\"']*)%2"_s.arg(QuoteClass, QuoteClass), options);

    // Each element from "<link" to the next ">" is matched on its own and never looked at again:
    // the same matches as the expression run over the whole page, in time linear in the page,
    // however many unclosed "<link" a hostile page holds.
    Found kept;
    qsizetype from = 0;
    qsizetype start;
    int tried = 0;
    while ((start = html.indexOf(u"<link"_s, from, Qt::CaseInsensitive)) >= 0) {
        if (isCancelled)
            return {};
        if (tried >= m_limits.maximumCandidates || deadline.hasExpired())
            break;
        const qsizetype end = html.indexOf(u'>', start);
        if (end < 0)
            break;
        from = end + 1;
        const QRegularExpressionMatch link = linkExpression.match(html.mid(start, end + 1 - start));
        const QRegularExpressionMatch href = hrefExpression.match(link.captured(0));
        if (!link.hasMatch() || !href.hasMatch())
            continue;
        ++tried;
        kept = widerOf(kept, url.resolved(QUrl(href.captured(1))), deadline);
    }
    return kept;
}

SNFaviconHelper::Found SNFaviconHelper::searchURLForImages(const QUrl &url, const QStringList &names,
                                                           QDeadlineTimer deadline)
{
    QUrl root;
    root.setScheme(url.scheme());
    root.setHost(url.host());
    root.setPort(url.port());
    root.setPath(u"/"_s);
    Found kept;
    for (const QString &name : names) {
        if (isCancelled)
            return {};
        kept = widerOf(kept, root.resolved(QUrl(name)), deadline);
    }
    return kept;
}

SNFaviconHelper::Found SNFaviconHelper::widerOf(Found kept, const QUrl &candidate, QDeadlineTimer deadline)
{
    // A page decides what its links say, not what they may reach: an icon comes from the web (or
    // from the page itself, as data), never from a local file a foreign page names.
    const QString scheme = candidate.scheme();
    if (scheme != u"http"_s && scheme != u"https"_s && scheme != u"data"_s)
        return kept;
    const std::optional<QByteArray> data = dataFromURL(candidate, deadline);
    Logger::log(candidate.toString());
    if (!data)
        return kept;
    SNImage image = decodeIcon(*data);
    if (image.isNull())
        return kept;
    Found found{std::move(image), candidate, {}, {}};
    return kept.image.isNull() || kept.width() < found.width() ? found : kept;
}

std::optional<QByteArray> SNFaviconHelper::dataFromURL(const QUrl &url, QDeadlineTimer deadline)
{
    if (url.isEmpty() || isCancelled)
        return std::nullopt;
    const FaviconSession::Response response = fetch(url, deadline, m_limits.maximumIconBytes);
    const bool http = url.scheme().startsWith(u"http"_s);
    if (!response.finished || (http && response.status != 200))
        return std::nullopt;
    return response.body;
}

SNImage SNFaviconHelper::decodeIcon(const QByteArray &data) const
{
    // An entry whose declared size passes the largest icon side is left out before it is decoded.
    return SNImage(BoundedImageReader::read(data, {m_limits.maximumIconSide, IconFormats}).images);
}

QString SNFaviconHelper::decodePage(const QByteArray &page, const QString &textEncodingName) const
{
    const auto decoded = [&page](QStringDecoder decoder) -> std::optional<QString> {
        if (!decoder.isValid())
            return std::nullopt;
        QString text = decoder.decode(page);
        if (decoder.hasError())
            return std::nullopt;
        return text;
    };
    if (!textEncodingName.isEmpty()) {
        if (std::optional<QString> text = decoded(QStringDecoder(textEncodingName.toLatin1().constData())))
            return *text;
    }
    for (const char *fallback : {"UTF-8", "ISO-8859-1", "UTF-16", "ISO-8859-2"}) {
        if (std::optional<QString> text = decoded(QStringDecoder(fallback)))
            return *text;
    }
    return {};
}
