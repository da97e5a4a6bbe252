#include "app/SingleInstance.h"

#include "app/LocalConnection.h"
#include "app/LocalSocketServer.h"
#include "core/Logging.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <unistd.h>

namespace {
const QByteArray kAcknowledged = QByteArrayLiteral("ok\n");
constexpr int kTimeoutMs = 1000;
// A command such as --list reads every window it names from the window system.
constexpr int kAnswerTimeoutMs = 15000;
// No answer is anywhere near this; a larger one is not Parqueta's.
constexpr qsizetype kMaxAnswerBytes = 16 * 1024 * 1024;
const char* const kAnswered = "parquetaAnswered";
const QString kDeadline = QStringLiteral("parquetaDeadline");
} // namespace

SingleInstance::SingleInstance(QString key, QObject* parent)
    : QObject(parent)
    , m_key(std::move(key))
{ }

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultKey()
{
    // The display belongs in the key: two X sessions of one user run two instances.
    const QByteArray session = QByteArray::number(::getuid()) + '|' + qgetenv("DISPLAY");
    return QStringLiteral("parqueta-")
        + QString::fromLatin1(QCryptographicHash::hash(session, QCryptographicHash::Sha1).toHex().left(16));
}

QString SingleInstance::lockPath() const
{
    QString dir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (dir.isEmpty() || !QFileInfo(dir).isWritable())
        dir = QDir::tempPath();
    return dir + QLatin1Char('/') + m_key + QStringLiteral(".lock");
}

bool SingleInstance::claim()
{
    m_lock = std::make_unique<QLockFile>(lockPath());
    // The lock names its holder's process: one whose holder is gone is taken over at once.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return true;
    if (m_lock->error() != QLockFile::LockFailedError) {
        // Nowhere to keep a lock: fall back on the socket alone rather than not run.
        qCWarning(lcApp) << "Cannot create the session lock in" << QFileInfo(lockPath()).path()
                         << "- relying on the socket alone";
        return !LocalConnection::isListening(socketPath());
    }
    return false;
}

bool SingleInstance::heldByAnother() const
{
    // Read only: taking the lock, even for a moment, could make a real launch at the
    // same moment believe another instance holds the session.
    qint64 pid = 0;
    QString host;
    QString application;
    if (!QLockFile(lockPath()).getLockInfo(&pid, &host, &application))
        return false;
    return pid > 0 && pid != ::getpid() && ::kill(static_cast<pid_t>(pid), 0) == 0;
}

bool SingleInstance::notifyRunningInstance(const QByteArray& request, int waitMs)
{
    QElapsedTimer waited;
    waited.start();
    do {
        // Wait for the answer so a dead listener whose socket file lingers is not
        // mistaken for a running instance.
        const std::optional<QByteArray> answer = exchange(request, kTimeoutMs);
        if (answer && answer->startsWith(kAcknowledged))
            return true;
        QThread::msleep(50);
    } while (waited.elapsed() < waitMs);
    return false;
}

std::optional<QByteArray> SingleInstance::ask(const QByteArray& request)
{
    QElapsedTimer waited;
    waited.start();
    for (;;) {
        if (std::optional<QByteArray> answer = exchange(request, kAnswerTimeoutMs))
            return answer;
        if (!heldByAnother() || waited.elapsed() > kStartUpWaitMs)
            return std::nullopt;
        QThread::msleep(50);
    }
}

std::optional<QByteArray> SingleInstance::exchange(const QByteArray& request, int answerTimeoutMs)
{
    return LocalConnection::exchange(socketPath(), request, kTimeoutMs, answerTimeoutMs, kMaxAnswerBytes);
}

QString SingleInstance::socketPath() const
{
    // Where Qt's local sockets put a plain name, so launches of older builds still find
    // the instance.
    return QDir::tempPath() + QLatin1Char('/') + m_key;
}

bool SingleInstance::listen()
{
    m_server = new LocalSocketServer(this);
    if (!m_server->listen(socketPath())) {
        // A crashed instance leaves its socket file behind; this process holds the
        // session's lock, so the file is nobody's.
        QFile::remove(socketPath());
        if (!m_server->listen(socketPath())) {
            qCWarning(lcApp) << "Cannot listen for later launches on" << socketPath() << ":" << m_server->errorString();
            return false;
        }
    }
    connect(m_server, &LocalSocketServer::newConnection, this, &SingleInstance::acceptConnections);
    return true;
}

void SingleInstance::acceptConnections()
{
    while (LocalConnection* socket = m_server->nextPendingConnection()) {
        if (m_clients >= kMaxClients) {
            qCWarning(lcApp) << "Turned away a later launch:" << m_clients << "are being served already";
            socket->abort();
            socket->deleteLater();
            continue;
        }
        ++m_clients;
        connect(socket, &QObject::destroyed, this, [this] { --m_clients; });
        // Nothing more is read from the client once this much waits, however much it sends.
        socket->setReadLimit(kMaxRequestBytes + 1);
        auto* deadline = new QTimer(socket);
        deadline->setObjectName(kDeadline);
        deadline->setSingleShot(true);
        connect(deadline, &QTimer::timeout, socket, [socket] {
            if (!socket->property(kAnswered).toBool())
                qCWarning(lcApp) << "A later launch sent no whole request within" << kClientTimeoutMs << "ms; dropped";
            socket->abort();
            socket->deleteLater();
        });
        deadline->start(kClientTimeoutMs);
        connect(socket, &LocalConnection::closed, socket, [socket] {
            if (!socket->property(kAnswered).toBool() && socket->bytesAvailable() > 0)
                qCWarning(lcApp) << "A later launch left before finishing its request";
            socket->deleteLater();
        });
        connect(socket, &LocalConnection::readyRead, this, [this, socket] { serve(socket); });
    }
}

void SingleInstance::serve(LocalConnection* socket)
{
    if (socket->property(kAnswered).toBool()) {
        // One request per connection; whatever follows it is dropped.
        socket->readAll();
        return;
    }
    const QByteArray pending = socket->peek(kMaxRequestBytes + 1);
    const qsizetype newline = pending.indexOf('\n');
    QByteArray request;
    if (newline >= 0)
        request = socket->read(newline + 1);
    else if (pending.size() > kMaxRequestBytes)
        request = socket->read(kMaxRequestBytes + 1);
    else
        return;
    socket->setProperty(kAnswered, true);
    const QByteArray answer = m_handler ? m_handler(request) : QByteArray();
    // The client now has as long again to take the answer.
    if (auto* deadline = socket->findChild<QTimer*>(kDeadline, Qt::FindDirectChildrenOnly))
        deadline->start(kClientTimeoutMs);
    socket->write(answer);
    socket->closeWhenWritten();
}
