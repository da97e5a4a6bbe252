#include "app/LocalSocketServer.h"

#include "app/LocalConnection.h"

#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr int kBacklog = 50;
}

LocalSocketServer::LocalSocketServer(QObject* parent)
    : QObject(parent)
{ }

LocalSocketServer::~LocalSocketServer()
{
    if (m_fd < 0)
        return;
    ::close(m_fd);
    ::unlink(QFile::encodeName(m_path).constData());
}

bool LocalSocketServer::listen(const QString& path)
{
    const QByteArray target = QFile::encodeName(path);
    sockaddr_un address {};
    if (target.isEmpty() || target.size() >= qsizetype(sizeof address.sun_path)) {
        m_error = QStringLiteral("the socket path is too long");
        return false;
    }
    if (QFileInfo::exists(path)) {
        m_error = QStringLiteral("%1 exists already").arg(path);
        return false;
    }
    // Made in a directory only this user can enter and moved into place once it is
    // private itself, so nobody else ever gets to connect.
    QByteArray privateDir = QFile::encodeName(QFileInfo(path).absolutePath()) + "/.parqueta-XXXXXX";
    if (!::mkdtemp(privateDir.data())) {
        m_error = QStringLiteral("cannot make a private directory next to %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    const QByteArray staging = privateDir + "/socket";
    const auto cleanUp = [&] {
        ::unlink(staging.constData());
        ::rmdir(privateDir.constData());
    };
    address.sun_family = AF_UNIX;
    const QByteArray bound = staging.size() < qsizetype(sizeof address.sun_path) ? staging : target;
    std::memcpy(address.sun_path, bound.constData(), size_t(bound.size()));

    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0) {
        m_error = QString::fromLocal8Bit(std::strerror(errno));
        cleanUp();
        return false;
    }
    ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    const bool ok = ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0
        && ::chmod(bound.constData(), S_IRUSR | S_IWUSR) == 0 && ::listen(fd, kBacklog) == 0
        && (bound == target || ::rename(bound.constData(), target.constData()) == 0);
    if (!ok) {
        m_error = QString::fromLocal8Bit(std::strerror(errno));
        ::close(fd);
        cleanUp();
        return false;
    }
    cleanUp();
    m_fd = fd;
    m_path = path;
    m_notifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &LocalSocketServer::newConnection);
    return true;
}

LocalConnection* LocalSocketServer::nextPendingConnection()
{
    if (m_fd < 0)
        return nullptr;
    int fd = -1;
    do
        fd = ::accept(m_fd, nullptr, nullptr);
    while (fd < 0 && errno == EINTR);
    if (fd < 0)
        return nullptr;
    return new LocalConnection(fd, this);
}
