#pragma once

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

// One download of the update feed, held short: redirects only to https and at most
// mostRedirects of them, no cookies, no cache, and an answer larger than largest bytes
// cut off as it arrives. Runs in parqueta-feed, the helper process that Parqueta starts
// for each check, so that Qt Network never loads into Parqueta itself.
class FeedFetch final : public QObject
{
    Q_OBJECT

public:
    FeedFetch(QUrl url, QByteArray userAgent, qint64 largest, int mostRedirects, QObject* parent = nullptr);
    void start();

Q_SIGNALS:
    // Something worth a log line on the way (the feed moved).
    void note(const QString& text);
    // Exactly once; failure is empty when document is the whole answer.
    void finished(const QByteArray& document, const QString& failure);

private:
    void onRedirected(const QUrl& target);
    void checkSize(qint64 received, qint64 total);
    void abortWith(const QString& message);
    void onFinished();

    QUrl m_url;
    QByteArray m_userAgent;
    qint64 m_largest;
    int m_mostRedirects;
    int m_redirects = 0;
    QNetworkAccessManager* m_network;
    QPointer<QNetworkReply> m_reply;
    // Set when this side ended the transfer (too large, unsafe redirect).
    QString m_failure;
};
