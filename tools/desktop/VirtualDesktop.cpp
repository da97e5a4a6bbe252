#include "VirtualDesktop.h"

#include "ChildProcess.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <gtest/gtest.h>
#include <xcb/randr.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

VirtualDesktop* g_shared = nullptr;

template <typename T> struct FreeDeleter
{
    void operator()(T* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter<T>>;

// RandR wants a physical size; 96 dpi keeps Qt's logical DPI sane.
int millimetres(int pixels)
{
    return pixels * 254 / 960;
}

QString windowManagerName(WindowManagerKind kind)
{
    switch (kind) {
    case WindowManagerKind::None:
        return QStringLiteral("none");
    case WindowManagerKind::Openbox:
        return QStringLiteral("openbox");
    case WindowManagerKind::Xfwm4:
        return QStringLiteral("xfwm4");
    case WindowManagerKind::Metacity:
        return QStringLiteral("metacity");
    case WindowManagerKind::Xfce:
        return QStringLiteral("xfwm4 with xfce4-panel");
    case WindowManagerKind::Icewm:
        return QStringLiteral("icewm");
    case WindowManagerKind::Fluxbox:
        return QStringLiteral("fluxbox");
    case WindowManagerKind::Kwin:
        return QStringLiteral("kwin_x11");
    }
    return {};
}

} // namespace

VirtualDesktop::VirtualDesktop() = default;

VirtualDesktop::~VirtualDesktop()
{
    stop();
    if (g_shared == this)
        g_shared = nullptr;
}

VirtualDesktop& VirtualDesktop::shared()
{
    if (!g_shared) {
        std::fprintf(stderr, "VirtualDesktop::shared() used without X11TestMain\n");
        std::abort();
    }
    return *g_shared;
}

void VirtualDesktop::setShared(VirtualDesktop* desktop)
{
    g_shared = desktop;
}

bool VirtualDesktop::fail(const QString& message)
{
    m_lastError = message;
    std::fprintf(stderr, "[virtual desktop] %s\n", qPrintable(message));

    if (::testing::UnitTest::GetInstance()->current_test_info() != nullptr)
        ADD_FAILURE() << message.toStdString();
    return false;
}

QString VirtualDesktop::scratchDir() const
{
    return m_scratch ? m_scratch->path() : QString();
}

QString VirtualDesktop::logDir() const
{
    return scratchDir() + QStringLiteral("/logs");
}

bool VirtualDesktop::requireProgram(const QString& program, const QString& package)
{
    if (!ChildProcess::findProgram(program).isEmpty())
        return true;
    if (package.isEmpty())
        return fail(QStringLiteral("%1 is missing: build the test clients first (target plain_window)").arg(program));
    return fail(
        QStringLiteral("%1 is not installed: the X11 tests need it (apt-get install %2)").arg(program, package));
}

bool VirtualDesktop::startChild(ChildProcess& child, const QString& program, const QString& package,
    const QStringList& arguments, const QString& logName)
{
    if (!requireProgram(program, package))
        return false;
    const QString log = QStringLiteral("%1/%2-%3.log").arg(logDir(), logName).arg(++m_childCounter);
    if (!child.start(program, arguments, log))
        return fail(QStringLiteral("cannot start %1: %2").arg(program, child.errorString()));
    return true;
}

bool VirtualDesktop::start(ServerKind server)
{
    if (m_connection)
        return true;
    // A short path: the session bus socket must fit in sun_path.
    m_scratch = std::make_unique<QTemporaryDir>(QStringLiteral("/tmp/parqueta-x11-XXXXXX"));
    if (!m_scratch->isValid())
        return fail(QStringLiteral("cannot create a scratch directory in /tmp"));
    const QString base = m_scratch->path();
    for (const char* dir : {"home", "runtime", "config", "cache", "data", "state", "logs"})
        QDir(base).mkpath(QString::fromLatin1(dir));
    ::chmod(QFile::encodeName(base + QStringLiteral("/runtime")).constData(), 0700);
    qputenv("HOME", QFile::encodeName(base + QStringLiteral("/home")));
    qputenv("XDG_RUNTIME_DIR", QFile::encodeName(base + QStringLiteral("/runtime")));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(base + QStringLiteral("/config")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(base + QStringLiteral("/cache")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(base + QStringLiteral("/data")));
    qputenv("XDG_STATE_HOME", QFile::encodeName(base + QStringLiteral("/state")));
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qunsetenv("SESSION_MANAGER");
    // gsettings (metacity, xfwm4) without dconf or a bus.
    qputenv("GSETTINGS_BACKEND", "memory");
    qputenv("NO_AT_BRIDGE", "1");

    m_server = std::make_unique<XServerProcess>();
    if (!m_server->start(server, QSize(kWidth, kHeight), base, logDir()))
        return fail(m_server->errorString());
    if (!requireProgram(QStringLiteral("xrandr"), QStringLiteral("x11-xserver-utils")))
        return false;
    m_displayName = m_server->displayName();
    qputenv("DISPLAY", m_displayName.toLatin1());
    int screenNumber = 0;
    m_connection = xcb_connect(m_displayName.toLatin1().constData(), &screenNumber);
    if (xcb_connection_has_error(m_connection)) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
        return fail(QStringLiteral("cannot connect to the X server on %1").arg(m_displayName));
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    return setMonitors(defaultMonitors());
}

ServerKind VirtualDesktop::serverKind() const
{
    return m_server ? m_server->kind() : ServerKind::Xvfb;
}

void VirtualDesktop::stop()
{
    stopAllClients();
    stopCompositor();
    stopPanel();
    stopWindowManager();
    if (m_bus)
        m_bus->stop();
    m_bus.reset();
    if (m_connection) {
        xcb_disconnect(m_connection);
        m_connection = nullptr;
    }
    if (m_server)
        m_server->stop();
    m_server.reset();
    // Keep the logs of every helper program when something failed, for the post-mortem.
    if (m_scratch && ::testing::UnitTest::GetInstance()->Failed()) {
        m_scratch->setAutoRemove(false);
        std::fprintf(stderr, "[virtual desktop] logs kept in %s\n", qPrintable(logDir()));
    }
}

xcb_atom_t VirtualDesktop::atom(const char* name)
{
    const QByteArray key(name);
    if (auto it = m_atoms.constFind(key); it != m_atoms.constEnd())
        return it.value();
    Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<uint16_t>(key.size()), name), nullptr));
    if (!reply)
        return XCB_ATOM_NONE;
    m_atoms.insert(key, reply->atom);
    return reply->atom;
}

