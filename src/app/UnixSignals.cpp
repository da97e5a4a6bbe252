#include "app/UnixSignals.h"

#include "core/Logging.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int g_pipe[2] = {-1, -1};

extern "C" void forwardSignal(int signalNumber)
{
    const unsigned char byte = static_cast<unsigned char>(signalNumber);
    // Only async-signal-safe calls here; a full pipe just drops the duplicate.
    [[maybe_unused]] const ssize_t written = ::write(g_pipe[1], &byte, 1);
}
} // namespace

UnixSignals::UnixSignals(QObject* parent)
    : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_pipe) != 0) {
        qCWarning(lcApp) << "Cannot watch termination signals; Parqueta will stop without cleaning up";
        return;
    }
    m_notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &UnixSignals::readSignal);

    struct sigaction action = {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signalNumber : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(signalNumber, &action, nullptr);
}

UnixSignals::~UnixSignals()
{
    for (int signalNumber : {SIGTERM, SIGINT, SIGHUP})
        std::signal(signalNumber, SIG_DFL);
    for (int& fd : g_pipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void UnixSignals::readSignal()
{
    unsigned char byte = 0;
    if (::read(g_pipe[0], &byte, 1) == 1) {
        qCInfo(lcApp) << "Received signal" << byte << "- quitting";
        Q_EMIT terminationRequested(byte);
    }
}
