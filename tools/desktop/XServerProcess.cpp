#include "XServerProcess.h"

#include "ChildProcess.h"

#include <QElapsedTimer>
#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

XServerProcess::XServerProcess() = default;

XServerProcess::~XServerProcess()
{
    stop();
}

bool XServerProcess::fail(const QString& message)
{
    m_error = message;
    return false;
}

bool XServerProcess::isRunning() const
{
    return m_process && m_process->isRunning();
}

QString XServerProcess::writeXorgConfig(QSize size, const QString& workDir)
{
    // No input devices (the tests type through XTest), no VT switching, and a virtual
    // root as large as the desktop the outputs will be arranged on.
    const QString text = QStringLiteral(R"(Section "ServerFlags"
    Option "AutoAddDevices" "false"
    Option "AutoEnableDevices" "false"
    Option "DontVTSwitch" "true"
EndSection
Section "Device"
    Identifier "dummy"
    Driver "dummy"
    VideoRam 65536
EndSection
Section "Monitor"
    Identifier "monitor"
    HorizSync 5.0-1000.0
    VertRefresh 5.0-200.0
EndSection
Section "Screen"
    Identifier "screen"
    Device "dummy"
    Monitor "monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Virtual %1 %2
    EndSubSection
EndSection
)")
                             .arg(size.width())
                             .arg(size.height());
    const QString path = workDir + QStringLiteral("/xorg-dummy.conf");
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(text.toUtf8()) < 0)
        return {};
    return path;
}

bool XServerProcess::start(ServerKind kind, QSize size, const QString& workDir, const QString& logDir)
{
    stop();
    m_kind = kind;
    QString program;
    QString package;
    QStringList arguments;
    if (kind == ServerKind::Xvfb) {
        program = QStringLiteral("Xvfb");
        package = QStringLiteral("xvfb");
        arguments = {QStringLiteral("-screen"), QStringLiteral("0"),
            QStringLiteral("%1x%2x24").arg(size.width()).arg(size.height())};
    } else {
        program = QStringLiteral("Xorg");
        package = QStringLiteral("xserver-xorg-core and xserver-xorg-video-dummy");
        const QString config = writeXorgConfig(size, workDir);
        if (config.isEmpty())
            return fail(QStringLiteral("cannot write the Xorg configuration in %1").arg(workDir));
        // -config with an absolute path needs root; the tests run as root in CI, and a
        // user's run says so in Xorg's log below.
        arguments = {QStringLiteral("-config"), config, QStringLiteral("-logfile"),
            logDir + QStringLiteral("/Xorg.log"), QStringLiteral("-novtswitch"), QStringLiteral("-sharevts")};
    }
    if (ChildProcess::findProgram(program).isEmpty())
        return fail(QStringLiteral("%1 is not installed (apt-get install %2)").arg(program, package));
    if (kind == ServerKind::XorgDummy && !QFile::exists(QStringLiteral("/usr/lib/xorg/modules/drivers/dummy_drv.so")))
        return fail(
            QStringLiteral("the Xorg dummy driver is not installed (apt-get install xserver-xorg-video-dummy)"));

    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return fail(QStringLiteral("pipe() failed"));
    arguments << QStringLiteral("-displayfd") << QString::number(fds[1]) << QStringLiteral("-nolisten")
              << QStringLiteral("tcp") << QStringLiteral("-noreset");
    m_process = std::make_unique<ChildProcess>();
    const bool started = m_process->start(program, arguments, logDir + QStringLiteral("/%1.out").arg(program), fds[1]);
    ::close(fds[1]);
    if (!started) {
        ::close(fds[0]);
        return fail(QStringLiteral("cannot start %1: %2").arg(program, m_process->errorString()));
    }
    // The server writes the display number it picked once it accepts connections.
    QByteArray number;
    QElapsedTimer timer;
    timer.start();
    while (!number.endsWith('\n') && timer.elapsed() < 15000) {
        pollfd pfd {fds[0], POLLIN, 0};
        if (::poll(&pfd, 1, 100) > 0) {
            char buffer[32];
            const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
            if (n <= 0)
                break;
            number.append(buffer, n);
        }
        if (!m_process->isRunning())
            break;
    }
    ::close(fds[0]);
    if (!number.endsWith('\n')) {
        QString log = m_process->logTail();
        if (kind == ServerKind::XorgDummy) {
            QFile xorgLog(logDir + QStringLiteral("/Xorg.log"));
            if (xorgLog.open(QIODevice::ReadOnly))
                log += QString::fromUtf8(xorgLog.readAll().right(2000));
        }
        return fail(QStringLiteral("%1 did not start:\n%2").arg(program, log));
    }
    m_displayName = QStringLiteral(":") + QString::fromLatin1(number.trimmed());
    return true;
}

void XServerProcess::stop()
{
    if (m_process)
        m_process->stop();
    m_process.reset();
}
