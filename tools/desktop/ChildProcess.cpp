#include "ChildProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

// Process-group ids of live children, readable from a signal handler.
constexpr int kMaxChildren = 256;
std::atomic<pid_t> g_children[kMaxChildren];

void registerChild(pid_t pid)
{
    for (auto& slot : g_children) {
        pid_t expected = 0;
        if (slot.compare_exchange_strong(expected, pid))
            return;
    }
}

void unregisterChild(pid_t pid)
{
    for (auto& slot : g_children) {
        pid_t expected = pid;
        if (slot.compare_exchange_strong(expected, 0))
            return;
    }
}

void fatalSignalHandler(int signal)
{
    ChildProcess::killAllNow();
    // SA_RESETHAND restored the default action: die the way we were going to.
    ::raise(signal);
}

void installCleanupOnce()
{
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    std::atexit(&ChildProcess::killAllNow);
    struct sigaction action
    { };
    action.sa_handler = &fatalSignalHandler;
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        struct sigaction previous
        { };
        // Leave handlers someone else installed (a sanitizer) alone.
        if (::sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler != SIG_DFL)
            continue;
        ::sigaction(signal, &action, nullptr);
    }
}

// Everything the child needs, prepared before fork(): only async-signal-safe calls
// happen between fork() and exec().
struct ExecPlan
{
    QByteArray path;
    std::vector<QByteArray> arguments;
    std::vector<char*> argv;

    ExecPlan(const QString& program, const QStringList& args)
        : path(QFile::encodeName(program))
    {
        arguments.push_back(path);
        for (const QString& argument : args)
            arguments.push_back(argument.toLocal8Bit());
        for (QByteArray& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
    }
};

[[noreturn]] void execChild(const ExecPlan& plan, int outFd, int keepFd, pid_t parent)
{
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(127);
    sigset_t none;
    sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
    const int devNull = ::open("/dev/null", O_RDONLY);
    if (devNull >= 0)
        ::dup2(devNull, STDIN_FILENO);
    if (outFd >= 0) {
        ::dup2(outFd, STDOUT_FILENO);
        ::dup2(outFd, STDERR_FILENO);
    }
    if (keepFd >= 0) {
        const int flags = ::fcntl(keepFd, F_GETFD);
        ::fcntl(keepFd, F_SETFD, flags & ~FD_CLOEXEC);
    }
    ::execve(plan.path.constData(), plan.argv.data(), environ);
    ::_exit(127);
}

} // namespace

ChildProcess::~ChildProcess()
{
    stop();
}

QString ChildProcess::findProgram(const QString& program)
{
    if (program.contains(QLatin1Char('/')))
        return QFileInfo(program).isExecutable() ? QFileInfo(program).absoluteFilePath() : QString();
    const QStringList dirs = qEnvironmentVariable("PATH", QStringLiteral("/usr/bin:/bin")).split(QLatin1Char(':'));
    for (const QString& dir : dirs) {
        const QFileInfo candidate(QDir(dir.isEmpty() ? QStringLiteral(".") : dir), program);
        if (candidate.isFile() && candidate.isExecutable())
            return candidate.absoluteFilePath();
    }
    return {};
}

bool ChildProcess::start(const QString& program, const QStringList& arguments, const QString& logFile, int keepFd)
{
    stop();
    installCleanupOnce();
    m_error.clear();
    m_status = 0;
    m_logFile = logFile;
    const QString path = findProgram(program);
    if (path.isEmpty()) {
        m_error = QStringLiteral("%1 is not installed").arg(program);
        return false;
    }
    const int outFd = ::open(QFile::encodeName(logFile).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (outFd < 0) {
        m_error = QStringLiteral("cannot open %1: %2").arg(logFile, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    const ExecPlan plan(path, arguments);
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0)
        execChild(plan, outFd, keepFd, parent);
    ::close(outFd);
    if (pid < 0) {
        m_error = QStringLiteral("fork failed: %1").arg(QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    // Also from the parent side, so a kill right after fork() reaches the group.
    ::setpgid(pid, pid);
    m_pid = pid;
    registerChild(pid);
    return true;
}

bool ChildProcess::isRunning()
{
    if (m_pid <= 0)
        return false;
    int status = 0;
    const pid_t result = ::waitpid(m_pid, &status, WNOHANG);
    if (result == 0)
        return true;
    unregisterChild(m_pid);
    m_status = status;
    m_pid = 0;
    return false;
}

void ChildProcess::stop(int timeoutMs)
{
    if (!isRunning())
        return;
    const pid_t group = m_pid;
    ::kill(-group, SIGTERM);
    QElapsedTimer timer;
    timer.start();
    while (isRunning()) {
        if (timer.elapsed() > timeoutMs) {
            ::kill(-m_pid, SIGKILL);
            int status = 0;
            ::waitpid(m_pid, &status, 0);
            unregisterChild(m_pid);
            m_status = status;
            m_pid = 0;
            return;
        }
        ::usleep(5000);
    }
    // Grandchildren left in the group (a shell's children) go too. The group id is
    // not reused while any member lives, so this cannot hit a stranger.
    ::kill(-group, SIGKILL);
}

QString ChildProcess::logTail(int maxLines) const
{
    QFile file(m_logFile);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromLocal8Bit(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    if (lines.size() > maxLines)
        lines = lines.mid(lines.size() - maxLines);
    return lines.join(QLatin1Char('\n'));
}

int ChildProcess::run(const QString& program, const QStringList& arguments, QString* output, int timeoutMs)
{
    installCleanupOnce();
    const QString path = findProgram(program);
    if (path.isEmpty()) {
        if (output)
            *output = QStringLiteral("%1 is not installed").arg(program);
        return -1;
    }
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return -1;
    const ExecPlan plan(path, arguments);
    const pid_t parent = ::getpid();
    const pid_t pid = ::fork();
    if (pid == 0)
        execChild(plan, fds[1], -1, parent);
    ::close(fds[1]);
    if (pid < 0) {
        ::close(fds[0]);
        return -1;
    }
    ::setpgid(pid, pid);
    registerChild(pid);
    QByteArray text;
    QElapsedTimer timer;
    timer.start();
    bool timedOut = false;
    for (;;) {
        const qint64 left = timeoutMs - timer.elapsed();
        if (left <= 0) {
            timedOut = true;
            break;
        }
        pollfd pfd {fds[0], POLLIN, 0};
        const int ready = ::poll(&pfd, 1, static_cast<int>(left));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0) {
            timedOut = ready == 0;
            break;
        }
        char buffer[4096];
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n <= 0)
            break;
        text.append(buffer, n);
    }
    ::close(fds[0]);
    if (timedOut)
        ::kill(-pid, SIGKILL);
    int status = 0;
    ::waitpid(pid, &status, 0);
    unregisterChild(pid);
    if (output)
        *output = QString::fromLocal8Bit(text);
    if (timedOut || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

void ChildProcess::killAllNow()
{
    for (auto& slot : g_children) {
        const pid_t pid = slot.exchange(0);
        if (pid > 0)
            ::kill(-pid, SIGKILL);
    }
}
