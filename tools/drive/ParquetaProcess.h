#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <sys/types.h>

#include <memory>
#include <optional>

class ChildProcess;
class VirtualDesktop;

// What /proc says about a running process at one moment.
struct ProcessSample
{
    // User plus system CPU time since the process started.
    double cpuSeconds = 0;
    // Resident set size, and its private, file-backed and shared-memory parts.
    qint64 rssBytes = 0;
    qint64 rssAnonBytes = 0;
    qint64 rssFileBytes = 0;
    qint64 rssShmemBytes = 0;
    qint64 voluntarySwitches = 0;
    qint64 involuntarySwitches = 0;

    qint64 contextSwitches() const { return voluntarySwitches + involuntarySwitches; }

    // Any running process's, from /proc/<pid>/stat and /proc/<pid>/status.
    static std::optional<ProcessSample> of(pid_t pid);
};

// What a launch that ended printed, and its exit code.
struct LaunchOutcome
{
    int exitCode = -1;
    QString out;
    QString err;
};

// The real `parqueta` executable running on a virtual desktop, as a user would start it:
// with the desktop's scratch HOME and XDG directories (so its settings file is
// settingsPath()), DISPLAY pointing at the desktop, and its console log in a file.
//
// The executable is the one this build made; the environment variable
// PARQUETA_EXECUTABLE names another one (a sanitizer build, for instance).
//
//     ParquetaProcess parqueta(VirtualDesktop::shared());
//     ASSERT_TRUE(parqueta.start());            // waits for "... is running on ..."
//     ...
//     EXPECT_EQ(parqueta.terminate(), 0);        // SIGTERM, clean exit code
class ParquetaProcess final
{
public:
    explicit ParquetaProcess(VirtualDesktop& desktop);
    // Terminates a program that still runs (SIGTERM, then SIGKILL).
    ~ParquetaProcess();
    ParquetaProcess(const ParquetaProcess&) = delete;
    ParquetaProcess& operator=(const ParquetaProcess&) = delete;

    static QString executable();
    // $XDG_CONFIG_HOME/parqueta/parqueta.json of this process's environment, which the
    // program inherits.
    static QString settingsPath();

    // Starts the program and, unless waitForReady is false, waits until it logs that
    // its start-up is complete. On failure the reason is in lastError() (and recorded
    // as a test failure inside a running test).
    bool start(bool waitForReady = true);
    // The command line of the next start(). By default --login-item, as the session
    // starts it at login: no settings window opens by itself over the desktop under test.
    void setArguments(const QStringList& arguments) { m_arguments = arguments; }
    // Whether a first run shows its guide. Off by default: the guide would stand over the
    // windows a test drags; --no-onboarding is added to the command line.
    void setShowsOnboarding(bool shows) { m_showsOnboarding = shows; }
    // Waits for the "is running on" line of this run; false when the program exited or
    // timeoutMs passed.
    bool waitUntilReady(int timeoutMs = 20000);

    // SIGTERM to the program, waits up to timeoutMs. Returns the exit code of a normal
    // exit; nothing when it was killed by a signal, did not stop in time (it is then
    // killed) or was not running.
    std::optional<int> terminate(int timeoutMs = 10000);
    // Launches the program once more with these arguments, as a user would while it
    // runs, and returns that launch's exit code (nothing when it did not end in time).
    static std::optional<int> launchAgain(const QStringList& arguments, int timeoutMs = 10000);
    // The same, keeping what the launch printed: for the commands that answer
    // (--list, --snap-focused …). Nothing when it did not end in time.
    static std::optional<LaunchOutcome> command(const QStringList& arguments, int timeoutMs = 15000);
    // SIGKILL, as a crash or the OOM killer would; reaped before returning.
    void kill9();

    bool isRunning();
    pid_t pid() const;
    // The raw wait status of the last run that ended (see waitpid()).
    int waitStatus() const;

    QString logFile() const;
    QString logText() const;
    // How many lines of the log contain text.
    int logCount(const QString& text) const;
    QString lastError() const { return m_lastError; }

    // CPU time, resident memory and context switches from /proc/<pid>/stat and
    // /proc/<pid>/status; nothing when the program is not running.
    std::optional<ProcessSample> sample() const;

private:
    // One later launch to its end: its status and what it printed (nothing, when forwarded).
    static std::optional<LaunchOutcome> runLaunch(
        const QStringList& arguments, int timeoutMs, QProcess::ProcessChannelMode channels);
    bool fail(const QString& message);

    VirtualDesktop& m_desktop;
    std::unique_ptr<ChildProcess> m_process;
    QString m_logFile;
    QString m_lastError;
    QStringList m_arguments {QStringLiteral("--login-item")};
    bool m_showsOnboarding = false;
};
