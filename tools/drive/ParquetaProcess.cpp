#include "ParquetaProcess.h"

#include "ChildProcess.h"
#include "VirtualDesktop.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString kReadyText = QStringLiteral("is running on");
// Numbers the runs of all instances, so every run keeps its own log.
int g_runs = 0;

} // namespace

ParquetaProcess::ParquetaProcess(VirtualDesktop& desktop)
    : m_desktop(desktop)
    , m_process(std::make_unique<ChildProcess>())
{ }

ParquetaProcess::~ParquetaProcess()
{
    if (m_process->isRunning())
        m_process->stop(5000);
}

QString ParquetaProcess::executable()
{
    const QString overridden = qEnvironmentVariable("PARQUETA_EXECUTABLE");
    return overridden.isEmpty() ? QStringLiteral(PARQUETA_EXECUTABLE_PATH) : overridden;
}

QString ParquetaProcess::settingsPath()
{
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/parqueta/parqueta.json");
}

bool ParquetaProcess::fail(const QString& message)
{
    m_lastError = message;
    std::fprintf(stderr, "[parqueta process] %s\n", qPrintable(message));
    if (::testing::UnitTest::GetInstance()->current_test_info() != nullptr)
        ADD_FAILURE() << message.toStdString();
    return false;
}

bool ParquetaProcess::start(bool waitForReady)
{
    if (m_process->isRunning())
        return fail(QStringLiteral("parqueta is already running (pid %1)").arg(m_process->pid()));
    const QString program = executable();
    if (ChildProcess::findProgram(program).isEmpty())
        return fail(QStringLiteral("%1 is not an executable: build the parqueta target, or set "
                                   "PARQUETA_EXECUTABLE")
                        .arg(program));
    if (qEnvironmentVariable("DISPLAY") != m_desktop.displayName())
        return fail(QStringLiteral("DISPLAY is not the virtual desktop's"));
    const QString dir = m_desktop.scratchDir() + QStringLiteral("/logs");
    QDir().mkpath(dir);
    m_logFile = QStringLiteral("%1/parqueta-%2-%3.log").arg(dir).arg(::getpid()).arg(++g_runs);
    QFile::remove(m_logFile);
    const QStringList arguments
        = m_arguments + (m_showsOnboarding ? QStringList() : QStringList {QStringLiteral("--no-onboarding")});
    if (!m_process->start(program, arguments, m_logFile))
        return fail(QStringLiteral("cannot start %1: %2").arg(program, m_process->errorString()));
    return !waitForReady || waitUntilReady();
}

std::optional<int> ParquetaProcess::launchAgain(const QStringList& arguments, int timeoutMs)
{
    const std::optional<LaunchOutcome> outcome = runLaunch(arguments, timeoutMs, QProcess::ForwardedChannels);
    return outcome ? std::optional<int>(outcome->exitCode) : std::nullopt;
}

std::optional<LaunchOutcome> ParquetaProcess::command(const QStringList& arguments, int timeoutMs)
{
    return runLaunch(arguments, timeoutMs, QProcess::SeparateChannels);
}

