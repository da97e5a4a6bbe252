#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>

// A helper program of the virtual desktop (Xvfb, a window manager, a panel, a client).
// It runs in its own process group with its output in a log file, and it is killed
// when this object dies, when the test process exits, when a fatal signal arrives and
// (through PR_SET_PDEATHSIG) even when the test process is killed outright.
class ChildProcess final
{
public:
    ChildProcess() = default;
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // The absolute path of a program found in $PATH, or empty.
    static QString findProgram(const QString& program);

    // Starts program (a name looked up in $PATH or a path) with the current
    // environment. keepFd (>= 0) stays open in the child under the same number.
    // Returns false with errorString() set when the program cannot be started.
    bool start(const QString& program, const QStringList& arguments, const QString& logFile, int keepFd = -1);

    // SIGTERM to the process group, SIGKILL after timeoutMs; reaps the child.
    void stop(int timeoutMs = 2000);

    // Reaps the child if it exited; false once it is gone.
    bool isRunning();
    pid_t pid() const { return m_pid; }
    int exitStatus() const { return m_status; }
    QString errorString() const { return m_error; }
    QString logFile() const { return m_logFile; }
    // The last lines of the log, for failure messages.
    QString logTail(int maxLines = 15) const;

    // Runs a program to completion (xrandr, xprop ...). Returns its exit code, or -1
    // when it could not be started or timed out; output receives stdout+stderr.
    static int run(
        const QString& program, const QStringList& arguments, QString* output = nullptr, int timeoutMs = 10000);

    // Kills every live child with SIGKILL; async-signal-safe.
    static void killAllNow();

private:
    pid_t m_pid = 0;
    int m_status = 0;
    QString m_error;
    QString m_logFile;
};