// --- Monitors ---

QList<MonitorSpec> VirtualDesktop::defaultMonitors()
{
    return {{QStringLiteral("LEFT"), QRect(0, 0, kWidth / 2, kHeight), true},
        {QStringLiteral("RIGHT"), QRect(kWidth / 2, 0, kWidth / 2, kHeight), false}};
}

QStringList VirtualDesktop::monitorNames()
{
    QStringList names;
    Reply<xcb_randr_get_monitors_reply_t> reply(
        xcb_randr_get_monitors_reply(m_connection, xcb_randr_get_monitors(m_connection, m_root, 1), nullptr));
    if (!reply)
        return names;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem; xcb_randr_monitor_info_next(&it)) {
        Reply<xcb_get_atom_name_reply_t> name(
            xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, it.data->name), nullptr));
        if (name)
            names << QString::fromLatin1(xcb_get_atom_name_name(name.get()), xcb_get_atom_name_name_length(name.get()));
    }
    return names;
}

bool VirtualDesktop::arrangeXorgOutputs()
{
    QStringList names = monitorNames();
    std::sort(names.begin(), names.end());
    if (names == QStringList {QStringLiteral("LEFT"), QStringLiteral("RIGHT")})
        return true;
    // The dummy driver's outputs know no 1280x1080 mode; its timings only have to lie
    // within the configured sync ranges.
    const QString mode = QStringLiteral("%1x%2").arg(kWidth / 2).arg(kHeight);
    ChildProcess::run(QStringLiteral("xrandr"),
        {QStringLiteral("--newmode"), mode, QStringLiteral("115.0"), QStringLiteral("1280"), QStringLiteral("1368"),
            QStringLiteral("1496"), QStringLiteral("1712"), QStringLiteral("1080"), QStringLiteral("1083"),
            QStringLiteral("1093"), QStringLiteral("1120"), QStringLiteral("-hsync"), QStringLiteral("+vsync")});
    const QList<QStringList> steps {
        {QStringLiteral("--addmode"), QStringLiteral("DUMMY0"), mode},
        {QStringLiteral("--addmode"), QStringLiteral("DUMMY1"), mode},
        {QStringLiteral("--fb"), QStringLiteral("%1x%2").arg(kWidth).arg(kHeight), QStringLiteral("--output"),
            QStringLiteral("DUMMY0"), QStringLiteral("--mode"), mode, QStringLiteral("--pos"), QStringLiteral("0x0"),
            QStringLiteral("--primary"), QStringLiteral("--output"), QStringLiteral("DUMMY1"), QStringLiteral("--mode"),
            mode, QStringLiteral("--pos"), QStringLiteral("%1x0").arg(kWidth / 2)},
        // Monitors named after their place, as on Xvfb, each the whole of its output.
        {QStringLiteral("--setmonitor"), QStringLiteral("*LEFT"), QStringLiteral("auto"), QStringLiteral("DUMMY0")},
        {QStringLiteral("--setmonitor"), QStringLiteral("RIGHT"), QStringLiteral("auto"), QStringLiteral("DUMMY1")},
    };
    for (const QStringList& step : steps) {
        QString output;
        if (ChildProcess::run(QStringLiteral("xrandr"), step, &output) != 0)
            return fail(QStringLiteral("xrandr %1 failed: %2").arg(step.join(QLatin1Char(' ')), output));
    }
    // The dummy driver reports an output it has just lit as disconnected until the next
    // probe; GTK skips such a monitor, and xfwm4 then takes the first one for the whole
    // screen. A plain query probes.
    ChildProcess::run(QStringLiteral("xrandr"), {QStringLiteral("--query")});
    const bool done = waitUntil([&] {
        QStringList now = monitorNames();
        std::sort(now.begin(), now.end());
        return now == QStringList {QStringLiteral("LEFT"), QStringLiteral("RIGHT")};
    });
    if (!done)
        return fail(QStringLiteral("Xorg reports monitors %1 after arranging its outputs")
                        .arg(monitorNames().join(QLatin1Char(','))));
    return true;
}

