#include "managers/HelperFeedDownloader.h"

#include "core/Logging.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace {
const QString kHelperName = QStringLiteral("parqueta-feed");
}

HelperFeedDownloader::HelperFeedDownloader(QString program, QObject* parent)
    : FeedDownloader(parent)
    , m_program(std::move(program))
{ }

HelperFeedDownloader::~HelperFeedDownloader()
{
    if (m_process) {
        m_process->disconnect(this);
        m_process->kill();
        m_process->waitForFinished(1000);
    }
}

QString HelperFeedDownloader::locate()
{
    const QString chosen = qEnvironmentVariable("PARQUETA_FEED_HELPER");
    if (!chosen.isEmpty())
        return QFileInfo(chosen).isExecutable() ? chosen : QString();
    const QString here = QCoreApplication::applicationDirPath();
    for (const QString& candidate : {here + QLatin1Char('/') + kHelperName,
             here + QStringLiteral("/../libexec/parqueta/") + kHelperName}) {
        const QFileInfo file(candidate);
        if (file.isFile() && file.isExecutable())
            return file.canonicalFilePath();
    }
    return {};
}

void HelperFeedDownloader::start(const Request& request)
{
    if (m_process)
        return;
    m_document.clear();
    m_largest = request.largestResponse;
    m_process = new QProcess(this);
    if (m_program.isEmpty()) {
        // Answered from the event loop, as a real download would be.
        QMetaObject::invokeMethod(
            this,
            [this] { end(QStringLiteral("Could not check for updates: the helper %1 is not installed.").arg(kHelperName)); },
            Qt::QueuedConnection);
        return;
    }
    connect(m_process, &QProcess::readyReadStandardOutput, this, &HelperFeedDownloader::readDocument);
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end(QStringLiteral("Could not check for updates: %1 did not start (%2).")
                    .arg(m_program, m_process->errorString()));
    });
    connect(m_process, &QProcess::finished, this, [this](int status, QProcess::ExitStatus exit) {
        readDocument();
        if (!m_process)
            return;
        QString failure;
        const QList<QByteArray> lines = m_process->readAllStandardError().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith("note: "))
                qCInfo(lcUpdates).noquote() << QString::fromUtf8(line.mid(6));
            else if (line.startsWith("failure: "))
                failure = QString::fromUtf8(line.mid(9));
        }
        if (failure.isEmpty() && (exit != QProcess::NormalExit || status != 0))
            failure = QStringLiteral("Could not check for updates: %1 ended with status %2.").arg(kHelperName).arg(status);
        end(failure);
    });
    m_process->start(m_program,
        {request.url.toString(QUrl::FullyEncoded), QString::fromUtf8(request.userAgent),
            QString::number(request.largestResponse), QString::number(request.mostRedirects)},
        QIODevice::ReadOnly);
}

void HelperFeedDownloader::readDocument()
{
    if (!m_process)
        return;
    m_document += m_process->readAllStandardOutput();
    // The helper cuts large answers off itself; this holds even against one that does not.
    if (m_document.size() > m_largest)
        abort(QStringLiteral("The update feed could not be read: it is larger than %1 KB.").arg(m_largest / 1024));
}

void HelperFeedDownloader::abort(const QString& message)
{
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->kill();
    // Reaped here, so the process object can go without complaint.
    m_process->waitForFinished(1000);
    end(message);
}

void HelperFeedDownloader::end(const QString& failure)
{
    QProcess* process = m_process;
    if (!process)
        return;
    m_process = nullptr;
    process->disconnect(this);
    process->deleteLater();
    const QByteArray document = failure.isEmpty() ? m_document : QByteArray();
    m_document.clear();
    Q_EMIT finished(document, failure);
}
