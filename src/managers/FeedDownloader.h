#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QUrl>

// Fetches the update feed's document for SoftwareUpdater. Every start() ends in exactly
// one finished(), an abort() included.
class FeedDownloader : public QObject
{
    Q_OBJECT

public:
    struct Request
    {
        QUrl url;
        QByteArray userAgent;
        qint64 largestResponse = 0;
        int mostRedirects = 0;
    };

    using QObject::QObject;

    // Not while one runs.
    virtual void start(const Request& request) = 0;
    // Ends the running download now; its finished() carries message as the failure.
    virtual void abort(const QString& message) = 0;
    virtual bool isRunning() const = 0;

Q_SIGNALS:
    // failure is empty when document is the whole answer.
    void finished(const QByteArray& document, const QString& failure);
};