bool VirtualDesktop::setMonitors(const QList<MonitorSpec>& monitors)
{
    if (serverKind() == ServerKind::XorgDummy) {
        if (monitors.size() != 2 || monitors.first().geometry != defaultMonitors().first().geometry
            || monitors.last().geometry != defaultMonitors().last().geometry)
            return fail(QStringLiteral("on Xorg the desktop has only its two default monitors"));
        return arrangeXorgOutputs();
    }
    // Drop every monitor made by hand; the server's automatic one comes back by itself.
    {
        Reply<xcb_randr_get_monitors_reply_t> reply(
            xcb_randr_get_monitors_reply(m_connection, xcb_randr_get_monitors(m_connection, m_root, 0), nullptr));
        if (!reply)
            return fail(QStringLiteral("RandR 1.5 monitors are not available on %1").arg(m_displayName));
        QStringList manual;
        for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem;
             xcb_randr_monitor_info_next(&it)) {
            if (it.data->automatic)
                continue;
            Reply<xcb_get_atom_name_reply_t> name(
                xcb_get_atom_name_reply(m_connection, xcb_get_atom_name(m_connection, it.data->name), nullptr));
            if (name)
                manual << QString::fromLatin1(
                    xcb_get_atom_name_name(name.get()), xcb_get_atom_name_name_length(name.get()));
        }
        for (const QString& name : manual) {
            QString output;
            if (ChildProcess::run(QStringLiteral("xrandr"), {QStringLiteral("--delmonitor"), name}, &output) != 0)
                return fail(QStringLiteral("xrandr --delmonitor %1 failed: %2").arg(name, output));
        }
    }
    // The server's one output goes to the primary monitor (else the first), so the
    // automatic whole-screen monitor disappears.
    qsizetype outputOwner = 0;
    for (qsizetype i = 0; i < monitors.size(); ++i) {
        if (monitors[i].primary) {
            outputOwner = i;
            break;
        }
    }
    QStringList expected;
    for (qsizetype i = 0; i < monitors.size(); ++i) {
        const MonitorSpec& m = monitors[i];
        const QString geometry = QStringLiteral("%1/%2x%3/%4+%5+%6")
                                     .arg(m.geometry.width())
                                     .arg(millimetres(m.geometry.width()))
                                     .arg(m.geometry.height())
                                     .arg(millimetres(m.geometry.height()))
                                     .arg(m.geometry.x())
                                     .arg(m.geometry.y());
        const QString name = (m.primary ? QStringLiteral("*") : QString()) + m.name;
        const QString output = i == outputOwner ? QStringLiteral("screen") : QStringLiteral("none");
        QString text;
        if (ChildProcess::run(QStringLiteral("xrandr"), {QStringLiteral("--setmonitor"), name, geometry, output}, &text)
            != 0)
            return fail(QStringLiteral("xrandr --setmonitor %1 %2 %3 failed: %4").arg(name, geometry, output, text));
        expected << m.name;
    }
    std::sort(expected.begin(), expected.end());
    const bool done = waitUntil([&] {
        QStringList names = monitorNames();
        std::sort(names.begin(), names.end());
        return names == expected;
    });
    if (!done)
        return fail(QStringLiteral("the server reports monitors %1 instead of %2")
                        .arg(monitorNames().join(QLatin1Char(',')), expected.join(QLatin1Char(','))));
    return true;
}

