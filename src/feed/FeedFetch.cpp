#include "feed/FeedFetch.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace {
QString tooLarge(qint64 largest)
{
    return QStringLiteral("The update feed could not be read: it is larger than %1 KB.").arg(largest / 1024);
}
} // namespace

FeedFetch::FeedFetch(QUrl url, QByteArray userAgent, qint64 largest, int mostRedirects, QObject* parent)
    : QObject(parent)
    , m_url(std::move(url))
    , m_userAgent(std::move(userAgent))
    , m_largest(largest)
    , m_mostRedirects(mostRedirects)
    , m_network(new QNetworkAccessManager(this))
{ }

void FeedFetch::start()
{
    QNetworkRequest request(m_url);
    request.setRawHeader("User-Agent", m_userAgent);
    request.setRawHeader("Accept", "application/rss+xml, application/xml;q=0.9, text/xml;q=0.8");
    // Each hop is looked at before it is taken: only to https, and only so many.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::UserVerifiedRedirectPolicy);
    request.setMaximumRedirectsAllowed(m_mostRedirects);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    // A compressed answer is counted as it unpacks, but need not unpack far to be refused.
    request.setDecompressedSafetyCheckThreshold(m_largest);

    QNetworkReply* reply = m_network->get(request);
    m_reply = reply;
    connect(reply, &QNetworkReply::redirected, this, &FeedFetch::onRedirected);
    connect(reply, &QNetworkReply::downloadProgress, this, &FeedFetch::checkSize);
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] { checkSize(reply->bytesAvailable(), -1); });
    connect(reply, &QNetworkReply::finished, this, &FeedFetch::onFinished);
}

void FeedFetch::onRedirected(const QUrl& target)
{
    if (!m_reply)
        return;
    if (++m_redirects > m_mostRedirects) {
        abortWith(QStringLiteral("The update server redirected more than %1 times.").arg(m_mostRedirects));
        return;
    }
    if (target.scheme() != QLatin1String("https") || target.host().isEmpty()) {
        abortWith(QStringLiteral("The update server redirected to an address that is not secure: %1.")
                      .arg(target.toDisplayString()));
        return;
    }
    Q_EMIT note(QStringLiteral("The update feed moved to %1").arg(target.toDisplayString()));
    Q_EMIT m_reply->redirectAllowed();
}

void FeedFetch::checkSize(qint64 received, qint64 total)
{
    if (m_reply && (received > m_largest || total > m_largest))
        abortWith(tooLarge(m_largest));
}

void FeedFetch::abortWith(const QString& message)
{
    if (!m_reply)
        return;
    if (m_failure.isEmpty())
        m_failure = message;
    // Emits finished() at once, which ends the fetch.
    m_reply->abort();
}

void FeedFetch::onFinished()
{
    QNetworkReply* reply = m_reply;
    if (!reply)
        return;
    m_reply = nullptr;
    reply->disconnect(this);
    reply->deleteLater();
    if (!m_failure.isEmpty()) {
        Q_EMIT finished({}, m_failure);
    } else if (reply->error() != QNetworkReply::NoError) {
        Q_EMIT finished({}, QStringLiteral("Could not reach the update server: %1.").arg(reply->errorString()));
    } else {
        const QByteArray document = reply->read(m_largest + 1);
        if (document.size() > m_largest)
            Q_EMIT finished({}, tooLarge(m_largest));
        else
            Q_EMIT finished(document, {});
    }
}
