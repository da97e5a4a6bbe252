#include "app/SingleInstance.h"

#include "core/Logging.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QThread>

#include <unistd.h>

namespace {
const QByteArray kReopen = QByteArrayLiteral("reopen\n");
const QByteArray kEditLayout = QByteArrayLiteral("edit-layout\n");
const QByteArray kDebugWindow = QByteArrayLiteral("debug-window\n");
const QByteArray kAcknowledged = QByteArrayLiteral("ok\n");
constexpr int kTimeoutMs = 1000;
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

bool SingleInstance::claim()
{
    QString dir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (dir.isEmpty() || !QFileInfo(dir).isWritable())
        dir = QDir::tempPath();
    m_lock = std::make_unique<QLockFile>(dir + QLatin1Char('/') + m_key + QStringLiteral(".lock"));
    // The lock names its holder's process: one whose holder is gone is taken over at once.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return true;
    if (m_lock->error() != QLockFile::LockFailedError) {
        // Nowhere to keep a lock: fall back on the socket alone rather than not run.
        qCWarning(lcApp) << "Cannot create the session lock in" << dir << "- relying on the socket alone";
        QLocalSocket probe;
        probe.connectToServer(m_key);
        return !probe.waitForConnected(kTimeoutMs);
    }
    return false;
}

bool SingleInstance::notifyRunningInstance(Request request, int waitMs)
{
    QElapsedTimer waited;
    waited.start();
    do {
        if (tryNotify(request))
            return true;
        QThread::msleep(50);
    } while (waited.elapsed() < waitMs);
    return false;
}

bool SingleInstance::tryNotify(Request request)
{
    QLocalSocket socket;
    socket.connectToServer(m_key);
    if (!socket.waitForConnected(kTimeoutMs))
        return false;
    socket.write(request == Request::editLayout ? kEditLayout
            : request == Request::debugWindow    ? kDebugWindow
                                                 : kReopen);
    if (!socket.waitForBytesWritten(kTimeoutMs))
        return false;
    // Wait for the answer so a dead listener whose socket file lingers is not mistaken
    // for a running instance.
    if (!socket.waitForReadyRead(kTimeoutMs))
        return false;
    return socket.readLine() == kAcknowledged;
}

bool SingleInstance::listen()
{
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(m_key)) {
        // A crashed instance leaves its socket file behind; this process holds the
        // session's lock, so the file is nobody's.
        QLocalServer::removeServer(m_key);
        if (!m_server->listen(m_key)) {
            qCWarning(lcApp) << "Cannot listen for later launches on" << m_key << ":" << m_server->errorString();
            return false;
        }
    }
    connect(m_server, &QLocalServer::newConnection, this, &SingleInstance::acceptConnections);
    return true;
}

void SingleInstance::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            if (!socket->canReadLine())
                return;
            const QByteArray line = socket->readLine();
            if (line == kReopen || line == kEditLayout || line == kDebugWindow) {
                socket->write(kAcknowledged);
                socket->flush();
                if (line == kEditLayout)
                    Q_EMIT editLayoutRequested();
                else if (line == kDebugWindow)
                    Q_EMIT debugWindowRequested();
                else
                    Q_EMIT reopenRequested();
            } else {
                qCWarning(lcApp) << "Ignored a malformed request from a later launch:" << line.left(64);
            }
            socket->disconnectFromServer();
        });
    }
}