bool VirtualDesktop::deleteMonitor(const QString& name)
{
    QString output;
    if (ChildProcess::run(QStringLiteral("xrandr"), {QStringLiteral("--delmonitor"), name}, &output) != 0)
        return fail(QStringLiteral("xrandr --delmonitor %1 failed: %2").arg(name, output));
    if (!waitUntil([&] { return !monitorNames().contains(name); }))
        return fail(QStringLiteral("monitor %1 is still there after --delmonitor").arg(name));
    return true;
}

// --- Session services ---

bool VirtualDesktop::startSessionBus()
{
    if (m_bus && m_bus->isRunning())
        return true;
    m_bus = std::make_unique<ChildProcess>();
    const QString socket = scratchDir() + QStringLiteral("/runtime/bus");
    QFile::remove(socket);
    const QString address = QStringLiteral("unix:path=") + socket;
    if (!startChild(*m_bus, QStringLiteral("dbus-daemon"), QStringLiteral("dbus-daemon"),
            {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                QStringLiteral("--address=") + address},
            QStringLiteral("dbus")))
        return false;
    if (!waitUntil([&] { return QFile::exists(socket) || !m_bus->isRunning(); }) || !m_bus->isRunning())
        return fail(QStringLiteral("dbus-daemon did not start:\n%1").arg(m_bus->logTail()));
    qputenv("DBUS_SESSION_BUS_ADDRESS", address.toLatin1());
    return true;
}

xcb_window_t VirtualDesktop::selectionOwner(const char* selection)
{
    Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(m_connection, xcb_get_selection_owner(m_connection, atom(selection)), nullptr));
    return reply ? reply->owner : xcb_window_t(XCB_WINDOW_NONE);
}

bool VirtualDesktop::waitForWindowManager(ChildProcess& child, const QString& what)
{
    const bool ready = waitUntil(
        [&] {
            if (!child.isRunning())
                return true;
            // fluxbox never takes the ICCCM manager selection.
            if (what != QLatin1String("fluxbox") && selectionOwner("WM_S0") == XCB_WINDOW_NONE)
                return false;
            const QList<quint32> check = property32(m_root, "_NET_SUPPORTING_WM_CHECK");
            if (check.isEmpty())
                return false;
            // A stale property of an earlier manager points at a window that is gone.
            const QList<quint32> self = property32(check.first(), "_NET_SUPPORTING_WM_CHECK");
            return !self.isEmpty() && self.first() == check.first();
        },
        15000);
    if (!child.isRunning())
        return fail(QStringLiteral("%1 exited during start-up:\n%2").arg(what, child.logTail()));
    if (!ready)
        return fail(QStringLiteral("%1 did not take over the screen within 15 s:\n%2").arg(what, child.logTail()));

    // openbox publishes its check window before it handles map requests, and a window
    // mapped in between is never managed. So map a probe until the manager lists it.
    QElapsedTimer timer;
    timer.start();
    bool managed = false;
    while (!managed && timer.elapsed() < 15000 && child.isRunning()) {
        const xcb_window_t probe = xcb_generate_id(m_connection);
        xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, probe, m_root, 0, 0, 10, 10, 0,
            XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_map_window(m_connection, probe);
        xcb_flush(m_connection);
        managed = waitUntil([&] { return clientList().contains(probe); }, 500);
        xcb_destroy_window(m_connection, probe);
        xcb_flush(m_connection);
    }
    waitUntil([&] { return clientList().isEmpty() || !child.isRunning(); }, 2000);
    if (!managed)
        return fail(QStringLiteral("%1 does not manage new windows:\n%2").arg(what, child.logTail()));
    return true;
}

