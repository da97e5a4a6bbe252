#include "app/LocalConnection.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

constexpr qsizetype kChunk = 16 * 1024;

bool addressFor(const QString& path, sockaddr_un& address)
{
    const QByteArray encoded = QFile::encodeName(path);
    std::memset(&address, 0, sizeof address);
    if (encoded.isEmpty() || encoded.size() >= qsizetype(sizeof address.sun_path))
        return false;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, encoded.constData(), size_t(encoded.size()));
    return true;
}

// Waits until fd is ready for events, at most ms; false on timeout or error.
bool waitFor(int fd, short events, qint64 ms)
{
    pollfd ready {fd, events, 0};
    int result = 0;
    do
        result = ::poll(&ready, 1, int(std::clamp<qint64>(ms, 0, 60 * 60 * 1000)));
    while (result < 0 && errno == EINTR);
    return result > 0;
}

// A blocking client socket connected to path, or -1. A listener too busy to take the
// connection within timeoutMs counts as none.
int connectTo(const QString& path, int timeoutMs)
{
    sockaddr_un address {};
    if (!addressFor(path, address))
        return -1;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0)
        return -1;
    ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    const timeval limit {timeoutMs / 1000, (timeoutMs % 1000) * 1000};
    ::setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    int result = 0;
    do
        result = ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    while (result < 0 && errno == EINTR);
    if (result < 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

LocalConnection::LocalConnection(int fd, QObject* parent)
    : QObject(parent)
    , m_fd(fd)
    , m_readable(new QSocketNotifier(fd, QSocketNotifier::Read, this))
    , m_writable(new QSocketNotifier(fd, QSocketNotifier::Write, this))
{
    ::fcntl(m_fd, F_SETFL, ::fcntl(m_fd, F_GETFL) | O_NONBLOCK);
    ::fcntl(m_fd, F_SETFD, FD_CLOEXEC);
    connect(m_readable, &QSocketNotifier::activated, this, &LocalConnection::readFromSocket);
    connect(m_writable, &QSocketNotifier::activated, this, &LocalConnection::writeToSocket);
    updateNotifiers();
}

LocalConnection::~LocalConnection()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

void LocalConnection::setReadLimit(qsizetype bytes)
{
    m_readLimit = std::max<qsizetype>(1, bytes);
    updateNotifiers();
}

QByteArray LocalConnection::read(qsizetype bytes)
{
    const QByteArray taken = m_in.left(bytes);
    m_in.remove(0, taken.size());
    updateNotifiers();
    return taken;
}

QByteArray LocalConnection::readAll()
{
    return read(m_in.size());
}

void LocalConnection::write(const QByteArray& bytes)
{
    if (m_fd < 0)
        return;
    m_out += bytes;
    writeToSocket();
}

void LocalConnection::closeWhenWritten()
{
    m_closeWhenWritten = true;
    if (m_out.isEmpty())
        close();
}

void LocalConnection::abort()
{
    m_out.clear();
    close();
}

void LocalConnection::readFromSocket()
{
    while (m_fd >= 0 && m_in.size() < m_readLimit) {
        char buffer[kChunk];
        const qsizetype room = std::min<qsizetype>(kChunk, m_readLimit - m_in.size());
        const ssize_t got = ::recv(m_fd, buffer, size_t(room), 0);
        if (got > 0) {
            m_in.append(buffer, got);
            continue;
        }
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            break;
        // The peer closed, or the connection broke: what arrived is still readable.
        Q_EMIT readyRead();
        close();
        return;
    }
    updateNotifiers();
    if (!m_in.isEmpty())
        Q_EMIT readyRead();
}

void LocalConnection::writeToSocket()
{
    while (m_fd >= 0 && !m_out.isEmpty()) {
        const ssize_t sent = ::send(m_fd, m_out.constData(), size_t(m_out.size()), MSG_NOSIGNAL);
        if (sent > 0) {
            m_out.remove(0, sent);
            continue;
        }
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent < 0 && (errno == EAGAIN || errno == EWOULDBLOCK))
            break;
        // The peer is gone: nothing more can reach it.
        m_out.clear();
        close();
        return;
    }
    if (m_out.isEmpty() && m_closeWhenWritten) {
        close();
        return;
    }
    updateNotifiers();
}

void LocalConnection::close()
{
    if (m_fd < 0)
        return;
    m_readable->setEnabled(false);
    m_writable->setEnabled(false);
    ::close(m_fd);
    m_fd = -1;
    Q_EMIT closed();
}

void LocalConnection::updateNotifiers()
{
    if (m_fd < 0)
        return;
    m_readable->setEnabled(m_in.size() < m_readLimit);
    m_writable->setEnabled(!m_out.isEmpty());
}

std::optional<QByteArray> LocalConnection::exchange(
    const QString& path, const QByteArray& request, int timeoutMs, int answerTimeoutMs, qsizetype maxAnswer)
{
    const int fd = connectTo(path, timeoutMs);
    if (fd < 0)
        return std::nullopt;
    QElapsedTimer waited;
    waited.start();
    qsizetype written = 0;
    while (written < request.size()) {
        if (!waitFor(fd, POLLOUT, timeoutMs - waited.elapsed())) {
            ::close(fd);
            return std::nullopt;
        }
        const ssize_t sent = ::send(fd, request.constData() + written, size_t(request.size() - written), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR && errno != EAGAIN) {
            ::close(fd);
            return std::nullopt;
        }
        written += std::max<ssize_t>(0, sent);
    }
    // The instance closes the connection once it has said everything.
    QByteArray answer;
    waited.restart();
    while (answer.size() <= maxAnswer && waitFor(fd, POLLIN, answerTimeoutMs - waited.elapsed())) {
        char buffer[kChunk];
        const ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        answer.append(buffer, got);
    }
    ::close(fd);
    return answer;
}

bool LocalConnection::isListening(const QString& path)
{
    const int fd = connectTo(path, 1000);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}
