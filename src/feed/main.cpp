// parqueta-feed: downloads Parqueta's update feed for the running Parqueta and exits.
//
//   parqueta-feed URL USER-AGENT LARGEST-BYTES MOST-REDIRECTS
//
// The document goes to standard output. Standard error carries lines for Parqueta's log
// ("note: ...") and, when the download fails, one "failure: ..." line in words for the
// user; the exit status is then 1 (2 for a malformed command line).
#include "feed/FeedFetch.h"

#include <QCoreApplication>
#include <QUrl>

#include <cstdio>

namespace {

void writeLine(const char* kind, const QString& text)
{
    const QByteArray line = QByteArray(kind) + ": " + text.simplified().toUtf8() + '\n';
    std::fwrite(line.constData(), 1, size_t(line.size()), stderr);
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    bool largestOk = false;
    bool redirectsOk = false;
    const QUrl url = QUrl(args.value(1), QUrl::StrictMode);
    const qint64 largest = args.value(3).toLongLong(&largestOk);
    const int redirects = args.value(4).toInt(&redirectsOk);
    if (args.size() != 5 || !url.isValid() || !largestOk || largest <= 0 || !redirectsOk || redirects < 0) {
        writeLine("failure", QStringLiteral("usage: parqueta-feed URL USER-AGENT LARGEST-BYTES MOST-REDIRECTS"));
        return 2;
    }

    FeedFetch fetch(url, args.value(2).toUtf8(), largest, redirects);
    int status = 1;
    QObject::connect(&fetch, &FeedFetch::note, [](const QString& text) { writeLine("note", text); });
    QObject::connect(&fetch, &FeedFetch::finished, [&status](const QByteArray& document, const QString& failure) {
        if (failure.isEmpty()) {
            status = std::fwrite(document.constData(), 1, size_t(document.size()), stdout) == size_t(document.size())
                    && std::fflush(stdout) == 0
                ? 0
                : 1;
        } else {
            writeLine("failure", failure);
        }
        QCoreApplication::exit(status);
    });
    fetch.start();
    return app.exec();
}