bool VirtualDesktop::startWindowManager(WindowManagerKind kind)
{
    stopWindowManager();
    if (kind == WindowManagerKind::None)
        return true;
    QString program;
    QString package;
    QStringList arguments;
    switch (kind) {
    case WindowManagerKind::None:
        return true;
    case WindowManagerKind::Openbox:
        program = QStringLiteral("openbox");
        package = QStringLiteral("openbox");
        arguments = {QStringLiteral("--sm-disable")};
        break;
    case WindowManagerKind::Xfwm4:
        if (!startSessionBus())
            return false;
        program = QStringLiteral("xfwm4");
        package = QStringLiteral("xfwm4");
        arguments = {QStringLiteral("--compositor=off"), QStringLiteral("--sm-client-disable")};
        break;
    case WindowManagerKind::Metacity:
        program = QStringLiteral("metacity");
        package = QStringLiteral("metacity");
        arguments = {QStringLiteral("--compositor=none"), QStringLiteral("--sm-disable")};
        break;
    case WindowManagerKind::Xfce:
        if (!startSessionBus())
            return false;
        program = QStringLiteral("xfwm4");
        package = QStringLiteral("xfwm4");
        arguments = {QStringLiteral("--compositor=off"), QStringLiteral("--sm-client-disable")};
        break;
    case WindowManagerKind::Icewm: {
        // Stated rather than left to the stock preferences, which a distribution may change.
        const QString dir = QString::fromLocal8Bit(qgetenv("HOME")) + QStringLiteral("/.icewm");
        QDir().mkpath(dir);
        QFile preferences(dir + QStringLiteral("/preferences"));
        if (!preferences.open(QIODevice::WriteOnly | QIODevice::Truncate)
            || preferences.write("ShowTaskBar=1\nTaskBarAtTop=0\nTaskBarAutoHide=0\n"
                                 // Its Super key opens the start menu and swallows every
                                 // combination with Super, Parqueta's shortcuts included.
                                 "Win95Keys=0\n")
                < 0)
            return fail(QStringLiteral("cannot write %1").arg(preferences.fileName()));
        program = QStringLiteral("icewm");
        package = QStringLiteral("icewm");
        break;
    }
    case WindowManagerKind::Fluxbox:
        program = QStringLiteral("fluxbox");
        package = QStringLiteral("fluxbox");
        break;
    case WindowManagerKind::Kwin:
        if (!startSessionBus())
            return false;
        qputenv("KWIN_COMPOSE", "N");
        program = QStringLiteral("kwin_x11");
        package = QStringLiteral("kwin-x11 and kwin-style-breeze");
        break;
    }
    m_windowManager = std::make_unique<ChildProcess>();
    const bool started = startChild(*m_windowManager, program, package, arguments, program);
    qunsetenv("KWIN_COMPOSE");
    if (!started)
        return false;
    if (!waitForWindowManager(*m_windowManager, program)) {
        m_windowManager->stop();
        return false;
    }
    m_windowManagerKind = kind;
    if (kind == WindowManagerKind::Xfce) {
        m_desktopPanel = std::make_unique<ChildProcess>();
        if (!startChild(*m_desktopPanel, QStringLiteral("xfce4-panel"), QStringLiteral("xfce4-panel"),
                {QStringLiteral("--disable-wm-check")}, QStringLiteral("xfce4-panel"))
            || !waitForReservedSpace(*m_desktopPanel, QStringLiteral("xfce4-panel")))
            return false;
    } else if (kind == WindowManagerKind::Icewm || kind == WindowManagerKind::Fluxbox) {
        if (!waitForReservedSpace(*m_windowManager, program))
            return false;
    }
    return true;
}

bool VirtualDesktop::waitForReservedSpace(ChildProcess& program, const QString& what)
{
    const bool reserved = waitUntil(
        [&] {
            const QList<quint32> area = property32(m_root, "_NET_WORKAREA");
            return !program.isRunning() || (area.size() >= 4 && (area[2] < kWidth || area[3] < kHeight));
        },
        10000);
    if (!program.isRunning())
        return fail(QStringLiteral("%1 exited during start-up:\n%2").arg(what, program.logTail()));
    if (!reserved)
        return fail(QStringLiteral("%1 reserved no space for its panel within 10 s:\n%2").arg(what, program.logTail()));
    // Panels settle in a few steps (size, then strut, then the work area).
    pump(300);
    return true;
}

bool VirtualDesktop::setXftDpi(int dpi)
{
    const xcb_atom_t resources = atom("RESOURCE_MANAGER");
    if (dpi <= 0) {
        xcb_delete_property(m_connection, m_root, resources);
    } else {
        const QByteArray text = QByteArrayLiteral("Xft.dpi:\t") + QByteArray::number(dpi) + '\n';
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_root, resources, XCB_ATOM_STRING, 8,
            uint32_t(text.size()), text.constData());
    }
    Reply<xcb_get_input_focus_reply_t> sync(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return sync != nullptr || fail(QStringLiteral("the X connection is gone"));
}

