#pragma once

#include <QSize>
#include <QString>

#include <memory>

class ChildProcess;

enum class ServerKind {
    // Xvfb: one output; monitors are RandR 1.5 monitors made with --setmonitor.
    Xvfb,
    // Xorg with the dummy video driver: real RandR outputs DUMMY0..15, which some window
    // managers (xfwm4) need before they see two heads.
    XorgDummy,
};

// The X server of a virtual desktop, started on a display number it picks itself
// (-displayfd) and stopped by process id.
class XServerProcess final
{
public:
    XServerProcess();
    ~XServerProcess();
    XServerProcess(const XServerProcess&) = delete;
    XServerProcess& operator=(const XServerProcess&) = delete;

    // Starts the server with a root of `size` (Xorg: the largest root it allows; its
    // outputs are arranged afterwards with xrandr) and waits until it accepts
    // connections. Xorg's configuration and log go to workDir and logDir.
    bool start(ServerKind kind, QSize size, const QString& workDir, const QString& logDir);
    void stop();
    bool isRunning() const;

    ServerKind kind() const { return m_kind; }
    QString displayName() const { return m_displayName; } // ":N"
    QString errorString() const { return m_error; }

private:
    bool fail(const QString& message);
    QString writeXorgConfig(QSize size, const QString& workDir);

    std::unique_ptr<ChildProcess> m_process;
    ServerKind m_kind = ServerKind::Xvfb;
    QString m_displayName;
    QString m_error;
};