std::optional<LaunchOutcome> ParquetaProcess::runLaunch(
    const QStringList& arguments, int timeoutMs, QProcess::ProcessChannelMode channels)
{
    QProcess launch;
    launch.setProcessChannelMode(channels);
    launch.start(executable(), arguments);
    if (!launch.waitForFinished(timeoutMs)) {
        launch.kill();
        launch.waitForFinished();
        return std::nullopt;
    }
    if (launch.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return LaunchOutcome {launch.exitCode(), QString::fromUtf8(launch.readAllStandardOutput()),
        QString::fromUtf8(launch.readAllStandardError())};
}

bool ParquetaProcess::waitUntilReady(int timeoutMs)
{
    bool exited = false;
    const bool ready = VirtualDesktop::waitUntil(
        [&] {
            if (logText().contains(kReadyText))
                return true;
            exited = !m_process->isRunning();
            return exited;
        },
        timeoutMs);
    if (ready && !exited)
        return true;
    if (exited)
        return fail(QStringLiteral("parqueta exited during start-up (wait status %1):\n%2")
                        .arg(m_process->exitStatus())
                        .arg(m_process->logTail(30)));
    return fail(QStringLiteral("parqueta did not log \"%1\" within %2 ms:\n%3")
                    .arg(kReadyText)
                    .arg(timeoutMs)
                    .arg(m_process->logTail(30)));
}

std::optional<int> ParquetaProcess::terminate(int timeoutMs)
{
    if (!m_process->isRunning())
        return std::nullopt;
    const pid_t pid = m_process->pid();
    // The program alone gets the signal, as from a session manager; its group is
    // cleared only if it does not go in time.
    ::kill(pid, SIGTERM);
    const bool stopped = VirtualDesktop::waitUntil([&] { return !m_process->isRunning(); }, timeoutMs);
    if (!stopped) {
        m_process->stop(0);
        fail(QStringLiteral("parqueta did not exit within %1 ms of SIGTERM; killed").arg(timeoutMs));
        return std::nullopt;
    }
    const int status = m_process->exitStatus();
    if (!WIFEXITED(status))
        return std::nullopt;
    return WEXITSTATUS(status);
}

void ParquetaProcess::kill9()
{
    if (!m_process->isRunning())
        return;
    ::kill(m_process->pid(), SIGKILL);
    VirtualDesktop::waitUntil([&] { return !m_process->isRunning(); }, 5000);
}

bool ParquetaProcess::isRunning()
{
    return m_process->isRunning();
}

pid_t ParquetaProcess::pid() const
{
    return m_process->pid();
}

int ParquetaProcess::waitStatus() const
{
    return m_process->exitStatus();
}

QString ParquetaProcess::logFile() const
{
    return m_logFile;
}

QString ParquetaProcess::logText() const
{
    QFile file(m_logFile);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLocal8Bit(file.readAll());
}

int ParquetaProcess::logCount(const QString& text) const
{
    int count = 0;
    const QStringList lines = logText().split(QLatin1Char('\n'));
    for (const QString& line : lines)
        count += line.contains(text) ? 1 : 0;
    return count;
}

std::optional<ProcessSample> ParquetaProcess::sample() const
{
    return ProcessSample::of(m_process->pid());
}

std::optional<ProcessSample> ProcessSample::of(pid_t pid)
{
    if (pid <= 0)
        return std::nullopt;
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!stat.open(QIODevice::ReadOnly) || !status.open(QIODevice::ReadOnly))
        return std::nullopt;
    ProcessSample result;
    // The command name may hold spaces and parentheses: fields count from the last ')'.
    const QByteArray statText = stat.readAll();
    const QList<QByteArray> fields = statText.mid(statText.lastIndexOf(')') + 2).split(' ');
    // Fields 14 and 15 of the whole line (utime, stime) are 11 and 12 after the name.
    if (fields.size() < 13)
        return std::nullopt;
    const double ticks = double(::sysconf(_SC_CLK_TCK));
    result.cpuSeconds = (fields[11].toDouble() + fields[12].toDouble()) / ticks;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> parts = line.simplified().split(' ');
        if (parts.size() < 2)
            continue;
        if (parts[0] == "VmRSS:")
            result.rssBytes = parts[1].toLongLong() * 1024;
        else if (parts[0] == "RssAnon:")
            result.rssAnonBytes = parts[1].toLongLong() * 1024;
        else if (parts[0] == "RssFile:")
            result.rssFileBytes = parts[1].toLongLong() * 1024;
        else if (parts[0] == "RssShmem:")
            result.rssShmemBytes = parts[1].toLongLong() * 1024;
        else if (parts[0] == "voluntary_ctxt_switches:")
            result.voluntarySwitches = parts[1].toLongLong();
        else if (parts[0] == "nonvoluntary_ctxt_switches:")
            result.involuntarySwitches = parts[1].toLongLong();
    }
    return result;
}