bool VirtualDesktop::setMaximized(xcb_window_t window, bool maximized)
{
    const std::optional<QRect> before = visibleFrame(window);
    xcb_client_message_event_t message {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atom("_NET_WM_STATE");
    message.data.data32[0] = maximized ? 1 : 0; // _NET_WM_STATE_ADD / _REMOVE
    message.data.data32[1] = atom("_NET_WM_STATE_MAXIMIZED_VERT");
    message.data.data32[2] = atom("_NET_WM_STATE_MAXIMIZED_HORZ");
    message.data.data32[3] = 2; // from a pager
    xcb_send_event(m_connection, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
        reinterpret_cast<const char*>(&message));
    xcb_flush(m_connection);
    const bool changed = waitUntil([&] {
        const QList<quint32> state = property32(window, "_NET_WM_STATE");
        const bool isMaximized = state.contains(message.data.data32[1]) && state.contains(message.data.data32[2]);
        return isMaximized == maximized && visibleFrame(window) != before;
    });
    if (!changed)
        return fail(QStringLiteral("the window manager did not %1 window 0x%2")
                        .arg(maximized ? QStringLiteral("maximize") : QStringLiteral("restore"))
                        .arg(window, 0, 16));
    // Some managers move and resize in two steps: wait for two equal readings.
    std::optional<QRect> last;
    waitUntil([&] {
        const std::optional<QRect> now = visibleFrame(window);
        const bool stable = now == last;
        last = now;
        if (!stable)
            pump(50);
        return stable;
    });
    return true;
}

void VirtualDesktop::stopWindowManager()
{
    if (m_desktopPanel)
        m_desktopPanel->stop();
    m_desktopPanel.reset();
    if (m_windowManager) {
        m_windowManager->stop();
        m_windowManager.reset();
        // Managed windows are reparented back to the root once the manager's
        // connection closes; wait for that so the next manager starts clean.
        if (m_connection)
            waitUntil([&] { return selectionOwner("WM_S0") == XCB_WINDOW_NONE; }, 3000);
    }
    m_windowManagerKind = WindowManagerKind::None;
}

bool VirtualDesktop::startPanel(int monitorIndex)
{
    stopPanel();
    QFile stock(QStringLiteral("/etc/xdg/tint2/tint2rc"));
    if (!stock.open(QIODevice::ReadOnly))
        return fail(QStringLiteral("/etc/xdg/tint2/tint2rc is missing (apt-get install tint2)"));
    QStringList lines = QString::fromUtf8(stock.readAll()).split(QLatin1Char('\n'));
    bool replaced = false;
    for (QString& line : lines) {
        if (line.trimmed().startsWith(QStringLiteral("panel_monitor"))) {
            line = QStringLiteral("panel_monitor = %1").arg(monitorIndex + 1); // tint2 counts from 1
            replaced = true;
        }
    }
    if (!replaced)
        lines << QStringLiteral("panel_monitor = %1").arg(monitorIndex + 1);
    const QString config = scratchDir() + QStringLiteral("/tint2rc");
    QFile out(config);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return fail(QStringLiteral("cannot write %1").arg(config));
    out.write(lines.join(QLatin1Char('\n')).toUtf8());
    out.close();

    m_panel = std::make_unique<ChildProcess>();
    if (!startChild(*m_panel, QStringLiteral("tint2"), QStringLiteral("tint2"), {QStringLiteral("-c"), config},
            QStringLiteral("tint2")))
        return false;
    const bool ready = waitUntil(
        [&] {
            if (!m_panel->isRunning())
                return true;
            for (xcb_window_t window : treeWindows()) {
                if (wmClassOf(window).contains(QStringLiteral("tint2"), Qt::CaseInsensitive)
                    && property32(window, "_NET_WM_STRUT_PARTIAL").size() == 12) {
                    m_panelWindow = window;
                    return true;
                }
            }
            return false;
        },
        15000);
    if (!m_panel->isRunning())
        return fail(QStringLiteral("tint2 exited during start-up:\n%1").arg(m_panel->logTail()));
    // Under a window manager the panel counts once it is managed: listed in
    // _NET_CLIENT_LIST, which is where the code under test looks for struts.
    const bool listed = !ready || m_windowManagerKind == WindowManagerKind::None
        || waitUntil([&] { return clientList().contains(m_panelWindow); }, 10000);
    if (!listed)
        return fail(QStringLiteral("the window manager does not list the tint2 panel in _NET_CLIENT_LIST"));
    if (!ready)
        return fail(QStringLiteral("tint2 showed no panel within 15 s (it needs a running window manager; "
                                   "current: %1):\n%2")
                        .arg(windowManagerName(m_windowManagerKind), m_panel->logTail()));
    return true;
}

void VirtualDesktop::stopPanel()
{
    if (m_panel)
        m_panel->stop();
    m_panel.reset();
    m_panelWindow = XCB_WINDOW_NONE;
}

bool VirtualDesktop::startCompositor(CompositorKind kind)
{
    stopCompositor();
    if (kind == CompositorKind::None)
        return true;
    m_compositor = std::make_unique<ChildProcess>();
    const bool started = kind == CompositorKind::Xcompmgr
        ? startChild(
            *m_compositor, QStringLiteral("xcompmgr"), QStringLiteral("xcompmgr"), {}, QStringLiteral("xcompmgr"))
        : startChild(*m_compositor, QStringLiteral("picom"), QStringLiteral("picom"),
            {QStringLiteral("--backend"), QStringLiteral("xrender"), QStringLiteral("--config"),
                QStringLiteral("/dev/null")},
            QStringLiteral("picom"));
    if (!started)
        return false;
    const QByteArray selection = QStringLiteral("_NET_WM_CM_S%1").arg(0).toLatin1();
    const bool ready = waitUntil(
        [&] { return !m_compositor->isRunning() || selectionOwner(selection.constData()) != XCB_WINDOW_NONE; }, 10000);
    if (!m_compositor->isRunning() || !ready)
        return fail(QStringLiteral("the compositor did not take _NET_WM_CM_S0:\n%1").arg(m_compositor->logTail()));
    return true;
}

void VirtualDesktop::stopCompositor()
{
    if (m_compositor)
        m_compositor->stop();
    m_compositor.reset();
}

// --- Clients ---

xcb_window_t VirtualDesktop::startClientProcess(const QString& program, const QString& package,
    const QStringList& arguments, const QString& wmClass, const QString& title)
{
    auto child = std::make_unique<ChildProcess>();
    if (!startChild(*child, program, package, arguments, QStringLiteral("client")))
        return XCB_WINDOW_NONE;
    xcb_window_t window = XCB_WINDOW_NONE;
    waitUntil(
        [&] {
            if (!child->isRunning())
                return true;
            window = findWindow(wmClass, title);
            if (window == XCB_WINDOW_NONE)
                return false;
            Reply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
                m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
            // A managing window manager also publishes the frame extents.
            const bool framed
                = m_windowManagerKind == WindowManagerKind::None || !property32(window, "_NET_FRAME_EXTENTS").isEmpty();
            return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE && framed;
        },
        10000);
    if (!child->isRunning()) {
        fail(QStringLiteral("%1 exited before showing \"%2\":\n%3").arg(program, title, child->logTail()));
        return XCB_WINDOW_NONE;
    }
    if (window == XCB_WINDOW_NONE) {
        QStringList seen;
        for (xcb_window_t w : clientList())
            seen << QStringLiteral("0x%1 [%2] \"%3\"").arg(w, 0, 16).arg(wmClassOf(w), titleOf(w));
        fail(QStringLiteral("no window of class %1 titled \"%2\" appeared within 10 s (window manager: %3; "
                            "client list: %4)\n%5")
                 .arg(wmClass, title, windowManagerName(m_windowManagerKind), seen.join(QStringLiteral(", ")),
                     child->logTail()));
        return XCB_WINDOW_NONE;
    }
    m_clients[window] = std::move(child);
    return window;
}

xcb_window_t VirtualDesktop::startPlainWindow(const QString& title, const QRect& geometry, const QString& wmClass)
{
    return startClientProcess(QStringLiteral(PARQUETA_PLAIN_WINDOW_PATH), QString(),
        {QStringLiteral("--title"), title, QStringLiteral("--class"), wmClass, QStringLiteral("--geometry"),
            QStringLiteral("%1x%2+%3+%4")
                .arg(geometry.width())
                .arg(geometry.height())
                .arg(geometry.x())
                .arg(geometry.y())},
        wmClass, title);
}

xcb_window_t VirtualDesktop::startXterm(const QString& title, const QString& className)
{
    QStringList arguments;
    if (!className.isEmpty())
        arguments << QStringLiteral("-class") << className;
    arguments << QStringLiteral("-T") << title << QStringLiteral("-e") << QStringLiteral("sleep")
              << QStringLiteral("infinity");
    return startClientProcess(QStringLiteral("xterm"), QStringLiteral("xterm"), arguments,
        className.isEmpty() ? QStringLiteral("XTerm") : className, title);
}

void VirtualDesktop::stopClient(xcb_window_t window)
{
    auto it = m_clients.find(window);
    if (it == m_clients.end())
        return;
    it->second->stop();
    m_clients.erase(it);
}

void VirtualDesktop::stopAllClients()
{
    for (auto& [window, child] : m_clients)
        child->stop();
    m_clients.clear();
}

// --- Queries ---

QList<quint32> VirtualDesktop::property32(xcb_window_t window, const char* name)
{
    QList<quint32> values;
    if (!m_connection)
        return values;
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(m_connection,
        xcb_get_property(m_connection, 0, window, atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, 4096), nullptr));
    if (!reply || reply->format != 32)
        return values;
    const auto* data = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    const int count = xcb_get_property_value_length(reply.get()) / 4;
    for (int i = 0; i < count; ++i)
        values << data[i];
    return values;
}

QList<xcb_window_t> VirtualDesktop::clientList()
{
    QList<xcb_window_t> windows;
    for (quint32 value : property32(m_root, "_NET_CLIENT_LIST"))
        windows << value;
    return windows;
}

QList<xcb_window_t> VirtualDesktop::treeWindows()
{
    // Top levels and, for reparenting managers, their frames' children.
    QList<xcb_window_t> result;
    QList<xcb_window_t> level {m_root};
    for (int depth = 0; depth < 3 && !level.isEmpty(); ++depth) {
        QList<xcb_window_t> next;
        for (xcb_window_t parent : level) {
            Reply<xcb_query_tree_reply_t> tree(
                xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, parent), nullptr));
            if (!tree)
                continue;
            const xcb_window_t* children = xcb_query_tree_children(tree.get());
            for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i)
                next << children[i];
        }
        result << next;
        level = next;
    }
    return result;
}

QString VirtualDesktop::wmClassOf(xcb_window_t window)
{
    Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), nullptr));
    if (!reply)
        return {};
    const QByteArray raw(
        static_cast<const char*>(xcb_get_property_value(reply.get())), xcb_get_property_value_length(reply.get()));
    // "instance\0class\0" -> "instance class"
    return QString::fromLatin1(raw).split(QLatin1Char('\0'), Qt::SkipEmptyParts).join(QLatin1Char(' '));
}

QString VirtualDesktop::titleOf(xcb_window_t window)
{
    for (const auto& [property, type] : {std::pair {atom("_NET_WM_NAME"), atom("UTF8_STRING")},
             std::pair {xcb_atom_t(XCB_ATOM_WM_NAME), xcb_atom_t(XCB_GET_PROPERTY_TYPE_ANY)}}) {
        Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, property, type, 0, 1024), nullptr));
        if (reply && xcb_get_property_value_length(reply.get()) > 0)
            return QString::fromUtf8(static_cast<const char*>(xcb_get_property_value(reply.get())),
                xcb_get_property_value_length(reply.get()));
    }
    return {};
}

xcb_window_t VirtualDesktop::findWindow(const QString& wmClass, const QString& title)
{
    const auto matches = [&](xcb_window_t window) {
        if (!wmClass.isEmpty() && !wmClassOf(window).split(QLatin1Char(' ')).contains(wmClass))
            return false;
        return title.isEmpty() || titleOf(window) == title;
    };
    const QList<xcb_window_t> candidates
        = m_windowManagerKind == WindowManagerKind::None ? treeWindows() : clientList();
    for (xcb_window_t window : candidates) {
        if (matches(window))
            return window;
    }
    return XCB_WINDOW_NONE;
}

xcb_window_t VirtualDesktop::waitForWindow(const QString& wmClass, const QString& title, int timeoutMs)
{
    xcb_window_t window = XCB_WINDOW_NONE;
    if (!waitUntil([&] { return (window = findWindow(wmClass, title)) != XCB_WINDOW_NONE; }, timeoutMs))
        fail(QStringLiteral("no window of class %1 titled \"%2\" within %3 ms").arg(wmClass, title).arg(timeoutMs));
    return window;
}

std::optional<QRect> VirtualDesktop::clientGeometry(xcb_window_t window)
{
    Reply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
    Reply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, window, m_root, 0, 0), nullptr));
    if (!geometry || !origin)
        return std::nullopt;
    return QRect(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
}

std::optional<QMargins> VirtualDesktop::frameExtents(xcb_window_t window)
{
    const QList<quint32> values = property32(window, "_NET_FRAME_EXTENTS");
    if (values.size() != 4)
        return std::nullopt;
    return QMargins(int(values[0]), int(values[2]), int(values[1]), int(values[3]));
}

std::optional<QRect> VirtualDesktop::visibleFrame(xcb_window_t window)
{
    const std::optional<QRect> client = clientGeometry(window);
    if (!client)
        return std::nullopt;
    return client->marginsAdded(frameExtents(window).value_or(QMargins()));
}

bool VirtualDesktop::waitUntil(const std::function<bool()>& condition, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        if (condition())
            return true;
        if (timer.elapsed() >= timeoutMs)
            return condition();
        if (QCoreApplication::instance())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(5);
    }
}

xcb_window_t VirtualDesktop::deepestWindowUnderPointer()
{
    xcb_window_t window = m_root;
    for (int depth = 0; depth < 16; ++depth) {
        xcb_query_pointer_reply_t* reply
            = xcb_query_pointer_reply(m_connection, xcb_query_pointer(m_connection, window), nullptr);
        const xcb_window_t child = reply ? reply->child : xcb_window_t(XCB_WINDOW_NONE);
        std::free(reply);
        if (child == XCB_WINDOW_NONE)
            break;
        window = child;
    }
    return window;
}
